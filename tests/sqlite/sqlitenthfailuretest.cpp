// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * The library with the first, the second, ... allocation, file operation of
 * SQLite or file call of its own failing: once, and from then on. Whatever
 * fails, each call ends with a result that is true, nothing that was confirmed
 * is lost, no other database is taken for the one that the settings name, and
 * when the fault is gone all goes on.
 */
#include "DBFuns.h"
#include "LoadDLL.h"
#include "capturedoutput.h"
#include "data.h"
#include "failingallocation.h"
#include "failingcalls.h"
#include "failingsqlite.h"
#include "sqlitestore.h"
#include "storetesting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <climits>
#include <cstdlib>
#include <fstream>
#include <sched.h>
#include <set>
#include <string>
#include <sys/mount.h>
#include <sys/wait.h>
#include <type_traits>
#include <vector>

namespace
{
using testing::AnyOf;
using testing::HasSubstr;

/** What fails in turn. */
struct Fault {
    const char *name;
    void (*refuse)(int n, bool onwards);
    bool (*grant)();
};

/** For the names of the tests, which would otherwise be those of addresses. */
void PrintTo(const Fault &fault, std::ostream *out)
{
    *out << fault.name;
}

constexpr Fault Allocations = {"allocation", FailingAllocation::refuse, FailingAllocation::grant};
constexpr Fault OwnCalls = {"own file call", FailingCalls::refuse, FailingCalls::grant};
constexpr Fault FileOperations = {"file operation", FailingFiles::refuse, FailingFiles::grant};

/** A message box is the console's: what it costs is not counted, and what it says is told by the result. */
void ignoreBox(QDialog *, const QString &, const QString &) {}

int idOf(const CMessageEvent &event)
{
    return event.MessageID;
}

int idOf(const CMessageCommand &command)
{
    return command.CommandID;
}

/** A result of each of the three fetches. */
template <class Record> struct Fetched {
    int result = 1;
    int count = 77;
    Record *array = nullptr;
};

// The library's functions by the type of record, as the console's data access calls them and directly.

int get(int *n, CMessageEvent **array, CMessageEventRequest *request)
{
    return FDBGetEvents(n, array, request);
}

int get(int *n, CMessageCommand **array, CMessageCommandRequest *request)
{
    return FDBGetCommands(n, array, request);
}

int getAsConsole(int *n, CMessageEvent **array, CMessageEventRequest *request)
{
    return DBGetEvents(n, array, request, nullptr);
}

int getAsConsole(int *n, CMessageCommand **array, CMessageCommandRequest *request)
{
    return DBGetCommands(n, array, request, nullptr);
}

int put(CMessageEvent &event)
{
    return FDBPutEvent(&event);
}

int put(CMessageCommand &command)
{
    return FDBPutCommand(&command);
}

int putAsConsole(CMessageEvent &event)
{
    return DBPutEvent(event);
}

int putAsConsole(CMessageCommand &command)
{
    return DBPutCommand(command);
}

template <class Record> int remove(int id)
{
    return std::is_same_v<Record, CMessageEvent> ? FDBDeleteEvent(id) : FDBDeleteCommand(id);
}

/** A record that no other is like. */
template <class Record> Record numbered(int number)
{
    const std::string sensor = "a sensor with a long name " + std::to_string(number % 3);
    Record record;
    if constexpr (std::is_same_v<Record, CMessageEvent>) {
        record = makeEvent(sensor, number % 4 == 3 ? "an event of its own " + std::to_string(number) : "event", number);
    } else {
        record = makeCommand(number % 4 == 3 ? "a sensor of its own " + std::to_string(number) : sensor, CommandStop,
                             number);
    }
    addInteger(record, "number", number);
    addText(record, "text", "a text that no small string holds, \"quoted\"");
    return record;
}

template <class Record> auto requestFor(int count, bool first)
{
    if constexpr (std::is_same_v<Record, CMessageEvent>)
        return eventsWanted(count, first);
    else
        return commandsWanted(count, first);
}

template <class Record> std::vector<Record> copied(const Record *array, int count)
{
    return std::vector<Record>(array, array + count);
}

template <class Record> bool sameAll(const std::vector<Record> &a, const std::vector<Record> &b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const Record &x, const Record &y) { return idOf(x) == idOf(y) && same(x, y); });
}

bool sameSensor(const CSensor &a, const CSensor &b)
{
    return a.SensorType == b.SensorType && a.MessageType == b.MessageType && a.EventTime == b.EventTime &&
           sameBytes(a.SensorID, a.LSensorID, b.SensorID, b.LSensorID) &&
           sameBytes(a.Description, a.LDescription, b.Description, b.LDescription);
}

std::ptrdiff_t openDescriptors()
{
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
}

class NthFailure : public ::testing::TestWithParam<Fault>
{
protected:
    void SetUp() override
    {
        for (const char *name : {"Config", "Libs", "Elsewhere", "Elsewhere/Config"})
            std::filesystem::create_directories(m_folder.file(name));
        std::ofstream(m_folder.file("Config/DBLib.def")) << "% not the default\nDatabase=../Own/Data/installation.db\n";
        std::filesystem::copy_file(DBLIB_SQLITE, m_folder.file("Libs/DBLib.a"));
        ConfigWD = QString::fromLocal8Bit(m_folder.file("Config").c_str());
        {
            const CapturedOutput output(stdout);
            ASSERT_EQ(LoadDLL(QString::fromLocal8Bit(m_folder.file("Libs").c_str())), 0);
        }
        setInformationBox(ignoreBox);
        {
            const SqliteStore made(m_folder.file("Elsewhere/Data/installation.db"), Sqlite::Durability::Crash);
        }
        leave();
        m_memoryElsewhere = sqlite3_memory_used();
        m_descriptorsElsewhere = openDescriptors();
    }
    void TearDown() override
    {
        setInformationBox(nullptr);
        // Nothing may stay behind but the connection to another file.
        leave();
        EXPECT_LE(sqlite3_memory_used(), m_memoryElsewhere);
        EXPECT_EQ(openDescriptors(), m_descriptorsElsewhere);
        EXPECT_FALSE(std::filesystem::exists(m_folder.file("Data"))) << "the default database was made";
    }
    std::string database() const
    {
        return m_folder.file(m_own + "/Data/installation.db");
    }
    /** Lets the settings name a database that is not there and never was: only such a one is made. */
    void chooseNewDatabase()
    {
        m_own = "Own" + std::to_string(++m_choices);
        std::ofstream(m_folder.file("Config/DBLib.def")) << "Database=../" << m_own << "/Data/installation.db\n";
        m_events.clear();
        m_commands.clear();
    }
    /** Closes the database: the library opens another one. */
    void leave()
    {
        ASSERT_EQ(FInitDBEvents(m_folder.file("Elsewhere/Config").c_str()), 0);
    }
    int initialise()
    {
        return FInitDBEvents(m_config.c_str());
    }
    void fill()
    {
        leave();
        {
            SqliteStore store(database(), Sqlite::Durability::Crash);
            for (int i = 0; i < 12; ++i) {
                store.put(numbered<CMessageEvent>(++m_last));
                store.put(numbered<CMessageCommand>(m_last));
            }
            store.registerSensor("a sensor with a long name 0", 1, "A description that no small string holds");
        }
        ASSERT_EQ(initialise(), 0);
        m_events = all<CMessageEvent>();
        m_commands = all<CMessageCommand>();
        ASSERT_EQ(m_events.size(), 12U);
        ASSERT_EQ(m_commands.size(), 12U);
    }

    /** Opening a database takes thousands of allocations, of which each `some`-th fails; all do when asked for. */
    static int step(int some)
    {
        return GetParam().refuse != FailingAllocation::refuse || std::getenv("OBRIM_EVERY_FAILURE") ? 1 : some;
    }
    /**
     * Runs `action` with one after the other failing, `check` after each, until nothing is left to fail. More than
     * `least` have to; of its own, the library may make one file call only.
     */
    template <class Prepare, class Action, class Check>
    void failEach(int least, Prepare prepare, Action action, Check check, int some = 1)
    {
        for (const bool onwards : {false, true}) {
            int n = 0;
            for (bool refused = true; refused && !HasFailure(); n += step(some)) {
                prepare();
                SCOPED_TRACE(std::string(GetParam().name) + " " + std::to_string(n) + (onwards ? " onwards" : ""));
                bool threw = false;
                {
                    const CapturedOutput output(stdout);
                    const CapturedOutput errors(stderr);
                    GetParam().refuse(n, onwards);
                    try {
                        action();
                    } catch (...) {
                        threw = true;
                    }
                    refused = GetParam().grant();
                    m_said = errors.text();
                }
                EXPECT_FALSE(threw) << "nothing may be thrown at the console";
                check(refused);
            }
            EXPECT_GT(n - step(some), GetParam().refuse == FailingCalls::refuse ? 0 : least)
                << "hardly anything was refused";
            RecordProperty(onwards ? "onwards" : "once", n - step(some));
        }
    }

    /** That the last action, which failed, said so, and why. */
    void expectMessage(const char *what)
    {
        EXPECT_THAT(m_said, HasSubstr("DBLib: cannot " + std::string(what) + ": "));
        if (GetParam().refuse == FailingAllocation::refuse)
            return;
        EXPECT_THAT(m_said, HasSubstr(m_folder.path())) << "the file is not named";
    }
    /** All that there is, by ascending identifier. */
    template <class Record> std::vector<Record> all()
    {
        auto request = requestFor<Record>(INT_MAX, true);
        int n = 0;
        Record *array = nullptr;
        EXPECT_EQ(get(&n, &array, &request), 0);
        std::vector<Record> result = copied(array, n);
        EXPECT_EQ(get(nullptr, &array, &request), 0);
        return result;
    }
    template <class Record> std::vector<Record> &model()
    {
        if constexpr (std::is_same_v<Record, CMessageEvent>)
            return m_events;
        else
            return m_commands;
    }
    /** All of the model that the request selects, in the order that it asks for. */
    template <class Record, class Request> std::vector<Record> selected(const Request &request)
    {
        std::vector<Record> result;
        for (const Record &record : model<Record>())
            if (request & record)
                result.push_back(record);
        if (!request.TakeFirst1_Last0)
            std::reverse(result.begin(), result.end());
        result.resize(std::min(result.size(), std::size_t(request.NMax)));
        return result;
    }
    /** What the model says is there, for this process, for another one and after this one's death. */
    void expectAllThere()
    {
        EXPECT_TRUE(sameAll(all<CMessageEvent>(), m_events));
        EXPECT_TRUE(sameAll(all<CMessageCommand>(), m_commands));
        EXPECT_EQ(idsIn<CMessageEvent>(database()), ids(m_events));
        EXPECT_EQ(idsIn<CMessageCommand>(database()), ids(m_commands));
        expectWhole(database());
        const std::string copy = m_folder.file("copy.db");
        for (const char *suffix : {"", "-wal", "-journal"}) {
            std::error_code missing;
            std::filesystem::remove(copy + suffix, missing);
            std::filesystem::copy_file(database() + suffix, copy + suffix, missing);
        }
        expectWhole(copy);
        EXPECT_THAT(idsIn<CMessageEvent>(copy), AnyOf(ids(m_events), m_undecidedEvents));
        EXPECT_THAT(idsIn<CMessageCommand>(copy), AnyOf(ids(m_commands), m_undecidedCommands));
        m_undecidedEvents.clear();
        m_undecidedCommands.clear();
    }
    template <class Record> static std::set<int> ids(const std::vector<Record> &records)
    {
        std::set<int> result;
        for (const Record &record : records)
            result.insert(idOf(record));
        return result;
    }
    template <class Record> static std::set<int> idsIn(const std::string &path)
    {
        std::set<int> result;
        Sqlite::Connection other(path, Sqlite::Durability::Crash, 0);
        const bool isEvent = std::is_same_v<Record, CMessageEvent>;
        Sqlite::Statement rows(other, isEvent ? "SELECT id FROM event" : "SELECT id FROM command");
        while (rows.step())
            result.insert(int(rows.number(0)));
        return result;
    }
    /**
     * A change whose way to the disk failed is undone; but when this process
     * dies then, the next one may find it complete in the log.
     */
    template <class Record> void leaveUndecided(int id, bool added)
    {
        std::set<int> &undecided = std::is_same_v<Record, CMessageEvent> ? m_undecidedEvents : m_undecidedCommands;
        undecided = ids(model<Record>());
        if (added)
            undecided.insert(id);
        else
            undecided.erase(id);
    }
    void expectWhole(const std::string &path)
    {
        Sqlite::Connection other(path, Sqlite::Durability::Crash, 0);
        Sqlite::Statement check(other, "PRAGMA integrity_check");
        ASSERT_TRUE(check.step());
        EXPECT_EQ(check.text(0), "ok");
        EXPECT_EQ(other.number("SELECT count(*) FROM event e WHERE NOT EXISTS (SELECT 1 FROM event_zone z WHERE "
                               "z.level = 0 AND z.block = e.id >> 8 AND e.time BETWEEN z.earliest AND z.latest)"),
                  0)
            << "rows outside their zones";
    }

    /** The newest record is the one that was put exactly when the result says so. */
    template <class Record> void notePut(int result, const Record &record)
    {
        const std::vector<Record> now = all<Record>();
        if (result == 0) {
            ASSERT_EQ(now.size(), model<Record>().size() + 1) << "confirmed and lost";
            EXPECT_TRUE(same(now.back(), record));
            model<Record>().push_back(now.back());
        } else if (!model<Record>().empty()) {
            leaveUndecided<Record>(idOf(model<Record>().back()) + 1, true);
        }
    }
    template <class Record> void failPuts(bool asConsole)
    {
        fill();
        Record record;
        int result = 1;
        failEach(
            GetParam().refuse == FailingFiles::refuse ? 2 : 20, [&] { record = numbered<Record>(++m_last); },
            [&] {
                result = 1;
                result = asConsole ? putAsConsole(record) : put(record);
            },
            [&](bool refused) {
                EXPECT_TRUE(refused || result == 0);
                notePut(result, record);
                expectAllThere();
            });
    }
    template <class Record> void failDeletes()
    {
        fill();
        int result = 1;
        // Newer versions of SQLite allocate for opening the database only.
        const bool cold = GetParam().refuse == FailingAllocation::refuse;
        failEach(
            2,
            [&] {
                if (model<Record>().size() < 3) {
                    Record record = numbered<Record>(++m_last);
                    ASSERT_EQ(put(record), 0);
                    notePut(0, record);
                }
                if (cold)
                    leave();
            },
            [&] {
                result = 1;
                if (cold)
                    initialise(); // whose result no console looks at
                result = remove<Record>(idOf(model<Record>()[1]));
            },
            [&](bool refused) {
                EXPECT_TRUE(refused || result == 0);
                ASSERT_EQ(initialise(), 0);
                if (result == 0)
                    model<Record>().erase(model<Record>().begin() + 1);
                else
                    leaveUndecided<Record>(idOf(model<Record>()[1]), false);
                expectAllThere();
            },
            cold ? 41 : 1);
    }
    /** Fetches as the library is called; with `cold` the database has to be opened first. */
    template <class Record, class Request> void failFetches(Request request, bool cold)
    {
        fill();
        const std::vector<Record> expected = selected<Record>(request);
        ASSERT_FALSE(expected.empty());
        Fetched<Record> fetched;
        int released = 1;
        failEach(
            0,
            [&] {
                if (cold)
                    leave();
            },
            [&] {
                fetched = {};
                if (cold)
                    initialise(); // whose result no console looks at
                fetched.result = get(&fetched.count, &fetched.array, &request);
            },
            [&](bool refused) {
                EXPECT_TRUE(refused || fetched.result == 0);
                if (fetched.result == 0) {
                    EXPECT_TRUE(sameAll(copied(fetched.array, fetched.count), expected));
                } else {
                    EXPECT_EQ(fetched.count, 0);
                    EXPECT_EQ(fetched.array, nullptr);
                    expectMessage(std::is_same_v<Record, CMessageEvent> ? "read events" : "read commands");
                }
                released = get(nullptr, &fetched.array, &request);
                EXPECT_EQ(released, 0);
                ASSERT_EQ(initialise(), 0);
                expectAllThere();
            },
            cold ? 41 : 1);
    }
    template <class Record, class Request> void failFetchesAsConsole(Request request)
    {
        fill();
        const std::vector<Record> expected = selected<Record>(request);
        Fetched<Record> fetched;
        Record *before = nullptr;
        failEach(
            0, [&] { before = new Record[1]; },
            [&] {
                fetched = {};
                fetched.array = before;
                fetched.result = getAsConsole(&fetched.count, &fetched.array, &request);
            },
            [&](bool refused) {
                EXPECT_TRUE(refused || fetched.result == 0);
                if (fetched.result == 0)
                    EXPECT_TRUE(sameAll(copied(fetched.array, fetched.count), expected));
                else
                    EXPECT_EQ(fetched.array, before);
                delete[] fetched.array;
                expectAllThere();
            });
    }

    TemporaryFolder m_folder;
    std::string m_config = m_folder.file("Config");
    std::string m_own = "Own";
    int m_choices = 0;
    std::vector<CMessageEvent> m_events;
    std::vector<CMessageCommand> m_commands;
    std::set<int> m_undecidedEvents;
    std::set<int> m_undecidedCommands;
    int m_last = 0;
    std::string m_said; ///< by the last action, on standard error
    sqlite3_int64 m_memoryElsewhere = 0;
    std::ptrdiff_t m_descriptorsElsewhere = 0;
};

CMessageEventRequest filteredEvents()
{
    CMessageEventRequest request = eventsWanted(5);
    request.UseSensorID = 1;
    setText(request.SensorID, request.LSensorID, "A sensor with a long name 1");
    request.UseEventName = 1;
    setText(request.EventName, request.LEventName, "event");
    request.UseEventTime0 = 1;
    request.EventTime0 = 2;
    request.UseEventTime1 = 1;
    request.EventTime1 = 11;
    return request;
}

TEST_P(NthFailure, PutEvent)
{
    failPuts<CMessageEvent>(false);
}

TEST_P(NthFailure, PutEventAsConsole)
{
    failPuts<CMessageEvent>(true);
}

TEST_P(NthFailure, PutCommand)
{
    failPuts<CMessageCommand>(false);
}

TEST_P(NthFailure, PutCommandAsConsole)
{
    failPuts<CMessageCommand>(true);
}

TEST_P(NthFailure, DeleteEvent)
{
    failDeletes<CMessageEvent>();
}

TEST_P(NthFailure, DeleteCommand)
{
    failDeletes<CMessageCommand>();
}

TEST_P(NthFailure, FetchEvents)
{
    failFetches<CMessageEvent>(eventsWanted(100), false);
}

TEST_P(NthFailure, FetchManyEvents)
{
    failFetches<CMessageEvent>(eventsWanted(INT_MAX, true), false);
}

TEST_P(NthFailure, FetchFilteredEvents)
{
    failFetches<CMessageEvent>(filteredEvents(), false);
}

TEST_P(NthFailure, FetchEventsAsConsole)
{
    failFetchesAsConsole<CMessageEvent>(filteredEvents());
}

TEST_P(NthFailure, FetchCommands)
{
    failFetches<CMessageCommand>(commandsWanted(100), false);
}

TEST_P(NthFailure, FetchCommandsAsConsole)
{
    failFetchesAsConsole<CMessageCommand>(commandsWanted(100));
}

TEST_P(NthFailure, OpenAndFetchEvents)
{
    failFetches<CMessageEvent>(filteredEvents(), true);
}

TEST_P(NthFailure, FetchSensors)
{
    fill();
    const auto ask = [](Fetched<CSensor> &fetched) {
        fetched = {};
        fetched.result = FDBGetSensors(&fetched.count, &fetched.array);
    };
    Fetched<CSensor> fetched;
    ask(fetched);
    const std::vector<CSensor> expected = copied(fetched.array, fetched.count);
    ASSERT_GE(expected.size(), 3U);
    EXPECT_EQ(FDBGetSensors(nullptr, &fetched.array), 0);
    failEach(
        1, [] {}, [&] { ask(fetched); },
        [&](bool refused) {
            EXPECT_TRUE(refused || fetched.result == 0);
            if (fetched.result == 0) {
                const std::vector<CSensor> got = copied(fetched.array, fetched.count);
                EXPECT_TRUE(std::equal(got.begin(), got.end(), expected.begin(), expected.end(), sameSensor));
            } else {
                EXPECT_EQ(fetched.count, 0);
                EXPECT_EQ(fetched.array, nullptr);
            }
            EXPECT_EQ(FDBGetSensors(nullptr, &fetched.array), 0);
            expectAllThere();
        });
}

TEST_P(NthFailure, Release)
{
    fill();
    auto request = eventsWanted(100);
    Fetched<CMessageEvent> fetched;
    int result = 1;
    for (const bool onwards : {false, true}) {
        fetched = {};
        ASSERT_EQ(get(&fetched.count, &fetched.array, &request), 0);
        GetParam().refuse(0, onwards);
        result = get(nullptr, &fetched.array, &request);
        EXPECT_FALSE(GetParam().grant()) << "giving back needs nothing";
        EXPECT_EQ(result, 0);
    }
}

TEST_P(NthFailure, MakeAndPut)
{
    leave();
    CMessageEvent event = numbered<CMessageEvent>(1);
    int initialised = 1;
    int result = 1;
    failEach(
        50,
        [&] {
            leave();
            std::filesystem::remove_all(m_folder.file(m_own));
            chooseNewDatabase();
        },
        [&] {
            initialised = result = 1;
            initialised = initialise();
            result = put(event);
        },
        [&](bool refused) {
            EXPECT_TRUE(refused || (initialised == 0 && result == 0));
            if (initialised != 0)
                expectMessage("open the database");
            if (result != 0)
                expectMessage("store an event");
            ASSERT_EQ(initialise(), 0);
            notePut(result, event);
            ASSERT_EQ(put(event), 0);
            notePut(0, event);
            expectAllThere();
        },
        101);
}

/**
 * A medium that nobody can write is read past SQLite's ordinary road, which
 * leaves out what stands in a log: no failure may let that happen while there
 * is one.
 */
TEST(OwnCallFailure, ALogOnAMediumThatCannotBeWrittenIsNotLeftOut)
{
    const TemporaryFolder folder;
    const std::string medium = folder.file("medium");
    const std::string path = medium + "/x.db";
    std::filesystem::create_directory(medium);
    {
        SqliteStore store(folder.file("x.db"), Sqlite::Durability::Crash);
        store.put(numbered<CMessageEvent>(1));
        store.connection().run("PRAGMA wal_checkpoint(TRUNCATE)");
        store.put(numbered<CMessageEvent>(2));
        for (const char *suffix : {"", "-wal", "-shm"})
            std::filesystem::copy_file(folder.file("x.db") + suffix, path + suffix);
    }
    constexpr int notPossible = 77;
    const pid_t child = ::fork();
    if (child == 0) {
        const bool alone = ::unshare(CLONE_NEWNS) == 0 || ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0;
        if (!alone || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount(medium.c_str(), medium.c_str(), nullptr, MS_BIND, nullptr) != 0 ||
            ::mount(nullptr, medium.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) != 0)
            ::_exit(notPossible);
        int n = 0;
        for (bool refused = true; refused; ++n) {
            FailingCalls::refuse(n, false);
            int events = -1;
            try {
                SqliteStore store(path, Sqlite::Durability::Crash, 0);
                events = store.events(eventsWanted(10))->size();
            } catch (const Sqlite::Error &error) {
                EXPECT_THAT(error.what(), HasSubstr(path));
            }
            refused = FailingCalls::grant();
            EXPECT_THAT(events, AnyOf(2, refused ? -1 : 2)) << "file call " << n;
        }
        EXPECT_GE(n, 4) << "hardly anything was refused";
        std::fflush(nullptr);
        ::_exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == notPossible)
        GTEST_SKIP() << "this machine does not allow it";
    EXPECT_EQ(status, 0);
}

INSTANTIATE_TEST_SUITE_P(, NthFailure, ::testing::Values(Allocations, FileOperations, OwnCalls),
                         [](const auto &tested) {
                             if (tested.param.refuse == FailingCalls::refuse)
                                 return std::string("OwnCalls");
                             return std::string(tested.param.refuse == FailingFiles::refuse ? "Files" : "Memory");
                         });
} // namespace
