// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "options.h"

#include "filling.h"
#include "translation.h"

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
    constexpr std::size_t optionWidth = 16;
    constexpr std::size_t statusWidth = 3;
    constexpr std::size_t exampleWidth = 51;
    std::string text = std::string(translated("Usage: sensor-sim --config DIR [options]")) + "\n";
    text += translated("Stands in for an installation's sensors: reports events, sends heartbeats and obeys commands\n"
                       "through the database that DIR/DBLib.def names, until Ctrl-C or SIGTERM.\n");
    text += std::string("\n") + translated("Options:") + "\n";
    const auto option = [&](const char *name, const char *meaning) { text += helpEntry(name, optionWidth, meaning); };
    option("--config DIR", translated("configuration directory of the installation"));
    option("--sensors N", translated("number of sensors: analysers, converters and receivers in turn (30)"));
    option("--rate R", translated("events a second over all sensors (20)"));
    option("--fill N", translated("write N events of history, the newest of now, and end"));
    option("--seed S", translated("draw the same events in each run"));
    option("--duration SEC", translated("end after SEC seconds"));
    option("--log FILE", translated("append a line to FILE for each event written and each command carried out"));
    option("--help", translated("show this"));
    option("--version", translated("show the version"));
    text += std::string("\n") + translated("Exit status:") + "\n";
    text += helpEntry("0", statusWidth, translated("well"));
    text +=
        helpEntry("1", statusWidth,
                  translated("the database failed, or another sensor-sim plays its sensors, which does not matter to "
                             "--fill,\nnor on a server"));
    text += helpEntry("2", statusWidth, translated("the command line is wrong, or DIR is not there"));
    text += std::string("\n") + translated("Examples:") + "\n";
    text += helpEntry("sensor-sim --config Config --fill 100000", exampleWidth, translated("history that ends now"));
    text +=
        helpEntry("sensor-sim --config Config --sensors 30 --rate 20", exampleWidth, translated("live, until Ctrl-C"));
    return text;
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
            fault = filled(translated("unknown option %1"), argv[optind - 1]);
        else if (option == ':')
            fault = filled(translated("a value is missing after %1"), argv[optind - 1]);
        else if (!setOption(options, option, optarg))
            fault = filled(translated("%1 cannot be '%2'"), std::string("--") + LongOptions[place].name, optarg);
        if (!fault.empty())
            return options;
    }
    if (optind < argc)
        fault = filled(translated("unexpected argument %1"), argv[optind]);
    else if (options.configDir.empty() && !options.help && !options.version)
        fault = translated("--config is missing");
    return options;
}
