// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "options.h"

#include "checks.h"

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
    if (errno != 0 || end == text || *end || *text == '-' || value < least || value > most) {
        throw std::runtime_error(std::string(name) + ": " + text + " is not a number from " + std::to_string(least) +
                                 " to " + std::to_string(most));
    }
    return value;
}

std::string checkName(const char *name)
{
    for (const Check &check : allChecks())
        if (std::string(name) == check.name)
            return name;
    throw std::runtime_error(std::string("--only: there is no check ") + name + "; --list names them");
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
        throw std::runtime_error("--help names the options");
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
        throw std::runtime_error(std::string("one library at a time: ") + argv[optind + 1] + " is too many");
    if (optind < argc)
        options.library = argv[optind];
    else if (!options.list && !options.help && !options.version)
        throw std::runtime_error("no library given; --help tells more");
    return options;
}

const char *helpText()
{
    return R"(Usage: dblib-check [OPTION]... PATH/DBLib.a
Loads the library as the console does, calls its ten functions in every way
that the console may, and prints a verdict for each check: pass, warn, fail,
crash, timeout or skip, with what was found and what it means for the
operator. Each check runs in a process of its own, so that a crash in one
says nothing about the next.

All this is done on a copy of the installation, made in the directory for
temporary files (TMPDIR) and removed at the end. Without --write nothing is
put or deleted, and the library is kept from making files outside of the
copy.

Options:
  --config DIR      the configuration directory that the library is
                    initialised with, and where Funs.def is read; by default
                    the Config folder beside the one that the library is in,
                    or an empty directory when there is none
  --list            names the checks, tells what each means for the operator
                    when it fails, and ends
  --only NAME       runs this check; may be given several times
  --only-failed     prints only what failed or is warned of
  --write           also puts and deletes. When the library turns out to write
                    outside of the copy, or to keep its records on a server,
                    it says so and puts nothing
  --in-place        works on the installation itself, not on a copy; with
                    --write, what is put stays there: for a store that is made
                    for tests, as on a server
  --report FILE     writes the verdicts as JUnit XML too
  --seed N          repeats a run's random requests; each run prints its seed
  --timeout SECONDS  time limit of each check, 45 by default; long checks may
                    take it again while each limit brings a fiftieth of
                    their work
  --memory MB       memory limit of each check, 2048 by default
  --fetches N       fetches of the endurance check, 100000 by default
  --records N       records that are fetched at once in many-records and
                    many-put, 1000000 by default
  --help            this text
  --version         the version

Exit status:
  0  no check failed, crashed or ran out of time
  1  at least one did
  2  the command line, the copy or the report was at fault

Examples:
  dblib-check --only-failed Libs/DBLib.a           what is wrong with a library
  dblib-check --write --seed 1 Libs/DBLib.a        all checks, always the same
  dblib-check --only event-order Libs/DBLib.a      one check
)";
}
