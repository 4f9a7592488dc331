// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "options.h"

#include "filling.h"
#include "translation.h"

namespace
{
std::string optionsHelp()
{
    constexpr std::size_t width = 18;
    std::string text = std::string(translated("Options:")) + "\n";
    const auto option = [&](const char *name, const char *meaning) { text += helpEntry(name, width, meaning); };
    option("--config DIR", translated("the configuration directory that the library is\n"
                                      "initialised with, and where Funs.def is read; by default\n"
                                      "the Config folder beside the one that the library is in,\n"
                                      "or an empty directory when there is none"));
    option("--list", translated("names the checks, tells what each means for the operator\n"
                                "when it fails, and ends"));
    option("--only NAME", translated("runs this check; may be given several times"));
    option("--only-failed", translated("prints only what failed or is warned of"));
    option("--write", translated("also puts and deletes. When the library turns out to write\n"
                                 "outside of the copy, or to keep its records on a server,\n"
                                 "it says so and puts nothing"));
    option("--in-place", translated("works on the installation itself, not on a copy; with\n"
                                    "--write, what is put stays there: for a store that is made\n"
                                    "for tests, as on a server"));
    option("--report FILE", translated("writes the verdicts as JUnit XML too"));
    option("--seed N", translated("repeats a run's random requests; each run prints its seed"));
    option("--timeout SECONDS", translated("time limit of each check, 45 by default; long checks may\n"
                                           "take it again while each limit brings a fiftieth of\n"
                                           "their work"));
    option("--memory MB", translated("memory limit of each check, 2048 by default"));
    option("--fetches N", translated("fetches of the endurance check, 100000 by default"));
    option("--records N", translated("records that are fetched at once in many-records and\n"
                                     "many-put, 1000000 by default"));
    option("--help", translated("this text"));
    option("--version", translated("the version"));
    return text;
}

std::string statusHelp()
{
    constexpr std::size_t width = 3;
    std::string text = std::string(translated("Exit status:")) + "\n";
    text += helpEntry("0", width, translated("no check failed, crashed or ran out of time"));
    text += helpEntry("1", width, translated("at least one did"));
    text += helpEntry("2", width, translated("the command line, the copy or the report was at fault"));
    return text;
}

std::string examplesHelp()
{
    constexpr std::size_t width = 49;
    std::string text = std::string(translated("Examples:")) + "\n";
    text += helpEntry("dblib-check --only-failed Libs/DBLib.a", width, translated("what is wrong with a library"));
    text += helpEntry("dblib-check --write --seed 1 Libs/DBLib.a", width, translated("all checks, always the same"));
    text += helpEntry("dblib-check --only event-order Libs/DBLib.a", width, translated("one check"));
    return text;
}
} // namespace

std::string helpText()
{
    std::string text = std::string(translated("Usage: dblib-check [OPTION]... PATH/DBLib.a")) + "\n";
    text += std::string(translated("Loads the library as the console does, calls its ten functions in every way\n"
                                   "that the console may, and prints a verdict for each check: pass, warn, fail,\n"
                                   "crash, timeout or skip, with what was found and what it means for the\n"
                                   "operator. Each check runs in a process of its own, so that a crash in one\n"
                                   "says nothing about the next.")) +
            "\n\n";
    text += std::string(translated("All this is done on a copy of the installation, made in the directory for\n"
                                   "temporary files (TMPDIR) and removed at the end. Without --write nothing is\n"
                                   "put or deleted, and the library is kept from making files outside of the\n"
                                   "copy.")) +
            "\n\n";
    return text + optionsHelp() + "\n" + statusHelp() + "\n" + examplesHelp();
}
