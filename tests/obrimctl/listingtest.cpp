// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What the lists of events, commands and sensors hold, on several DB libraries: each against a plain
// selection by the requests' own matching operators, masks being compared the way a person means them.
#include "listing.h"
#include "WCompare.h"
#include "contractlibraries.h"
#include "failure.h"
#include "outputfile.h"
#include "parametertext.h"
#include "sqlitestore.h"
#include "testinstallation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <sstream>
#include <vector>

namespace
{
using testing::HasSubstr;

/** More than two pages. */
constexpr int ManyRecords = 40000;
constexpr int SomeRecords = 3000;

const char *const SensorNames[] = {"analyser01", "Analyser02", "receiver", "anal", "sens*", "p\xfcmp", "", "a?b", "+"};
const char *const EventNames[] = {"Level", "level low", "Started", "L*", "\xd6l", "x+y"};
const char *const Masks[] = {"anal*", "ANALYSER0?", "receiver", "RECEIVER", "sens*", "s+",     "*",     "",  "?",
                             "a?b",   "p\xfcmp",    "*e*l*",    "nobody",   "L*",    "level+", "Level", "+", "++"};

template <class Value, std::size_t Count> const Value &oneOf(const Value (&values)[Count], std::mt19937 &random)
{
    return values[std::uniform_int_distribution<std::size_t>(0, Count - 1)(random)];
}

int number(int least, int most, std::mt19937 &random)
{
    return std::uniform_int_distribution<int>(least, most)(random);
}

void setText(char *&text, int &length, const char *value)
{
    CopyPtr(&text, &length, value, int(std::strlen(value)) + 1);
}

CMessageEvent randomEvent(std::mt19937 &random)
{
    CMessageEvent event;
    event.MessageType = number(0, 4, random);
    event.SensorType = number(1, 3, random);
    event.EventTime = number(1000, 1100, random);
    setText(event.SensorID, event.LSensorID, oneOf(SensorNames, random));
    setText(event.EventName, event.LEventName, oneOf(EventNames, random));
    return event;
}

CMessageCommand randomCommand(std::mt19937 &random)
{
    CMessageCommand command;
    command.MessageType = number(1, 2, random);
    command.CommandType = number(1, 5, random);
    command.CommandTime = number(1000, 1100, random);
    setText(command.SensorID, command.LSensorID, oneOf(SensorNames, random));
    return command;
}

std::optional<int> perhaps(int least, int most, std::mt19937 &random)
{
    return number(0, 3, random) == 0 ? std::optional(number(least, most, random)) : std::nullopt;
}

/** Any filter, often one that selects something. */
Filter randomFilter(int most, std::mt19937 &random)
{
    Filter filter;
    if (number(0, 2, random) == 0)
        filter.sensor = oneOf(Masks, random);
    if (number(0, 2, random) == 0)
        filter.event = oneOf(Masks, random);
    filter.messageType = perhaps(0, 3, random);
    filter.sensorType = perhaps(1, 3, random);
    filter.commandType = perhaps(1, 4, random);
    filter.since = perhaps(990, 1110, random);
    filter.until = perhaps(990, 1110, random);
    if (const auto low = perhaps(-5, most, random))
        filter.ids.low = *low;
    if (const auto high = perhaps(1, most + 5, random))
        filter.ids.high = *high;
    return filter;
}

CMessageEventRequest plainRequest(const Filter &filter)
{
    CMessageEventRequest request;
    const auto use = [](auto &field, int &used, const auto &value) {
        field = value.value_or(0);
        used = value ? 1 : 0;
    };
    use(request.MessageType, request.UseMessageType, filter.messageType);
    use(request.SensorType, request.UseSensorType, filter.sensorType);
    use(request.EventTime0, request.UseEventTime0, filter.since);
    use(request.EventTime1, request.UseEventTime1, filter.until);
    return request;
}

bool nameMatches(const char *text, int length, const std::optional<std::string> &mask)
{
    return !mask || WCompareNoCase(std::string(recordBytes(text, length)).c_str(), mask->c_str()) != 0;
}

bool isMeant(const CMessageEvent &event, const Filter &filter)
{
    CMessageEventRequest request = plainRequest(filter);
    return (request & event) && event.MessageID >= filter.ids.low && event.MessageID <= filter.ids.high &&
           nameMatches(event.SensorID, event.LSensorID, filter.sensor) &&
           nameMatches(event.EventName, event.LEventName, filter.event);
}

bool isMeant(const CMessageCommand &command, const Filter &filter)
{
    return (!filter.messageType || command.MessageType == *filter.messageType) &&
           (!filter.commandType || command.CommandType == *filter.commandType) &&
           (!filter.since || command.CommandTime >= *filter.since) &&
           (!filter.until || command.CommandTime <= *filter.until) && command.CommandID >= filter.ids.low &&
           command.CommandID <= filter.ids.high && nameMatches(command.SensorID, command.LSensorID, filter.sensor);
}

/** The identifiers that a list of comma-separated values holds, in its order. */
std::vector<int> idsOf(const std::string &csv)
{
    std::vector<int> ids;
    std::istringstream lines(csv);
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line))
        ids.push_back(std::stoi(line));
    return ids;
}

template <class Record> std::vector<int> listed(const Source &source, const ListOptions &options)
{
    return idsOf(OutputFile().textOf([&](Output &output) { listRecords<Record>(source, options, output); }));
}

/** All records of a source, by one plain fetch, the oldest first. */
template <class Record> std::vector<Record> allOf(const Source &source)
{
    RequestOf<Record> request;
    request.NMax = INT_MAX;
    request.TakeFirst1_Last0 = 1;
    const auto records = source.fetch(request);
    return {records.begin(), records.end()};
}

template <class Record> std::vector<int> expected(const std::vector<Record> &all, const ListOptions &options)
{
    std::vector<int> ids;
    for (const Record &record : all)
        if (isMeant(record, options.filter))
            ids.push_back(RecordKind<Record>::id(record));
    const std::size_t count = std::min(ids.size(), std::size_t(options.limit.value_or(INT_MAX)));
    if (options.first)
        ids.resize(count);
    else
        ids.erase(ids.begin(), ids.end() - std::ptrdiff_t(count));
    return ids;
}

template <class Record> void compareRandomly(const Source &source, int cases, std::mt19937 &random)
{
    const std::vector<Record> all = allOf<Record>(source);
    const int most = int(all.size());
    int nonEmpty = 0;
    for (int i = 0; i < cases; ++i) {
        ListOptions options;
        options.format.name = FormatName::Csv;
        options.filter = randomFilter(most, random);
        if (std::is_same_v<Record, CMessageCommand>)
            options.filter.event.reset(); // which commands do not have
        options.first = number(0, 3, random) == 0;
        const int limits[] = {0, 1, 5, 100, number(0, most, random), most, most + 1, INT_MAX};
        options.limit = number(0, 8, random) == 0 ? std::nullopt : std::optional(oneOf(limits, random));
        const std::vector<int> right = expected(all, options);
        nonEmpty += right.empty() ? 0 : 1;
        ASSERT_EQ(listed<Record>(source, options), right)
            << "case " << i << ", limit " << options.limit.value_or(-1) << ", first " << options.first << ", sensor "
            << options.filter.sensor.value_or("-") << ", event " << options.filter.event.value_or("-");
    }
    EXPECT_GT(nonEmpty, cases / 5) << "the cases select something";
}

/** Fills the file of an installation on the SQLite library. */
void fillSqlite(const TestInstallation &installation, int events, int commands, std::mt19937 &random)
{
    std::filesystem::create_directory(installation.path("Data"));
    SqliteStore store(installation.path("Data/installation.db"), Sqlite::Durability::Crash);
    Store::Batch batch(store);
    for (int i = 0; i < events; ++i) {
        store.put(randomEvent(random));
        // Gaps, as deleting leaves them.
        if (i % 7 == 3)
            store.deleteEvent(i);
    }
    for (int i = 0; i < commands; ++i)
        store.put(randomCommand(random));
    batch.commit();
}

TEST(Listing, EveryOptionSelectsAsTheOperatorsDoOnSqlite)
{
    std::mt19937 random(1);
    const TestInstallation installation(DBLIB_SQLITE);
    fillSqlite(installation, ManyRecords, SomeRecords, random);
    const Source source(installation.installation());
    compareRandomly<CMessageEvent>(source, 150, random);
    compareRandomly<CMessageCommand>(source, 150, random);
}

TEST(Listing, EveryOptionSelectsAsTheOperatorsDoOnTheExample)
{
    std::mt19937 random(2);
    const TestInstallation installation(EXAMPLE_DB);
    const Source source(installation.installation());
    for (int i = 0; i < ManyRecords; ++i) {
        CMessageEvent event = randomEvent(random);
        source.put(event);
    }
    for (int i = 0; i < SomeRecords; ++i) {
        CMessageCommand command = randomCommand(random);
        source.put(command);
    }
    compareRandomly<CMessageEvent>(source, 100, random);
    compareRandomly<CMessageCommand>(source, 100, random);
}

TEST(Listing, EveryOptionSelectsAsTheOperatorsDoOnOtherLibraries)
{
    std::mt19937 random(3);
    for (const char *name : {"cxx", "renamed", "prints"}) {
        const TestInstallation installation(std::string(ContractLibraries) + "/" + name + "/DBLib.a");
        std::error_code ignored;
        std::filesystem::copy_file(std::string(ContractLibraries) + "/" + name + "/Funs.def",
                                   installation.path("Config/Funs.def"), ignored);
        const Source source(installation.installation());
        compareRandomly<CMessageEvent>(source, 100, random);
        compareRandomly<CMessageCommand>(source, 100, random);
    }
}

TEST(Listing, IdentifiersAtTheirBoundsAreListed)
{
    const TestInstallation installation(DBLIB_SQLITE);
    std::filesystem::create_directory(installation.path("Data"));
    {
        SqliteStore store(installation.path("Data/installation.db"), Sqlite::Durability::Crash);
        std::mt19937 random(4);
        store.put(randomEvent(random));
        store.connection().run("UPDATE event SET id = 2147483647");
    }
    const Source source(installation.installation());
    ListOptions options;
    options.format.name = FormatName::Csv;
    EXPECT_EQ(listed<CMessageEvent>(source, options), std::vector<int>{INT_MAX});
    options.limit = 100;
    EXPECT_EQ(listed<CMessageEvent>(source, options), std::vector<int>{INT_MAX});
    options.limit = INT_MAX;
    EXPECT_EQ(listed<CMessageEvent>(source, options), std::vector<int>{INT_MAX});
}

std::string sensorsListed(const Source &source, const ListOptions &options)
{
    const std::string csv = OutputFile().textOf([&](Output &output) { listSensors(source, options, output); });
    std::istringstream lines(csv);
    std::string names;
    std::string line;
    for (std::getline(lines, line); std::getline(lines, line);)
        names += line.substr(0, line.find(',')) + " ";
    return names;
}

TEST(Listing, SensorsAreSelectedHere)
{
    const TestInstallation installation(std::string(ContractLibraries) + "/cxx/DBLib.a");
    const Source source(installation.installation());
    ListOptions options;
    options.format.name = FormatName::Csv;
    EXPECT_EQ(sensorsListed(source, options), "sensor1 sensor2 sensor3 ");
    options.limit = 2;
    EXPECT_EQ(sensorsListed(source, options), "sensor2 sensor3 ");
    options.first = true;
    EXPECT_EQ(sensorsListed(source, options), "sensor1 sensor2 ");
    options = {};
    options.format.name = FormatName::Csv;
    options.filter.messageType = SensorDead;
    EXPECT_EQ(sensorsListed(source, options), "sensor2 ");
    options.filter = {};
    options.filter.sensor = "SENSOR?";
    EXPECT_EQ(sensorsListed(source, options), "sensor1 sensor2 sensor3 ");
    options.filter.sensor = "sensor";
    EXPECT_EQ(sensorsListed(source, options), "");
    options.filter = {};
    options.filter.sensorType = -1;
    EXPECT_EQ(sensorsListed(source, options), "");
    options.filter = {};
    options.filter.since = INT_MAX;
    EXPECT_EQ(sensorsListed(source, options), "");
}

/** What a list of events says when it fails. */
std::string failure(const std::string &library)
{
    const TestInstallation installation(library);
    try {
        const Source source(installation.installation());
        listed<CMessageEvent>(source, {});
    } catch (const Failure &error) {
        return error.what();
    }
    return "none";
}

std::string contractLibrary(const char *name)
{
    return std::string(ContractLibraries) + "/" + name + "/DBLib.a";
}

TEST(Listing, ALibraryThatFailsIsNamedByItsFunction)
{
    EXPECT_EQ(failure(contractLibrary("throws-fetch")), "FDBGetEvents threw an exception: the store is gone");
    EXPECT_EQ(failure(contractLibrary("throws-number")), "FDBGetEvents threw an exception");
    EXPECT_EQ(failure(contractLibrary("ends-thread-fetch")), "FDBGetEvents called pthread_exit");
    EXPECT_EQ(failure(contractLibrary("codes")), "FDBGetEvents failed with 7");
    EXPECT_EQ(failure(contractLibrary("null-array")), "FDBGetEvents counts 5 records and gives none");
    EXPECT_EQ(failure(contractLibrary("negative-count")), "FDBGetEvents counts -1 records and gives none");
    EXPECT_EQ(failure(contractLibrary("no-records")), "none");
    EXPECT_EQ(failure(contractLibrary("zero-count")), "none");
    EXPECT_EQ(failure(contractLibrary("odd-records")), "none");
    EXPECT_EQ(failure(contractLibrary("missing-c-2")), "the DB library has no FDBGetEvents");
    EXPECT_THAT(failure(contractLibrary("event-size")), HasSubstr("FDBGetEvents is made for other records: "));
    EXPECT_EQ(
        failure(contractLibrary("event-negative")),
        "FDBGetEvents answers -1 when it is asked for the records' sizes; dblib-check shows what is wrong with a DB "
        "library");
    EXPECT_THAT(failure(contractLibrary("unresolved")), HasSubstr("obrimFunctionThatNobodyHas"));
    EXPECT_THAT(failure(""), HasSubstr("there is no DB library "));
}

TEST(Listing, EveryFetchIsFollowedByOneRelease)
{
    const TestInstallation installation(contractLibrary("throws-fetch"));
    setenv(ContractCallLog, installation.path("calls").c_str(), 1);
    const Source source(installation.installation());
    EXPECT_THROW(listed<CMessageEvent>(source, {}), Failure);
    unsetenv(ContractCallLog);
    std::ifstream log(installation.path("calls"));
    std::string calls((std::istreambuf_iterator<char>(log)), {});
    EXPECT_THAT(calls, HasSubstr("FDBGetEvents fetch first 16384\nFDBGetEvents release first 16384\n"));
}
} // namespace
