// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The program around its commands: which installation it finds, what it writes to terminals, files and
// pipes, and how it ends.
#include "child.h"
#include "contractlibraries.h"
#include "sqlitestore.h"
#include "storetesting.h"
#include "testinstallation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace
{
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string contractLibrary(const char *name)
{
    return std::string(ContractLibraries) + "/" + name + "/DBLib.a";
}

class CtlProgram : public testing::Test
{
protected:
    void put(std::string_view sensor, std::string_view name, const std::string &text = "high", int count = 1)
    {
        SqliteStore store(m_installation.path("Data/installation.db"), Sqlite::Durability::Crash);
        CMessageEvent event = makeEvent(sensor, name, 1795292160);
        addText(event, "what", text);
        Store::Batch batch(store);
        for (int i = 0; i < count; ++i)
            store.put(event);
        batch.commit();
    }
    std::vector<std::string> here(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), {"-C", m_installation.base()});
        return arguments;
    }

    TestInstallation m_installation{DBLIB_SQLITE};
};

TEST_F(CtlProgram, TheInstallationIsTheOneThatTheWorkingDirectoryLiesIn)
{
    std::filesystem::create_directories(m_installation.path("bin/a/b/c"));
    for (const char *folder : {"bin", "bin/a", "bin/a/b", "Config"})
        EXPECT_EQ(runCtl({"events"}, m_installation.path(folder)).status, 0) << folder;
    for (const char *folder : {"", "bin/a/b/c"}) {
        const Ended ended = runCtl({"events"}, m_installation.path(folder));
        EXPECT_EQ(ended.status, 1);
        EXPECT_THAT(ended.err,
                    HasSubstr(" lies in no installation: there is no Pics/Red.bmp one to three folders above; "
                              "-C names one\n"));
    }
}

TEST_F(CtlProgram, AnInstallationCanBeNamedByAnyFolderInIt)
{
    for (const char *folder : {"", "bin", "/.", "bin/../Config/"})
        EXPECT_EQ(runCtl({"events", "-C", m_installation.path(folder)}).status, 0) << folder;
    EXPECT_EQ(runCtl({"-C", "bin", "events"}, m_installation.base()).status, 0) << "relative";
    for (const char *wrong : {"/", "/nowhere", "/etc/passwd", "\x1b[2J"}) {
        const Ended ended = runCtl({"-C", wrong, "events"});
        EXPECT_EQ(ended.status, 1);
        EXPECT_THAT(ended.err, HasSubstr("no installation: there is no Pics/Red.bmp in it"));
        EXPECT_THAT(ended.err, Not(HasSubstr("\x1b")));
    }
}

TEST_F(CtlProgram, ControlBytesAreVisibleOnATerminalAndExactInFiles)
{
    put("b\x1b[31moiler", "L\xe4vel\r",
        "\x9b"
        "2J\n");
    const std::string visible = "b\\x1b[31moiler";
    for (const char *format : {"table", "short", "csv", "json"}) {
        const Ended ended = runOnTerminal(here({"events", "-o", format, "--color", "never"}), 200);
        EXPECT_THAT(ended.out, HasSubstr(format == std::string("json") ? "b\\u001B[31moiler" : visible)) << format;
        EXPECT_THAT(ended.out, HasSubstr("L\u00e4vel")) << format;
        for (const char *raw : {"\x1b", "\xc2\x9b", "vel\r"})
            EXPECT_THAT(ended.out, Not(HasSubstr(raw))) << format;
    }
    for (const char *format : {"table", "short"})
        EXPECT_THAT(runCtl(here({"events", "-o", format})).out, HasSubstr(visible)) << format;
    EXPECT_THAT(runCtl(here({"events", "-o", "csv"})).out, HasSubstr(",b\x1b[31moiler,\"L\u00e4vel\r\",\"what=\xc2\x9b"
                                                                     "2J\n\"\r\n"));
    EXPECT_THAT(runCtl(here({"events", "-o", "json"})).out, HasSubstr("\"value\":\"\\u009b2J\\n\""));
}

TEST_F(CtlProgram, ColourIsForTerminalsThatWantIt)
{
    put("boiler", "Level");
    const auto isColoured = [&](const std::vector<std::string> &options, const std::vector<std::string> &environment) {
        std::vector<std::string> arguments = here({"sensors"});
        arguments.insert(arguments.end(), options.begin(), options.end());
        return runOnTerminal(arguments, 80, false, environment).out.find("\x1b[1m") != std::string::npos;
    };
    EXPECT_TRUE(isColoured({}, {}));
    EXPECT_TRUE(isColoured({}, {"NO_COLOR="}));
    EXPECT_FALSE(isColoured({}, {"NO_COLOR=1"}));
    EXPECT_FALSE(isColoured({}, {"TERM=dumb"}));
    EXPECT_FALSE(isColoured({"--color", "never"}, {}));
    EXPECT_TRUE(isColoured({"--color", "always"}, {"NO_COLOR=1"}));
    EXPECT_FALSE(isColoured({"-o", "csv"}, {}));
    EXPECT_THAT(runCtl(here({"sensors"})).out, Not(HasSubstr("\x1b")));
    EXPECT_THAT(runCtl(here({"sensors", "--color=always"})).out, HasSubstr("\x1b[1m"));
}

/** Characters of the longest line; every character of Latin-1 takes two bytes and one column, as the sign of a cut. */
std::size_t longestLine(const std::string &text)
{
    std::size_t longest = 0;
    std::size_t length = 0;
    for (const char c : text) {
        length = c == '\n' ? 0 : length + (c != '\r' && (c & 0xc0) != 0x80 ? 1 : 0);
        longest = std::max(longest, length);
    }
    return longest;
}

TEST_F(CtlProgram, ATableIsAsWideAsItsTextsButNoWiderThanTheTerminal)
{
    put("boiler", "Level", "a text that goes on and on, and on, and on, and on, and on, and on, and on, and on");
    for (const int width : {80, 120}) {
        const Ended ended = runOnTerminal(here({"events", "--color", "never"}), width);
        EXPECT_EQ(longestLine(ended.out), std::size_t(width)) << ended.out;
        EXPECT_THAT(ended.out, HasSubstr("1  2026-11-21T20:16:00+00:00  analyser  boiler  Level  what=a text"));
    }
    EXPECT_LE(longestLine(runOnTerminal(here({"events", "--color", "never"}), 40).out), 40U);
    EXPECT_LT(longestLine(runOnTerminal(here({"events", "--color", "never"}), 1000).out), 180U);
    EXPECT_THAT(runCtl(here({"events"})).out, HasSubstr("and on, and on\n")) << "uncut where there is no terminal";
}

TEST_F(CtlProgram, APipeThatIsClosedEndsItQuietly)
{
    put("boiler", "Level", "high", 50000);
    for (const char *format : {"table", "csv", "json", "short"}) {
        Child child(here({"events", "-n", "all", "-o", format}));
        EXPECT_NE(child.line(), "");
        child.closeOutput();
        const Ended ended = child.end();
        EXPECT_EQ(ended.status, 0) << format;
        EXPECT_EQ(ended.err, "") << format;
    }
}

TEST_F(CtlProgram, AFullDiskIsTold)
{
    put("boiler", "Level");
    const std::string errors = m_installation.path("errors");
    const std::string command =
        std::string("'" OBRIMCTL "' -C ") + m_installation.base() + " events >/dev/full 2>" + errors;
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 1);
    std::string line;
    std::getline(std::ifstream(errors), line);
    EXPECT_EQ(line, "obrimctl: standard output cannot be written: No space left on device");
}

TEST_F(CtlProgram, ClosedStandardStreamsHarmNothing)
{
    put("boiler", "Level");
    const std::string command = std::string("'" OBRIMCTL "' -C ") + m_installation.base() + " events";
    EXPECT_EQ(WEXITSTATUS(std::system((command + " >&- 2>&- <&-").c_str())), 0);
    EXPECT_EQ(WEXITSTATUS(std::system((command + " -n x >&- 2>&- <&-").c_str())), 2);
    EXPECT_EQ(runCtl(here({"events", "-o", "short"})).out,
              "1 2026-11-21T20:16:00+00:00 analyser boiler Level what=high\n")
        << "the database is what it was";
}

TEST_F(CtlProgram, ACorruptDatabaseIsNamedAndFails)
{
    std::filesystem::create_directory(m_installation.path("Data"));
    std::ofstream(m_installation.path("Data/installation.db")) << std::string(5000, 'x');
    for (const char *list : {"sensors", "events", "commands"}) {
        const Ended ended = runCtl(here({list}));
        EXPECT_EQ(ended.status, 1) << list;
        EXPECT_EQ(ended.out, "") << list;
        EXPECT_THAT(ended.err, HasSubstr("installation.db: this is not a database")) << list;
    }
}

TEST(CtlLibraries, WhatALibraryPrintsStaysOutOfTheRecords)
{
    const TestInstallation installation(contractLibrary("prints"));
    const Ended ended = runCtl({"-C", installation.base(), "events", "-n", "1", "-o", "csv"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, StartsWith("id,time,"));
    EXPECT_THAT(ended.out, Not(HasSubstr("text of the library")));
    EXPECT_THAT(ended.err, HasSubstr("text of the library"));
}

TEST(CtlLibraries, OneThatEndsItsThreadOrThrowsEndsNothingElse)
{
    for (const char *name : {"throws-init", "ends-thread-init"}) {
        const TestInstallation installation(contractLibrary(name));
        EXPECT_EQ(runCtl({"-C", installation.base(), "events"}).status, 0) << name;
    }
    for (const char *name : {"throws-fetch", "ends-thread-fetch", "throws-query", "null-array", "negative-count"}) {
        const TestInstallation installation(contractLibrary(name));
        const Ended ended = runCtl({"-C", installation.base(), "events"});
        EXPECT_EQ(ended.status, 1) << name;
        EXPECT_THAT(ended.err, HasSubstr("obrimctl: FDBGetEvents ")) << name;
    }
}

TEST(CtlLibraries, SensorsAreNamedForCompletion)
{
    const TestInstallation installation(contractLibrary("cxx"));
    EXPECT_EQ(runCtl({"complete", "-C", installation.base(), "put", ""}).out,
              "sensor1\tFirst sensor\nsensor2\tSecond sensor\nsensor3\t\n");
    EXPECT_EQ(runCtl({"complete", "events", "-C", installation.base(), "--sensor=sensor2"}).out,
              "sensor2\tSecond sensor\n");
    EXPECT_EQ(runCtl({"complete", "put", ""}).out, "") << "there is no installation";
}
} // namespace
