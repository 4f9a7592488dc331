// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Copies of random records from one installation to another.
#include "child.h"
#include "clock.h"
#include "contractlibraries.h"
#include "sqlitestore.h"
#include "storetesting.h"
#include "testinstallation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <limits>
#include <random>

namespace
{
using testing::HasSubstr;
using testing::MatchesRegex;

/** More than what is put before its success is asked for. Each waits for the disk. */
constexpr int SomeEvents = 600;
constexpr int SomeCommands = 300;
/** More than two pages, where none does. */
constexpr int ManyEvents = 40000;

std::string contractLibrary(const char *name)
{
    return std::string(ContractLibraries) + "/" + name + "/DBLib.a";
}

/** Any bytes but NUL. */
std::string randomText(std::mt19937 &random)
{
    std::string text(std::uniform_int_distribution<std::size_t>(0, 12)(random), ' ');
    for (char &c : text)
        c = char(std::uniform_int_distribution<int>(1, 255)(random));
    return text;
}

int randomInteger(std::mt19937 &random)
{
    return std::uniform_int_distribution<int>(INT_MIN, INT_MAX)(random);
}

template <class Record> void addRandomParameters(Record &record, std::mt19937 &random)
{
    const double doubles[] = {0.1, -0.0, 5e-324, std::numeric_limits<double>::infinity(),
                              double(randomInteger(random))};
    for (int i = random() % 4; i > 0; --i) {
        switch (random() % 4) {
        case 0:
            addInteger(record, randomText(random), randomInteger(random));
            break;
        case 1:
            addDouble(record, randomText(random), doubles[random() % 5]);
            break;
        case 2:
            addText(record, randomText(random), randomText(random));
            break;
        default: {
            const std::string bytes = randomText(random) + std::string(1, '\0') + "behind";
            addParameter(record, 77, randomText(random), bytes.data(), bytes.size());
        }
        }
    }
}

CMessageEvent randomEvent(std::mt19937 &random)
{
    CMessageEvent event = makeEvent(randomText(random), randomText(random), randomInteger(random));
    event.MessageType = randomInteger(random);
    addRandomParameters(event, random);
    return event;
}

CMessageCommand randomCommand(std::mt19937 &random)
{
    CMessageCommand command = makeCommand(randomText(random), randomInteger(random), randomInteger(random));
    addRandomParameters(command, random);
    return command;
}

void fill(SqliteStore &store, int events, int commands, unsigned seed)
{
    std::mt19937 random(seed);
    Store::Batch batch(store);
    for (int i = 0; i < events; ++i)
        store.put(randomEvent(random));
    for (int i = 0; i < commands; ++i)
        store.put(randomCommand(random));
    batch.commit();
}

class Copying : public testing::Test
{
protected:
    SqliteStore open(const TestInstallation &installation)
    {
        return SqliteStore(installation.path("Data/installation.db"), Sqlite::Durability::Crash);
    }
    Ended copy()
    {
        return runCtl({"-C", m_from.base(), "copy", m_to.base()});
    }
    void expectAlike()
    {
        SqliteStore from = open(m_from);
        SqliteStore to = open(m_to);
        const auto events = from.events(eventsWanted(INT_MAX, true));
        const auto copied = to.events(eventsWanted(INT_MAX, true));
        ASSERT_EQ(copied->size(), events->size());
        for (int i = 0; i < events->size(); ++i)
            ASSERT_TRUE(same((*events)[i], (*copied)[i])) << i;
        const auto commands = from.commands(commandsWanted(INT_MAX, true));
        const auto copiedCommands = to.commands(commandsWanted(INT_MAX, true));
        ASSERT_EQ(copiedCommands->size(), commands->size());
        for (int i = 0; i < commands->size(); ++i)
            ASSERT_TRUE(same((*commands)[i], (*copiedCommands)[i])) << i;
    }

    TestInstallation m_from{DBLIB_SQLITE};
    TestInstallation m_to{DBLIB_SQLITE};
};

TEST_F(Copying, AllRecordsArriveAsTheyWere)
{
    {
        SqliteStore store = open(m_from);
        fill(store, SomeEvents, SomeCommands, 1);
    }
    const Ended ended = copy();
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_EQ(ended.err, "") << "no progress where there is no terminal";
    EXPECT_THAT(ended.out, MatchesRegex("commands: 300 in both, sum [0-9a-f]+\nevents: 600 in both, sum [0-9a-f]+\n"));
    expectAlike();
}

TEST_F(Copying, OtherIdentifiersAreTold)
{
    {
        SqliteStore store = open(m_from);
        fill(store, 10, 0, 2);
        for (const int id : {1, 2, 3, 7})
            store.deleteEvent(id);
    }
    const Ended ended = copy();
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_THAT(ended.out, HasSubstr("events: 6 in both, "));
    EXPECT_THAT(ended.out, HasSubstr("  identifiers are others than before: by -4 to -3, where the DB library gives "
                                     "its own\n"));
    expectAlike();
}

TEST_F(Copying, OneThatWasInterruptedIsTakenUpAgain)
{
    {
        SqliteStore store = open(m_from);
        fill(store, 600, 10, 3);
        SqliteStore begun = open(m_to);
        const auto events = store.events(eventsWanted(400, true));
        for (const CMessageEvent &event : std::vector<CMessageEvent>(&(*events)[0], &(*events)[0] + events->size()))
            begun.put(event);
    }
    const Ended ended = copy();
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_THAT(ended.out, HasSubstr("events: 600 in both"));
    EXPECT_THAT(ended.out, HasSubstr(", 400 of them from an earlier copy\n"));
    expectAlike();
    {
        SqliteStore store = open(m_from);
        std::mt19937 random(4);
        store.put(randomEvent(random));
    }
    EXPECT_THAT(copy().out, HasSubstr("events: 601 in both"));
    expectAlike();
}

TEST_F(Copying, ATargetWithOtherRecordsIsLeftAlone)
{
    {
        SqliteStore store = open(m_from);
        fill(store, 5, 0, 5);
        SqliteStore other = open(m_to);
        fill(other, 3, 0, 6);
    }
    const Ended ended = copy();
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_THAT(ended.err, HasSubstr(m_to.base() + " holds events that are not those of a copy begun before, such as "
                                                   "event 1; copy into an empty installation\n"));
    EXPECT_EQ(open(m_to).events(eventsWanted(100))->size(), 3);
}

TEST_F(Copying, SensorsAtWorkDoNotGetOldCommands)
{
    {
        SqliteStore store = open(m_from);
        fill(store, 0, 1, 7);
        SqliteStore target = open(m_to);
        target.registerSensor("boiler", 1, "Boiler");
        target.keepAlive({"boiler"}, currentTime());
        std::ofstream(m_to.path("Config/DBLib.def")) << "DeadAfter=100000\n";
    }
    const Ended ended = copy();
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.err, HasSubstr("sensors are at work in " + m_to.base() + " (boiler)"));
    EXPECT_EQ(open(m_to).commands(commandsWanted(100))->size(), 0);
}

TEST_F(Copying, SensorsWithoutEventsAreTold)
{
    {
        SqliteStore store = open(m_from);
        store.registerSensor("silent", 1, "Never heard of");
        store.put(makeEvent("boiler", "Level", 1));
    }
    EXPECT_THAT(copy().out, HasSubstr("sensors: 1 are not known there yet: silent\n"));
}

TEST_F(Copying, TheInstallationItselfIsNoTarget)
{
    const Ended ended = runCtl({"-C", m_from.base(), "copy", m_from.base() + "/bin"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.err, HasSubstr(" is the installation itself\n"));
}

TEST_F(Copying, AnyLibraryIsCopiedFromAndTo)
{
    const TestInstallation other(contractLibrary("cxx"));
    EXPECT_THAT(runCtl({"-C", other.base(), "copy", m_to.base()}).out,
                MatchesRegex("commands: 4 in both, sum [0-9a-f]+\n  identifiers are others than before: by -10, .*\n"
                             "events: 5 in both, sum [0-9a-f]+\nsensors: 1 are not known there yet: sensor3\n"));
    const TestInstallation example(EXAMPLE_DB);
    // It would report its start otherwise, and a copy goes into an empty installation.
    std::ofstream(example.path("Config/Funs.def")) << "FInitDBEvents=_Z15FInitDBCommandsPKc\n";
    {
        SqliteStore store = open(m_from);
        fill(store, ManyEvents, 0, 8);
    }
    const Ended ended = runCtl({"-C", m_from.base(), "copy", example.base()});
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_THAT(ended.out, HasSubstr("events: 40000 in both, sum "));
}

TEST_F(Copying, ATargetThatFailsIsNamed)
{
    {
        SqliteStore store = open(m_from);
        fill(store, 3, 3, 9);
    }
    const auto error = [&](const std::string &library) {
        const TestInstallation target(library);
        const Ended ended = runCtl({"-C", m_from.base(), "copy", target.base()});
        EXPECT_EQ(ended.status, 1) << library;
        EXPECT_EQ(ended.out, "");
        const std::string begin = "obrimctl: " + target.base() + ": ";
        EXPECT_EQ(ended.err.substr(0, begin.size()), begin) << ended.err;
        return ended.err.substr(std::min(begin.size(), ended.err.size()));
    };
    EXPECT_THAT(error(""), HasSubstr("there is no DB library "));
    EXPECT_THAT(error(contractLibrary("command-size")), HasSubstr("FDBGetCommands is made for other records"));
    EXPECT_EQ(error(contractLibrary("throws-fetch")), "FDBGetCommands threw an exception: the store is gone\n");
    const TestInstallation source(contractLibrary("throws-fetch"));
    EXPECT_EQ(runCtl({"-C", source.base(), "copy", m_to.base()}).err,
              "obrimctl: FDBGetCommands threw an exception: the store is gone\n");
}

TEST_F(Copying, ARecordThatCannotBeStoredEndsIt)
{
    {
        SqliteStore store = open(m_from);
        fill(store, 3, 0, 11);
        // Only one identifier is left.
        SqliteStore target = open(m_to);
        target.put(makeEvent("boiler", "Level", 1));
        target.connection().run("INSERT INTO event(id, series, time) VALUES(2147483646, 1, 0)");
        target.connection().run("DELETE FROM event");
    }
    const Ended ended = copy();
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.err, HasSubstr("all identifiers are used up"));
    EXPECT_THAT(ended.err, HasSubstr("obrimctl: " + m_to.base() + ": FDBPutEvent failed with "));
}

TEST_F(Copying, ProgressIsShownOnATerminal)
{
    {
        SqliteStore store = open(m_from);
        fill(store, 200, 0, 10);
    }
    const Ended ended = runOnTerminal({"-C", m_from.base(), "copy", m_to.base()}, 80, true);
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, HasSubstr("\r\x1b[Kevents: 50 %"));
    EXPECT_THAT(ended.out, HasSubstr("\r\x1b[Kcomparing: 100 %"));
    EXPECT_THAT(ended.out, HasSubstr("\r\x1b[Kcommands: 0 in both"));
}
} // namespace
