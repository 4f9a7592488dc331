// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "helptexts.h"

#include "filling.h"
#include "translation.h"

#include <algorithm>
#include <cstring>
#include <sstream>

const std::vector<const char *> &exitStatuses()
{
    static const std::vector<const char *> statuses = {
        translated("well"), translated("something failed, and standard error says what"),
        translated("a wrong command line"), translated("put --wait: the sensor did not report in time")};
    return statuses;
}

const CommandHelp &programHelp()
{
    static const CommandHelp help = {
        "obrimctl",
        translated("Lists, follows, commands, moves and makes monitoring installations from the shell."),
        translated("Without -C the installation is the one that the working directory lies in: one, two or three "
                   "folders below the folder that holds Pics/Red.bmp."),
        {
            {"obrimctl events -n 20", translated("the last 20 events")},
            {"obrimctl -C /srv/plant status", translated("whether all is well with an installation")},
            {"obrimctl events --help", translated("all about a command")},
        }};
    return help;
}

const std::vector<CommandHelp> &commandHelps()
{
    const char *masks = translated(
        "Masks are what names must match as a whole, in any letter case: * is any run of characters, + one of at "
        "least one, ? one character. Times are '2026-11-21 20:16' (with T, seconds and an offset too), 2026-11-21, "
        "20:16, now, today, yesterday, tomorrow, -2h, -1d12h (s, m, h, d, w) or @SECONDS since 1970.");
    static const std::vector<CommandHelp> helps = {
        {"sensors",
         translated("List the sensors."),
         masks,
         {
             {"obrimctl sensors -t dead", translated("those that send no heartbeat")},
             {"obrimctl sensors -f", translated("all, and again whichever dies or comes alive")},
             {"obrimctl sensors -s 'anal*' -o csv", translated("those whose names begin so, for a spreadsheet")},
         }},
        {"events",
         translated("List what the sensors reported, the newest last."),
         masks,
         {
             {"obrimctl events", translated("the last 100")},
             {"obrimctl events -s 'anal*' -S yesterday", translated("of some sensors, since yesterday 00:00")},
             {"obrimctl events -f -n 0", translated("what comes from now on")},
             {"obrimctl events -n all --id 5000.. -o json", translated("all from an identifier on, for a program")},
         }},
        {"commands",
         translated("List what the sensors were told to do, the newest last."),
         masks,
         {
             {"obrimctl commands -t kill", translated("the last 100 of one kind")},
             {"obrimctl commands -s boiler7 -n 1", translated("the last one of a sensor")},
         }},
        {"put",
         translated("Tell a sensor to start, stop, restart or end."),
         translated("With --wait it waits until the sensor has reported, by an event CommandDone with the command's "
                    "identifier, that it carried the command out."),
         {
             {"obrimctl put boiler7 restart", translated("hand the command over")},
             {"obrimctl put boiler7 stop --wait=30", translated("and wait up to 30 seconds")},
         }},
        {"delete",
         translated("Delete events or commands for good."),
         translated("When one of them is not there, nothing is deleted."),
         {
             {"obrimctl delete event 4711 4712", translated("two events")},
             {"obrimctl delete command 12", translated("a command")},
         }},
        {"status",
         translated("Say whether all is well: library, records, sensors."),
         translated("Exit status 1 when something is wrong. Sensors that are dead are counted, and wrong only with "
                    "--require-alive."),
         {
             {"obrimctl status", translated("for people")},
             {"obrimctl status -o json --quick", translated("for monitoring, without counting all records")},
         }},
        {"copy",
         translated("Copy all commands and events into another, empty installation."),
         translated(
             "Both sides are compared record by record at the end. A copy that was interrupted is taken up again where "
             "it ended. Sensors become known there by their events."),
         {
             {"obrimctl -C /srv/plant copy /srv/new", translated("from one installation to another")},
         }},
        {"init",
         translated("Make an installation that the console starts in."),
         translated(
             "Nothing is overwritten; what is there already stays, and what is missing is made. library:FILE is the DB "
             "library in a file, CONNECTION names a server in words of libpq."),
         {
             {"obrimctl init /srv/plant --database sqlite --group plant",
              translated("with files for a group of users")},
             {"obrimctl init /srv/plant --database 'postgresql:host=db dbname=plant user=anna'",
              translated("on a server")},
             {"obrimctl init /srv/plant --database library:/opt/db/DBLib.so --desktop-entry",
              translated("on another DB library, with a menu entry")},
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
        const bool fits = column + 1 + columnCount(word) <= width;
        if (column > 0)
            lines += fits ? ' ' : '\n';
        column = (column > 0 && fits ? column + 1 : 0) + columnCount(word);
        lines += word;
    }
    return lines;
}

/** A line for each of the exit statuses. */
std::string exitStatusLines()
{
    std::string lines;
    for (const char *meaning : exitStatuses())
        lines += "  " + std::to_string(std::count(lines.begin(), lines.end(), '\n')) + "  " + meaning + "\n";
    return lines;
}
} // namespace

std::string footerOf(const CommandHelp &help)
{
    std::string text = wrapped(help.more);
    std::size_t width = 0;
    for (const Example &example : help.examples)
        width = std::max(width, std::strlen(example.command));
    text += std::string("\n\n") + translated("Examples:") + "\n";
    for (const Example &example : help.examples) {
        const std::string padding(width - std::strlen(example.command) + 2, ' ');
        text += std::string("  ") + example.command + padding + example.what + "\n";
    }
    return text + "\n" + translated("Exit status:") + "\n" + exitStatusLines();
}
