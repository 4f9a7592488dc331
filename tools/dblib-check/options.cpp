// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "options.h"

#include "checks.h"
#include "filling.h"
#include "translation.h"

#include <cerrno>
#include <cstdlib>
#include <getopt.h>
#include <stdexcept>

namespace
{
enum Key {
    Config = 256,
    List,
    Only,
    OnlyFailed,
    Write,
    InPlace,
    ReportFile,
    Seed,
    Timeout,
    Memory,
    Fetches,
    Records,
    Help,
    Version
};

const option LongOptions[] = {
    {"config", required_argument, nullptr, Config},
    {"list", no_argument, nullptr, List},
    {"only", required_argument, nullptr, Only},
    {"only-failed", no_argument, nullptr, OnlyFailed},
    {"write", no_argument, nullptr, Write},
    {"in-place", no_argument, nullptr, InPlace},
    {"report", required_argument, nullptr, ReportFile},
    {"seed", required_argument, nullptr, Seed},
    {"timeout", required_argument, nullptr, Timeout},
    {"memory", required_argument, nullptr, Memory},
    {"fetches", required_argument, nullptr, Fetches},
    {"records", required_argument, nullptr, Records},
    {"help", no_argument, nullptr, Help},
    {"version", no_argument, nullptr, Version},
    {nullptr, 0, nullptr, 0},
};

unsigned long number(const char *text, const char *name, unsigned long least, unsigned long most)
{
    char *end = nullptr;
    errno = 0;
    const unsigned long value = std::strtoul(text, &end, 10);
    if (errno != 0 || end == text || *end || *text == '-' || value < least || value > most)
        throw std::runtime_error(filled(translated("%1: %2 is not a number from %3 to %4"), name, text, least, most));
    return value;
}

std::string checkName(const char *name)
{
    for (const Check &check : allChecks())
        if (std::string(name) == check.name)
            return name;
    throw std::runtime_error(filled(translated("--only: there is no check %1; --list names them"), name));
}

void take(Options &options, int key)
{
    switch (key) {
    case Config:
        options.config = optarg;
        break;
    case List:
        options.list = true;
        break;
    case Only:
        options.only.push_back(checkName(optarg));
        break;
    case OnlyFailed:
        options.onlyFailed = true;
        break;
    case Write:
        options.write = true;
        break;
    case InPlace:
        options.inPlace = true;
        break;
    case ReportFile:
        options.report = optarg;
        break;
    case Seed:
        options.seed = unsigned(number(optarg, "--seed", 0, 4294967295UL));
        options.seeded = true;
        break;
    case Timeout:
        options.limits.seconds = int(number(optarg, "--timeout", 1, 86400));
        break;
    case Memory:
        options.limits.megabytes = int(number(optarg, "--memory", 64, 1 << 20));
        break;
    case Fetches:
        options.fetches = int(number(optarg, "--fetches", 1, 1000000000));
        break;
    case Records:
        options.records = int(number(optarg, "--records", 1, 100000000));
        break;
    case Help:
        options.help = true;
        break;
    case Version:
        options.version = true;
        break;
    default:
        throw std::runtime_error(translated("--help names the options"));
    }
}
} // namespace

Options readOptions(int argc, char **argv)
{
    Options options;
    int key = 0;
    while ((key = getopt_long(argc, argv, "h", LongOptions, nullptr)) != -1)
        take(options, key == 'h' ? Help : key);
    if (argc - optind > 1)
        throw std::runtime_error(filled(translated("one library at a time: %1 is too many"), argv[optind + 1]));
    if (optind < argc)
        options.library = argv[optind];
    else if (!options.list && !options.help && !options.version)
        throw std::runtime_error(translated("no library given; --help tells more"));
    return options;
}
