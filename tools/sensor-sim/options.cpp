// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "options.h"

#include <charconv>
#include <getopt.h>
#include <string_view>

namespace
{
template <class Number> bool readNumber(std::string_view text, Number least, Number most, Number &value)
{
    Number read = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), read);
    // Written so that "nan" does not pass.
    if (result.ec != std::errc() || result.ptr != text.data() + text.size() || !(read >= least && read <= most))
        return false;
    value = read;
    return true;
}

template <class Number> bool readNumber(std::string_view text, Number least, Number most, std::optional<Number> &value)
{
    Number read = 0;
    if (!readNumber(text, least, most, read))
        return false;
    value = read;
    return true;
}

bool setOption(Options &options, int option, const char *value)
{
    switch (option) {
    case 'c':
        options.configDir = value;
        return *value != '\0';
    case 'n':
        return readNumber(value, 1, 10000, options.sensors);
    case 'r':
        return readNumber(value, 0.0, 1e6, options.rate);
    case 'f':
        return readNumber(value, 0, 2000000000, options.fill);
    case 's':
        return readNumber(value, 0U, ~0U, options.seed);
    case 'd':
        return readNumber(value, 0.0, 1e9, options.duration);
    case 'l':
        options.log = value;
        return *value != '\0';
    case 'v':
        options.version = true;
        return true;
    default:
        options.help = true;
        return true;
    }
}

const option LongOptions[] = {
    {"config", required_argument, nullptr, 'c'}, {"sensors", required_argument, nullptr, 'n'},
    {"rate", required_argument, nullptr, 'r'},   {"fill", required_argument, nullptr, 'f'},
    {"seed", required_argument, nullptr, 's'},   {"duration", required_argument, nullptr, 'd'},
    {"log", required_argument, nullptr, 'l'},    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, 'v'},      {nullptr, 0, nullptr, 0},
};
} // namespace

std::string usage()
{
    return "Usage: sensor-sim --config DIR [options]\n"
           "Stands in for an installation's sensors: reports events, gives signs of life and obeys commands\n"
           "through the database that DIR/DBLib.def names, until Ctrl-C or SIGTERM.\n"
           "\n"
           "Options:\n"
           "  --config DIR    configuration directory of the installation\n"
           "  --sensors N     number of sensors: analysers, converters and receivers in turn (30)\n"
           "  --rate R        events a second over all sensors (20)\n"
           "  --fill N        write N events of history, the newest of now, and end\n"
           "  --seed S        draw the same events in each run\n"
           "  --duration SEC  end after SEC seconds\n"
           "  --log FILE      append a line to FILE for each event written and each command carried out\n"
           "  --help          show this\n"
           "  --version       show the version\n"
           "\n"
           "Exit status:\n"
           "  0  well\n"
           "  1  the database failed, or another sensor-sim plays its sensors, which does not matter to --fill,\n"
           "     nor on a server\n"
           "  2  the command line is wrong, or DIR is not there\n"
           "\n"
           "Examples:\n"
           "  sensor-sim --config Config --fill 100000           history that ends now\n"
           "  sensor-sim --config Config --sensors 30 --rate 20  live, until Ctrl-C\n";
}

Options parseOptions(int argc, char *const argv[], std::string &fault)
{
    Options options;
    fault.clear();
    optind = 0;
    opterr = 0;
    int place = 0;
    for (int option = 0; (option = ::getopt_long(argc, argv, ":", LongOptions, &place)) != -1;) {
        if (option == '?')
            fault = std::string("unknown option ") + argv[optind - 1];
        else if (option == ':')
            fault = std::string("a value is missing after ") + argv[optind - 1];
        else if (!setOption(options, option, optarg))
            fault = std::string("--") + LongOptions[place].name + " cannot be '" + optarg + "'";
        if (!fault.empty())
            return options;
    }
    if (optind < argc)
        fault = std::string("unexpected argument ") + argv[optind];
    else if (options.configDir.empty() && !options.help && !options.version)
        fault = "--config is missing";
    return options;
}
