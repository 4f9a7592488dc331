// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * Calls that fail again and again, as a timer's do, take neither memory nor
 * descriptors, whatever the reason is. OBRIM_FAILING_CALLS is how many there are
 * in each state; each of those in a locked one takes 3 seconds.
 */
#include "LoadDLL.h"
#include "capturedoutput.h"
#include "childworld.h"
#include "data.h"
#include "sqlitestore.h"
#include "storetesting.h"

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <malloc.h>
#include <sys/mount.h>
#include <sys/resource.h>

namespace
{
int failingCalls(int otherwise)
{
    const char *given = std::getenv("OBRIM_FAILING_CALLS");
    return given ? std::atoi(given) : otherwise;
}

using Call = int (*)();

int fetchEvents()
{
    CMessageEventRequest request = eventsWanted(INT_MAX);
    int n = 0;
    CMessageEvent *events = nullptr;
    const int result = FDBGetEvents(&n, &events, &request);
    FDBGetEvents(nullptr, &events, &request);
    return result;
}

int fetchCommands()
{
    CMessageCommandRequest request = commandsWanted(INT_MAX);
    int n = 0;
    CMessageCommand *commands = nullptr;
    const int result = FDBGetCommands(&n, &commands, &request);
    FDBGetCommands(nullptr, &commands, &request);
    return result;
}

int fetchSensors()
{
    int n = 0;
    CSensor *sensors = nullptr;
    const int result = FDBGetSensors(&n, &sensors);
    FDBGetSensors(nullptr, &sensors);
    return result;
}

int putEvent()
{
    CMessageEvent event = makeEvent("sensor", "event", 1000);
    addText(event, "text", std::string(2000, 'x'));
    return FDBPutEvent(&event);
}

int putCommand()
{
    CMessageCommand command = makeCommand("sensor", CommandStop, 1000);
    addText(command, "text", std::string(2000, 'x'));
    return FDBPutCommand(&command);
}

int deleteEvent()
{
    return FDBDeleteEvent(1);
}

int initialise()
{
    return FInitDBEvents(ConfigWD.toLocal8Bit().constData());
}

const std::vector<Call> All = {fetchEvents, fetchCommands, fetchSensors, putEvent, putCommand, deleteEvent, initialise};
/** Initialising what is open already asks the file nothing. */
const std::vector<Call> AllThatAsk = {fetchEvents, fetchCommands, fetchSensors, putEvent, putCommand, deleteEvent};
const std::vector<Call> Puts = {putEvent, putCommand};
const std::vector<Call> OneOfEach = {fetchEvents, putEvent};

struct Folder;

/** A way to let calls fail: what is done to the files, and which calls fail then. */
struct State {
    const char *name;
    void (*spoil)(const Folder &folder);
    const std::vector<Call> &failing;
    int calls = 100; ///< unless told otherwise
};

void PrintTo(const State &state, std::ostream *out)
{
    *out << state.name;
}

struct Folder {
    std::string path;
    std::string database() const
    {
        return path + "/Data/installation.db";
    }
};

void run(const std::string &path, const char *sql)
{
    Sqlite::Connection(path, Sqlite::Durability::Crash, 1000).run(sql);
}

void replace(const Folder &folder, const std::string &content)
{
    std::filesystem::remove_all(folder.path + "/Data");
    std::filesystem::create_directory(folder.path + "/Data");
    std::ofstream(folder.database(), std::ios::binary) << content;
}

std::string contentOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/** Another process that does something to the database and keeps it so until this one ends. */
void keepLocked(const Folder &folder, const char *sql)
{
    int ready[2];
    if (::pipe(ready) != 0)
        ::_exit(1);
    const pid_t parent = ::getpid();
    if (::fork() == 0) {
        Sqlite::Connection connection(folder.database(), Sqlite::Durability::Crash, 1000);
        connection.run(sql);
        const char byte = 0;
        if (::write(ready[1], &byte, 1) != 1)
            ::_exit(1);
        while (::getppid() == parent)
            ::usleep(10000);
        ::_exit(0);
    }
    char byte = 0;
    if (::read(ready[0], &byte, 1) != 1)
        ::_exit(1);
    ::close(ready[0]);
    ::close(ready[1]);
}

/** Mounts something over the folder of the database, for this process only. */
void mount(const Folder &folder, const char *what, const char *type, unsigned long flags, const char *options)
{
    if (::mount(what, (folder.path + "/Data").c_str(), type, flags, options) != 0)
        ::_exit(NotPossible);
}

const State States[] = {
    {"Gone", [](const Folder &folder) { std::filesystem::rename(folder.database(), folder.path + "/away.db"); }, All},
    {"FolderGone", [](const Folder &folder) { std::filesystem::rename(folder.path + "/Data", folder.path + "/Away"); },
     All},
    {"Empty", [](const Folder &folder) { replace(folder, ""); }, All},
    {"NoDatabase", [](const Folder &folder) { replace(folder, std::string(10000, 'x')); }, All},
    {"CutShort",
     [](const Folder &folder) {
         std::filesystem::copy_file(folder.database(), folder.path + "/whole.db");
         const std::string whole = contentOf(folder.path + "/whole.db");
         replace(folder, whole.substr(0, whole.size() / 2));
     },
     All},
    {"AnotherProgramsDatabase",
     [](const Folder &folder) {
         replace(folder, "");
         run(folder.database(), "CREATE TABLE bookmark(url TEXT)");
     },
     All},
    {"NewerVersion", [](const Folder &folder) { run(folder.database(), "PRAGMA user_version = 1000"); }, AllThatAsk},
    {"ForeignTrigger",
     [](const Folder &folder) {
         run(folder.database(), "CREATE TRIGGER t AFTER INSERT ON event BEGIN DELETE FROM event; END");
     },
     AllThatAsk},
    {"ForeignExpression",
     [](const Folder &folder) { run(folder.database(), "CREATE INDEX i ON event(length(params))"); }, AllThatAsk},
    {"OtherTables", [](const Folder &folder) { run(folder.database(), "DROP TABLE event_zone"); }, AllThatAsk},
    {"SettingsThatCannotBeRead",
     [](const Folder &folder) {
         std::filesystem::create_directory(folder.path + "/Config/DBLib.def");
         EXPECT_NE(initialise(), 0);
     },
     All},
    {"IdentifiersUsedUp",
     [](const Folder &folder) { run(folder.database(), "UPDATE sqlite_sequence SET seq = 2147483647"); }, Puts},
    {"FileSizeLimit",
     [](const Folder &) {
         ::signal(SIGXFSZ, SIG_IGN);
         const rlimit limit = {100, 100};
         ::setrlimit(RLIMIT_FSIZE, &limit);
     },
     Puts},
    {"DiskFull",
     [](const Folder &folder) {
         ownMounts();
         mount(folder, "small", "tmpfs", 0, "size=600k");
         std::ofstream(folder.path + "/Config/DBLib.def") << "Database=../Data/small.db\n";
         EXPECT_EQ(initialise(), 0);
         while (putEvent() == 0) {
         }
     },
     Puts},
    {"MediumThatCannotBeWritten",
     [](const Folder &folder) {
         FInitDBEvents((folder.path + "/Elsewhere/Config").c_str());
         ownMounts();
         mount(folder, (folder.path + "/Data").c_str(), nullptr, MS_BIND, nullptr);
         mount(folder, nullptr, nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr);
         EXPECT_EQ(initialise(), 0);
     },
     Puts},
    {"LockedForWriters", [](const Folder &folder) { keepLocked(folder, "BEGIN IMMEDIATE"); }, Puts, 2},
    {"LockedForAll",
     [](const Folder &folder) {
         FInitDBEvents((folder.path + "/Elsewhere/Config").c_str());
         keepLocked(folder, "PRAGMA locking_mode=EXCLUSIVE; BEGIN IMMEDIATE; DELETE FROM event; COMMIT");
         initialise();
     },
     OneOfEach, 2},
};

std::ptrdiff_t openDescriptors()
{
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
}

std::size_t usedMemory()
{
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

class FlatFailures : public ::testing::TestWithParam<State>
{
protected:
    void SetUp() override
    {
        for (const char *name : {"Config", "Data", "Elsewhere", "Elsewhere/Config"})
            std::filesystem::create_directories(m_folder.file(name));
        SqliteStore store(m_folder.file("Data/installation.db"), Sqlite::Durability::Crash);
        store.putEvents(std::vector<NewMessage>(2000));
        store.put(makeEvent("sensor", "event", 1000));
    }
    /** In a process of its own. */
    void failAgainAndAgain() const
    {
        {
            const CapturedOutput output(stdout);
            if (LoadDLL(QString::fromLocal8Bit(DBLIB_SQLITE_FOLDER)) != 0)
                ::_exit(1);
        }
        ConfigWD = QString::fromLocal8Bit(m_folder.file("Config").c_str());
        const CapturedOutput errors(stderr);
        ASSERT_EQ(initialise(), 0);
        ASSERT_EQ(putCommand(), 0);
        const std::vector<Call> &calls = GetParam().failing;
        GetParam().spoil({m_folder.path()});
        const auto call = [&](int times) {
            for (int i = 0; i < times; ++i)
                EXPECT_NE(calls[std::size_t(i) % calls.size()](), 0) << "call " << i;
        };
        // What is needed once, for the messages for instance, is made by the first ones.
        call(int(calls.size()));
        const std::ptrdiff_t descriptors = openDescriptors();
        const std::size_t memory = usedMemory();
        const int times = failingCalls(GetParam().calls);
        call(times);
        EXPECT_EQ(openDescriptors(), descriptors);
        // Some blocks more or less are the allocator's own matter.
        EXPECT_LE(usedMemory(), memory + 50000);
        std::printf("%s: %d failing calls, memory grown by %lld bytes\n", GetParam().name, times,
                    static_cast<long long>(usedMemory() - memory));
    }

    TemporaryFolder m_folder;
};

TEST_P(FlatFailures, TakeNoMemoryAndNoDescriptors)
{
    inChild([this] { failAgainAndAgain(); });
}

INSTANTIATE_TEST_SUITE_P(, FlatFailures, ::testing::ValuesIn(States),
                         [](const auto &tested) { return std::string(tested.param.name); });
} // namespace
