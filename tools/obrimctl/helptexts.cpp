// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "helptexts.h"

#include <algorithm>
#include <cstring>
#include <sstream>

const char *const ExitStatuses = "0 well; 1 something failed, and standard error says what; 2 a wrong command line; "
                                 "3 put --wait: the sensor did not report in time";

const CommandHelp &programHelp()
{
    static const CommandHelp help = {
        "obrimctl",
        "Lists, follows, commands, moves and makes monitoring installations from the shell.",
        "Without -C the installation is the one that the working directory lies in: one, two or three folders below "
        "the folder that holds Pics/Red.bmp.",
        {
            {"obrimctl events -n 20", "the last 20 events"},
            {"obrimctl -C /srv/plant status", "whether all is well with an installation"},
            {"obrimctl events --help", "all about a command"},
        }};
    return help;
}

const std::vector<CommandHelp> &commandHelps()
{
    static const char masks[] =
        "Masks are what names must match as a whole, in any letter case: * is any run of characters, + one of at "
        "least one, ? one character. Times are '2026-11-21 20:16' (with T, seconds and an offset too), 2026-11-21, "
        "20:16, now, today, yesterday, tomorrow, -2h, -1d12h (s, m, h, d, w) or @SECONDS since 1970.";
    static const std::vector<CommandHelp> helps = {
        {"sensors",
         "List the sensors.",
         masks,
         {
             {"obrimctl sensors -t dead", "those that give no sign of life"},
             {"obrimctl sensors -f", "all, and again whichever dies or comes alive"},
             {"obrimctl sensors -s 'anal*' -o csv", "those whose names begin so, for a spreadsheet"},
         }},
        {"events",
         "List what the sensors reported, the newest last.",
         masks,
         {
             {"obrimctl events", "the last 100"},
             {"obrimctl events -s 'anal*' -S yesterday", "of some sensors, since yesterday 00:00"},
             {"obrimctl events -f -n 0", "what comes from now on"},
             {"obrimctl events -n all --id 5000.. -o json", "all from an identifier on, for a program"},
         }},
        {"commands",
         "List what the sensors were told to do, the newest last.",
         masks,
         {
             {"obrimctl commands -t kill", "the last 100 of one kind"},
             {"obrimctl commands -s boiler7 -n 1", "the last one of a sensor"},
         }},
        {"put",
         "Tell a sensor to start, stop, restart or end.",
         "With --wait it waits until the sensor has reported, by an event CommandDone with the command's identifier, "
         "that it carried the command out.",
         {
             {"obrimctl put boiler7 restart", "hand the command over"},
             {"obrimctl put boiler7 stop --wait=30", "and wait up to 30 seconds"},
         }},
        {"delete",
         "Delete events or commands for good.",
         "When one of them is not there, nothing is deleted.",
         {
             {"obrimctl delete event 4711 4712", "two events"},
             {"obrimctl delete command 12", "a command"},
         }},
        {"status",
         "Say whether all is well: library, records, sensors.",
         "Exit status 1 when something is wrong. Sensors that are dead are counted, and wrong only with "
         "--require-alive.",
         {
             {"obrimctl status", "for people"},
             {"obrimctl status -o json --quick", "for monitoring, without counting all records"},
         }},
        {"copy",
         "Copy all commands and events into another, empty installation.",
         "Both sides are compared record by record at the end. A copy that was interrupted is taken up again where "
         "it ended. Sensors become known there by their events.",
         {
             {"obrimctl -C /srv/plant copy /srv/new", "from one installation to another"},
         }},
        {"init",
         "Make an installation that the console starts in.",
         "Nothing is overwritten; what is there already stays, and what is missing is made. library:FILE is the DB "
         "library in a file, CONNECTION names a server in words of libpq.",
         {
             {"obrimctl init /srv/plant --database sqlite --group plant", "with files for a group of users"},
             {"obrimctl init /srv/plant --database 'postgresql:host=db dbname=plant user=anna'", "on a server"},
             {"obrimctl init /srv/plant --database library:/opt/db/DBLib.so --desktop-entry",
              "on another DB library, with a menu entry"},
         }},
    };
    return helps;
}

namespace
{
/** The words of a text in lines that fit a terminal. */
std::string wrapped(const std::string &text)
{
    constexpr std::size_t width = 78;
    std::string lines;
    std::size_t column = 0;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        const bool fits = column + 1 + word.size() <= width;
        if (column > 0)
            lines += fits ? ' ' : '\n';
        column = column > 0 && fits ? column + 1 + word.size() : word.size();
        lines += word;
    }
    return lines;
}

/** A line for each of the exit statuses. */
std::string exitStatusLines()
{
    std::string lines;
    std::istringstream statuses(ExitStatuses);
    for (std::string status; std::getline(statuses >> std::ws, status, ';');)
        lines += "  " + status.substr(0, 1) + " " + status.substr(1) + "\n";
    return lines;
}
} // namespace

std::string footerOf(const CommandHelp &help)
{
    std::string text = wrapped(help.more);
    std::size_t width = 0;
    for (const Example &example : help.examples)
        width = std::max(width, std::strlen(example.command));
    text += "\n\nExamples:\n";
    for (const Example &example : help.examples) {
        const std::string padding(width - std::strlen(example.command) + 2, ' ');
        text += std::string("  ") + example.command + padding + example.what + "\n";
    }
    return text + "\nExit status:\n" + exitStatusLines();
}
