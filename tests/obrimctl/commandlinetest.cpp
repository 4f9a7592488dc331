// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "commandline.h"
#include "failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <iomanip>
#include <rapidjson/document.h>

namespace
{
using testing::HasSubstr;

constexpr std::time_t Now = 1795292160; // 2026-11-21 20:16:00 UTC

Invocation parsed(const std::vector<std::string> &arguments)
{
    const auto read = readCommandLine(arguments, Now);
    const CommandLineEnd *end = std::get_if<CommandLineEnd>(&read);
    EXPECT_FALSE(end) << end->err << end->out;
    return end ? Invocation() : std::get<Invocation>(read);
}

/** The first line of what is said of a command line that is none. */
std::string refusal(const std::vector<std::string> &arguments)
{
    const auto read = readCommandLine(arguments, Now);
    const CommandLineEnd *end = std::get_if<CommandLineEnd>(&read);
    if (!end)
        return "taken";
    EXPECT_EQ(end->status, ExitUsage);
    EXPECT_EQ(end->out, "");
    return end->err.substr(0, end->err.find('\n'));
}

std::string shown(const std::vector<std::string> &arguments)
{
    const auto read = readCommandLine(arguments, Now);
    const auto &end = std::get<CommandLineEnd>(read);
    EXPECT_EQ(end.status, ExitWell);
    EXPECT_EQ(end.err, "");
    return end.out;
}
} // namespace

TEST(CommandLine, AListOfEventsHasTheDefaultsOfTheWindows)
{
    const Invocation read = parsed({"events"});
    EXPECT_EQ(read.command, CommandName::Events);
    EXPECT_EQ(read.directory, "");
    EXPECT_EQ(read.list.limit, 100);
    EXPECT_FALSE(read.list.first);
    EXPECT_FALSE(read.list.follow);
    EXPECT_EQ(read.list.interval, 2);
    EXPECT_EQ(read.list.format.name, FormatName::Table);
    EXPECT_EQ(read.list.format.clock, Clock::Local);
    EXPECT_FALSE(read.list.filter.sensor || read.list.filter.event || read.list.filter.since);
    EXPECT_EQ(parsed({"sensors"}).list.limit, std::nullopt);
    EXPECT_EQ(parsed({"commands"}).list.limit, 100);
}

TEST(CommandLine, EveryFilterOfEventsIsTaken)
{
    const Invocation read = parsed({"-C",      "/srv/plant", "events",        "-s",    "anal*",   "--event=Level?",
                                    "-t",      "analyser",   "--sensor-type", "7",     "-S",      "@100",
                                    "-U",      "-2h",        "--id",          "5..9",  "-n",      "all",
                                    "--first", "-o",         "json",          "--utc", "--color", "never"});
    EXPECT_EQ(read.directory, "/srv/plant");
    const Filter &filter = read.list.filter;
    EXPECT_EQ(filter.sensor, "anal*");
    EXPECT_EQ(filter.event, "Level?");
    EXPECT_EQ(filter.messageType, 1);
    EXPECT_EQ(filter.sensorType, 7);
    EXPECT_EQ(filter.since, 100);
    EXPECT_EQ(filter.until, Now - 7200);
    EXPECT_EQ(filter.ids.low, 5);
    EXPECT_EQ(filter.ids.high, 9);
    EXPECT_FALSE(filter.commandType);
    EXPECT_EQ(read.list.limit, std::nullopt);
    EXPECT_TRUE(read.list.first);
    EXPECT_EQ(read.list.format.name, FormatName::Json);
    EXPECT_EQ(read.list.format.clock, Clock::Utc);
    EXPECT_EQ(read.list.format.colour, ColourUse::Never);
}

TEST(CommandLine, TheTypeIsEachListsOwn)
{
    EXPECT_EQ(parsed({"commands", "-t", "kill"}).list.filter.commandType, CommandKill);
    EXPECT_EQ(parsed({"commands", "--message-type", "3"}).list.filter.messageType, 3);
    EXPECT_EQ(parsed({"sensors", "-t", "dead"}).list.filter.messageType, SensorDead);
    EXPECT_EQ(parsed({"sensors", "--sensor-type", "receiver"}).list.filter.sensorType, 3);
}

TEST(CommandLine, UtcHoldsForTimesWhereverItStands)
{
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
    EXPECT_EQ(parsed({"events", "-S", "2026-11-21 20:16", "--utc"}).list.filter.since, Now);
    EXPECT_EQ(parsed({"events", "-S", "2026-11-21 20:16"}).list.filter.since, Now - 3600);
    setenv("TZ", "UTC", 1);
    tzset();
}

TEST(CommandLine, TheInstallationMayBeNamedBehindTheCommand)
{
    EXPECT_EQ(parsed({"status", "-C", "x"}).directory, "x");
    EXPECT_EQ(parsed({"status", "--installation=x"}).directory, "x");
}

TEST(CommandLine, WaitTakesItsSecondsOnlyWhenTheyAreJoinedToIt)
{
    EXPECT_EQ(parsed({"put", "a", "stop"}).put.wait, std::nullopt);
    EXPECT_EQ(parsed({"put", "--wait", "a", "stop"}).put.wait, 10);
    EXPECT_EQ(parsed({"put", "a", "stop", "--wait"}).put.wait, 10);
    EXPECT_EQ(parsed({"put", "a", "stop", "--wait=2.5"}).put.wait, 2.5);
    EXPECT_EQ(parsed({"put", "--", "--wait", "stop"}).put.sensor, "--wait");
}

TEST(CommandLine, TheOtherCommandsAreTaken)
{
    const Invocation put = parsed({"put", "p\u00fcmp", "restart"});
    EXPECT_EQ(put.command, CommandName::Put);
    EXPECT_EQ(put.put.sensor, "p\xfcmp");
    EXPECT_EQ(put.put.order, CommandRestart);
    const Invocation remove = parsed({"delete", "event", "5", "2147483647"});
    EXPECT_EQ(remove.command, CommandName::DeleteEvent);
    EXPECT_EQ(remove.toDelete.ids, (std::vector<int>{5, INT_MAX}));
    EXPECT_EQ(parsed({"delete", "command", "--", "-5"}).toDelete.ids, std::vector<int>{-5});
    EXPECT_EQ(parsed({"delete", "command", "1"}).command, CommandName::DeleteCommand);
    EXPECT_TRUE(parsed({"status", "-o", "json", "--quick", "--require-alive"}).status.json);
    EXPECT_EQ(parsed({"copy", "/to"}).copyTo, "/to");
    const InitOptions init = parsed({"init", "d", "--database", "sqlite", "--group", "g", "--desktop-entry"}).init;
    EXPECT_EQ(init.directory + " " + init.database + " " + init.group, "d sqlite g");
    EXPECT_TRUE(init.desktopEntry);
}

TEST(CommandLine, WhatIsWrongIsNamed)
{
    const std::pair<std::vector<std::string>, const char *> cases[] = {
        {{}, "obrimctl: a command is missing"},
        {{"evnts"}, "obrimctl: there is no command 'evnts'"},
        {{"ev\x1bnts"}, "obrimctl: there is no command 'ev\\x1bnts'"},
        {{"events", "commands"}, "obrimctl: events does not know 'commands'"},
        {{"events", "--colour", "never"}, "obrimctl: events does not know '--colour'"},
        {{"events", "-n"}, "obrimctl: --number: 1 required N missing"},
        {{"events", "-n", "many"}, "obrimctl: -n cannot be 'many': a number of records or 'all' is expected"},
        {{"events", "-o", "xml"}, "obrimctl: --output cannot be 'xml': table, csv, json or short is expected"},
        {{"events", "--color", "red"}, "obrimctl: --color cannot be 'red': auto, always or never is expected"},
        {{"events", "-f", "--first"},
         "obrimctl: --first and --follow exclude each other: what comes later follows the newest records"},
        {{"events", "-f", "--interval", "0"},
         "obrimctl: --interval cannot be '0': seconds from 0.01 to 1e+06 are expected"},
        {{"events", "-S", "@10", "-U", "@9"}, "obrimctl: --since is later than --until: nothing lies between"},
        {{"events", "-S", "soon"},
         "obrimctl: --since cannot be 'soon': a time such as '2026-11-21 20:16', 20:16, yesterday, -2h or @SECONDS "
         "between 1901 and 2038 is expected"},
        {{"put"}, "obrimctl: SENSOR is required"},
        {{"put", "a"}, "obrimctl: ORDER is required"},
        {{"put", "a", "explode"}, "obrimctl: put knows start, stop, restart and kill, not 'explode'"},
        {{"put", "a", "stop", "--wait="}, "obrimctl: --wait: 1 required [=SECONDS] missing"},
        {{"delete", "sensor", "5"}, "obrimctl: delete knows 'event' and 'command', not 'sensor'"},
        {{"delete", "event"}, "obrimctl: ID is required"},
        {{"delete", "event", "5", "x"},
         "obrimctl: an identifier cannot be 'x': a whole number from -2147483648 to 2147483647 is expected"},
        {{"status", "-o", "csv"}, "obrimctl: --output cannot be 'csv': text or json is expected"},
        {{"copy"}, "obrimctl: TO-DIR is required"},
        {{"-C", "c", "init", "d", "--database", "sqlite"},
         "obrimctl: init makes DIR, and -C names an installation that is there: only one can be given"},
        {{"init", "d"}, "obrimctl: init needs --database: sqlite, postgresql:CONNECTION or library:FILE"},
    };
    for (const auto &[arguments, message] : cases)
        EXPECT_EQ(refusal(arguments), message);
}

TEST(CommandLine, EveryCommandHasHelpWithExamples)
{
    EXPECT_EQ(shown({"--version"}), "obrimctl " OBRIM_VERSION "\n");
    EXPECT_THAT(shown({"--help"}), HasSubstr("status"));
    for (const char *command : {"sensors", "events", "commands", "put", "delete", "status", "copy", "init"}) {
        const std::string help = shown({command, "--help"});
        EXPECT_THAT(help, HasSubstr("Examples:\n  obrimctl ")) << command;
        EXPECT_THAT(help, HasSubstr("Exit status:")) << command;
    }
}

TEST(CommandLine, TheExamplesAreCommandLinesThatAreUnderstood)
{
    rapidjson::Document help;
    help.Parse(shown({"--help-json"}).c_str());
    ASSERT_FALSE(help.HasParseError());
    int count = 0;
    for (const auto &command : help["commands"].GetArray()) {
        for (const auto &example : command["examples"].GetArray()) {
            std::istringstream line(example["command"].GetString());
            std::vector<std::string> arguments;
            // In quotes is a word that is one for the shell.
            for (std::string word; line >> std::quoted(word, '\'');)
                arguments.push_back(word);
            EXPECT_EQ(arguments.front(), "obrimctl");
            arguments.erase(arguments.begin());
            parsed(arguments);
            ++count;
        }
    }
    EXPECT_GE(count, 15);
}

TEST(CommandLine, AllHelpIsThereForManualPages)
{
    rapidjson::Document help;
    help.Parse(shown({"--help-json"}).c_str());
    ASSERT_FALSE(help.HasParseError());
    const auto &events = help["commands"][1];
    EXPECT_STREQ(events["name"].GetString(), "events");
    bool found = false;
    for (const auto &option : events["options"].GetArray()) {
        const auto names = option["names"].GetArray();
        if (names.Size() == 2 && names[1] == "--since") {
            found = true;
            EXPECT_STREQ(names[0].GetString(), "-S");
            EXPECT_STREQ(option["value"].GetString(), "TIME");
            EXPECT_STREQ(option["description"].GetString(), "from this time on");
        }
    }
    EXPECT_TRUE(found);
}
