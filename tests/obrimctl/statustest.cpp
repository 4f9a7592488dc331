// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What is told of an installation that is well, and of those that are not.
#include "Messages.h"
#include "child.h"
#include "clock.h"
#include "contractlibraries.h"
#include "sqlitestore.h"
#include "storetesting.h"
#include "testinstallation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <rapidjson/document.h>

namespace
{
using testing::HasSubstr;
using testing::MatchesRegex;

std::string contractLibrary(const char *name)
{
    return std::string(ContractLibraries) + "/" + name + "/DBLib.a";
}

Ended status(const TestInstallation &installation, std::vector<std::string> options = {})
{
    options.insert(options.begin(), {"-C", installation.base(), "status"});
    return runCtl(options);
}

rapidjson::Document json(const TestInstallation &installation, std::vector<std::string> options = {})
{
    options.insert(options.end(), {"-o", "json"});
    const Ended ended = status(installation, options);
    rapidjson::Document document;
    document.Parse(ended.out.c_str());
    EXPECT_FALSE(document.HasParseError()) << ended.out << ended.err;
    EXPECT_EQ(ended.out.find('\n'), ended.out.size() - 1) << "one line";
    EXPECT_EQ(ended.status, document["well"].GetBool() ? 0 : 1);
    return document;
}

/** Three sensors of each liveness, seven events without one, and two commands. */
void fill(const TestInstallation &installation)
{
    std::ofstream(installation.path("Config/DBLib.def")) << "DeadAfter=100000\n";
    SqliteStore store(installation.path("Data/installation.db"), Sqlite::Durability::Crash);
    for (const char *name : {"alive", "dead", "silent"})
        store.registerSensor(name, 1, name);
    store.keepAlive({"alive", "dead"}, currentTime());
    store.setState("dead", SensorState::Killed);
    for (int i = 0; i < 8; ++i)
        store.put(makeEvent("alive", "Level", 1795292160 + i));
    store.deleteEvent(3);
    store.put(makeCommand("alive", 1, 1795292100));
    store.put(makeCommand("alive", 2, 1795292101));
}

TEST(Status, AnInstallationThatIsWellIsDescribed)
{
    const TestInstallation installation(DBLIB_SQLITE);
    fill(installation);
    const Ended ended = status(installation);
    EXPECT_EQ(ended.status, 0) << ended.out;
    EXPECT_EQ(ended.err, "");
    for (const std::string &line : {
             "installation  " + std::filesystem::canonical(installation.base()).string(),
             "/Libs/DBLib.a -> " + std::filesystem::canonical(DBLIB_SQLITE).string(),
             std::to_string(8 * sizeof(void *)) + " bits, C++ symbols, all ten functions",
             "records of " + std::to_string(sizeof(CSensor)) + ", " + std::to_string(sizeof(CMessageEvent)) + " and " +
                 std::to_string(sizeof(CMessageCommand)) + " bytes",
             std::string("sensors       3: 1 alive, 1 dead, 1 never heard of"),
             std::string("events        7, newest 8 of 2026-11-21T20:16:07+00:00"),
             std::string("commands      2, newest 2 of 2026-11-21T20:15:01+00:00"),
         })
        EXPECT_THAT(ended.out, HasSubstr(line + (line.back() == 's' && line[0] == 'r' ? ", " : "\n")));
    EXPECT_THAT(ended.out.substr(ended.out.rfind("round trip")), MatchesRegex("round trip    [0-9.e+-]+ ms\n"));
}

TEST(Status, MonitoringGetsTheSameAsJson)
{
    const TestInstallation installation(DBLIB_SQLITE);
    fill(installation);
    const rapidjson::Document document = json(installation);
    EXPECT_TRUE(document["well"].GetBool());
    EXPECT_EQ(document["library"]["bits"].GetUint(), 8 * sizeof(void *));
    EXPECT_STREQ(document["library"]["symbols"].GetString(), "C++");
    EXPECT_EQ(document["library"]["missing"].Size(), 0U);
    EXPECT_EQ(document["library"]["sizes"]["event_request"].GetUint(), sizeof(CMessageEventRequest));
    EXPECT_EQ(document["sensors"]["count"].GetInt(), 3);
    EXPECT_EQ(document["sensors"]["unknown"].GetInt(), 1);
    EXPECT_EQ(document["events"]["count"].GetInt(), 7);
    EXPECT_EQ(document["events"]["newest_id"].GetInt(), 8);
    EXPECT_STREQ(document["commands"]["newest_time"].GetString(), "2026-11-21T20:15:01+00:00");
    EXPECT_GT(document["round_trip_ms"].GetDouble(), 0);
    EXPECT_EQ(document["faults"].Size(), 0U);
}

TEST(Status, AQuickOneDoesNotCount)
{
    const TestInstallation installation(DBLIB_SQLITE);
    fill(installation);
    const rapidjson::Document document = json(installation, {"--quick"});
    EXPECT_TRUE(document["events"]["count"].IsNull());
    EXPECT_EQ(document["events"]["newest_id"].GetInt(), 8);
    EXPECT_THAT(status(installation, {"--quick"}).out,
                HasSubstr("\nevents        newest 8 of 2026-11-21T20:16:07+00:00\n"));
}

TEST(Status, SensorsThatAreNotAliveAreWrongOnlyWhereTheyMustBe)
{
    const TestInstallation installation(DBLIB_SQLITE);
    fill(installation);
    const Ended ended = status(installation, {"--require-alive"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.out, HasSubstr("\nWRONG         2 sensors are not alive\n"));
    EXPECT_FALSE(json(installation, {"--require-alive"})["well"].GetBool());
}

TEST(Status, AnEmptyInstallationIsWell)
{
    const TestInstallation installation(DBLIB_SQLITE);
    const rapidjson::Document document = json(installation);
    EXPECT_TRUE(document["well"].GetBool());
    EXPECT_EQ(document["events"]["count"].GetInt(), 0);
    EXPECT_TRUE(document["events"]["newest_id"].IsNull());
    EXPECT_THAT(status(installation).out, HasSubstr("\nevents        none\n"));
}

/** The one fault of an installation on a library. */
std::string fault(const std::string &library)
{
    const TestInstallation installation(library);
    const rapidjson::Document document = json(installation);
    EXPECT_FALSE(document["well"].GetBool()) << library;
    EXPECT_THAT(status(installation).out, HasSubstr("\nWRONG         "));
    std::string faults;
    for (const auto &one : document["faults"].GetArray())
        faults += std::string(faults.empty() ? "" : "; ") + one.GetString();
    return faults;
}

TEST(Status, WhatIsWrongIsNamed)
{
    EXPECT_THAT(fault(""), HasSubstr("there is no DB library "));
    EXPECT_THAT(fault("/etc/passwd"), HasSubstr("is not an ELF file"));
    EXPECT_THAT(fault(contractLibrary("unresolved")), HasSubstr("obrimFunctionThatNobodyHas"));
    EXPECT_EQ(fault(contractLibrary("missing-c-4")), "the DB library has no FDBGetCommands");
    EXPECT_THAT(fault(contractLibrary("event-size")), HasSubstr("FDBGetEvents is made for other records: "));
    EXPECT_THAT(fault(contractLibrary("throws-query")), HasSubstr("FDBGetSensors threw an exception"));
    EXPECT_EQ(fault(contractLibrary("throws-fetch")),
              "FDBGetSensors threw an exception: the store is gone; FDBGetEvents threw an exception: the store is "
              "gone; FDBGetCommands threw an exception: the store is gone");
    EXPECT_EQ(fault(contractLibrary("throws-escapes")).find('\x1b'), std::string::npos);
}

TEST(Status, ACorruptDatabaseIsWrong)
{
    const TestInstallation installation(DBLIB_SQLITE);
    fill(installation);
    std::ofstream(installation.path("Data/installation.db")) << "no database, but long enough to be told from none";
    const Ended ended = status(installation);
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.out, HasSubstr("FDBGetEvents failed with "));
    EXPECT_THAT(ended.err, HasSubstr("DBLib: "));
}

TEST(Status, ALibraryInCIsDescribedToo)
{
    const TestInstallation installation(contractLibrary("c"));
    EXPECT_THAT(status(installation).out,
                HasSubstr("C symbols, without FDBPutEvent FDBDeleteCommand FDBDeleteEvent\n"));
}
} // namespace
