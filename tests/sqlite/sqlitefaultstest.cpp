// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * The library and a file system that does not play along: each fault gets a
 * message that names the file and the reason and a result other than 0, and
 * the console goes on when the fault is gone.
 */
#include "LoadDLL.h"
#include "capturedoutput.h"
#include "childworld.h"
#include "data.h"
#include "loadedlibrary.h"
#include "sqlitestore.h"
#include "storetesting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <random>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace
{
using testing::AllOf;
using testing::HasSubstr;

constexpr uid_t Nobody = 65534;

class FaultTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        std::filesystem::create_directories(m_folder.file("Config"));
        std::filesystem::create_directories(m_folder.file("Libs"));
        std::filesystem::create_directories(m_folder.file("Data"));
        std::filesystem::copy_file(DBLIB_SQLITE, m_folder.file("Libs/DBLib.a"));
        // A child that drops its rights has to reach the folder.
        for (const char *open : {"", "Config", "Libs", "Data"})
            std::filesystem::permissions(m_folder.file(open), std::filesystem::perms(0755));
        ConfigWD = QString::fromLocal8Bit(m_folder.file("Config").c_str());
        ASSERT_EQ(LoadDLL(QString::fromLocal8Bit(m_folder.file("Libs").c_str())), 0);
    }
    std::string database() const
    {
        return m_folder.file("Data/installation.db");
    }
    /** The path as messages name it. */
    std::string named() const
    {
        return m_folder.file("Config/../Data/installation.db");
    }
    int initialise()
    {
        return InitDBEvents(ConfigWD);
    }
    void fill(int events)
    {
        SqliteStore store(database(), Sqlite::Durability::Crash);
        std::vector<NewMessage> many(static_cast<std::size_t>(events));
        store.putEvents(many);
    }

    /** Expects that each of the ten functions fails for `reason`, the database's or that of another `file`. */
    void expectRefusal(const std::string &reason, const std::string &file = {})
    {
        const std::string path = file.empty() ? named() : file;
        const CapturedOutput errors(stderr);
        EXPECT_NE(InitDBSensors(ConfigWD), 0);
        EXPECT_NE(initialise(), 0);
        EXPECT_NE(InitDBCommands(ConfigWD), 0);
        int n = 0;
        CSensor *sensors = nullptr;
        EXPECT_NE(DBGetSensors(&n, &sensors, nullptr), 0);
        EXPECT_EQ(countEvents(), -1);
        CMessageCommandRequest request = commandsWanted(10);
        CMessageCommand *commands = nullptr;
        EXPECT_NE(DBGetCommands(&n, &commands, &request, nullptr), 0);
        EXPECT_NE(putAnEvent(), 0);
        CMessageCommand command = makeCommand("sensor", CommandKill, 0);
        EXPECT_NE(DBPutCommand(command), 0);
        EXPECT_NE(FDBDeleteEvent(1), 0);
        EXPECT_NE(FDBDeleteCommand(1), 0);
        for (const char *failed : {"open the database", "read sensors", "read events", "read commands",
                                   "store an event", "store a command", "delete an event", "delete a command"})
            EXPECT_THAT(errors.text(), HasSubstr("cannot " + std::string(failed) + ": " + path + ": " + reason));
    }

    /** In a child of root: the rights of nobody. */
    static void dropRights()
    {
        if (::geteuid() == 0 && (::setgid(Nobody) != 0 || ::setuid(Nobody) != 0))
            ::_exit(NotPossible);
    }

    TemporaryFolder m_folder;
};

TEST_F(FaultTest, DiskFull)
{
    inChild([this] {
        ownMounts();
        if (::mount("small", m_folder.file("Data").c_str(), "tmpfs", 0, "size=600k") != 0)
            ::_exit(NotPossible);
        ASSERT_EQ(initialise(), 0);
        const CapturedOutput errors(stderr);
        int stored = 0;
        while (stored < 100000 && putAnEvent() == 0)
            ++stored;
        EXPECT_GT(stored, 10);
        EXPECT_LT(stored, 100000);
        EXPECT_THAT(errors.text(), HasSubstr("cannot store an event: " + named() + ": the disk is full"));
        EXPECT_EQ(countEvents(), stored) << "what was confirmed is there, what was refused is not";
        EXPECT_NE(putAnEvent(), 0);
        // Room again: the console goes on without a restart.
        ASSERT_EQ(::mount("small", m_folder.file("Data").c_str(), "tmpfs", MS_REMOUNT, "size=4m"), 0);
        EXPECT_EQ(putAnEvent(), 0);
        EXPECT_EQ(countEvents(), stored + 1);
    });
}

TEST_F(FaultTest, DiskFullBeforeTheDatabaseIsMade)
{
    inChild([this] {
        ownMounts();
        if (::mount("small", m_folder.file("Data").c_str(), "tmpfs", 0, "size=16k") != 0)
            ::_exit(NotPossible);
        const CapturedOutput errors(stderr);
        EXPECT_NE(initialise(), 0);
        EXPECT_THAT(errors.text(), HasSubstr("cannot open the database: " + named() + ": the disk is full"));
        EXPECT_EQ(countEvents(), -1);
        ASSERT_EQ(::mount("small", m_folder.file("Data").c_str(), "tmpfs", MS_REMOUNT, "size=4m"), 0);
        EXPECT_EQ(countEvents(), 0);
        EXPECT_EQ(putAnEvent(), 0);
    });
}

TEST_F(FaultTest, FileSizeLimit)
{
    inChild([this] {
        ASSERT_EQ(initialise(), 0);
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {200000, 200000};
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        const CapturedOutput errors(stderr);
        int stored = 0;
        while (stored < 100000 && putAnEvent() == 0)
            ++stored;
        EXPECT_LT(stored, 100000);
        EXPECT_THAT(errors.text(), HasSubstr("cannot store an event: " + named() + ": reading or writing failed"));
        EXPECT_EQ(countEvents(), stored);
    });
}

TEST_F(FaultTest, MediumThatCannotBeWritten)
{
    fill(100);
    inChild([this] {
        ownMounts();
        const std::string data = m_folder.file("Data");
        if (::mount(data.c_str(), data.c_str(), nullptr, MS_BIND, nullptr) != 0 ||
            ::mount(nullptr, data.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) != 0)
            ::_exit(NotPossible);
        EXPECT_EQ(initialise(), 0);
        EXPECT_EQ(countEvents(), 100) << "what cannot be written can still be read";
        const CapturedOutput errors(stderr);
        EXPECT_NE(putAnEvent(), 0);
        EXPECT_NE(FDBDeleteEvent(1), 0);
        EXPECT_THAT(errors.text(),
                    HasSubstr("cannot store an event: " + named() + ": the file or its folder cannot be written"));
        EXPECT_THAT(errors.text(), HasSubstr("cannot delete an event: " + named()));
    });
}

TEST_F(FaultTest, ALogBehindALinkOnAMediumThatCannotBeWritten)
{
    {
        SqliteStore store(database(), Sqlite::Durability::Crash);
        store.put(makeEvent("sensor", "event", 1000));
        std::filesystem::create_directory(m_folder.file("Medium"));
        for (const char *suffix : {"", "-wal", "-shm"})
            std::filesystem::copy_file(database() + suffix, m_folder.file("Medium/x.db") + suffix);
    }
    for (const char *suffix : {"", "-wal", "-shm"})
        std::filesystem::remove(database() + suffix);
    inChild([this] {
        ownMounts();
        const std::string medium = m_folder.file("Medium");
        if (::mount(medium.c_str(), medium.c_str(), nullptr, MS_BIND, nullptr) != 0 ||
            ::mount(nullptr, medium.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) != 0)
            ::_exit(NotPossible);
        std::filesystem::create_symlink(m_folder.file("Medium/x.db"), database());
        EXPECT_EQ(initialise(), 0);
        EXPECT_EQ(countEvents(), 1) << "the row stands in the log";
    });
}

TEST_F(FaultTest, ReadOnlyFile)
{
    // A writer that lives holds the files of write-ahead mode open, as an installation's sensors do.
    SqliteStore store(database(), Sqlite::Durability::Crash);
    store.put(makeEvent("sensor", "event", 1000));
    for (const char *suffix : {"", "-wal", "-shm"})
        ASSERT_EQ(::chmod((database() + suffix).c_str(), 0444), 0);
    std::filesystem::permissions(m_folder.file("Data"), std::filesystem::perms(0555));
    inChild([this] {
        dropRights();
        EXPECT_EQ(initialise(), 0);
        EXPECT_EQ(countEvents(), 1);
        const CapturedOutput errors(stderr);
        EXPECT_NE(putAnEvent(), 0);
        EXPECT_THAT(errors.text(),
                    HasSubstr("cannot store an event: " + named() + ": the file or its folder cannot be written"));
    });
    std::filesystem::permissions(m_folder.file("Data"), std::filesystem::perms(0755));
    EXPECT_EQ(store.put(makeEvent("sensor", "event", 1000)), 2) << "the writer is not disturbed";
}

TEST_F(FaultTest, FolderWithoutRights)
{
    std::filesystem::permissions(m_folder.file("Data"), std::filesystem::perms(0555));
    inChild([this] {
        dropRights();
        const CapturedOutput errors(stderr);
        EXPECT_NE(initialise(), 0);
        EXPECT_THAT(errors.text(), HasSubstr("cannot open the database: " + named() +
                                             ": the file cannot be opened or made (Permission denied)"));
        EXPECT_EQ(countEvents(), -1);
        EXPECT_NE(putAnEvent(), 0);
    });
    std::filesystem::permissions(m_folder.file("Data"), std::filesystem::perms(0755));
}

TEST_F(FaultTest, FolderThatCannotBeMade)
{
    std::ofstream(m_folder.file("Config/DBLib.def")) << "Database=/proc/none/x.db\n";
    const CapturedOutput errors(stderr);
    EXPECT_NE(initialise(), 0);
    EXPECT_THAT(errors.text(), HasSubstr("/proc/none/x.db: the folder cannot be made"));
}

TEST_F(FaultTest, FolderInTheFilesPlace)
{
    std::filesystem::create_directories(database());
    expectRefusal("the file cannot be opened or made");
}

TEST_F(FaultTest, CorruptAtTheBeginning)
{
    fill(2000);
    std::fstream(database(), std::ios::in | std::ios::out | std::ios::binary) << "This is no database at all.";
    expectRefusal("this is not a database, or it is corrupt at its beginning");
}

TEST_F(FaultTest, CorruptInside)
{
    fill(20000);
    const auto size = std::int64_t(std::filesystem::file_size(database()));
    {
        std::fstream file(database(), std::ios::in | std::ios::out | std::ios::binary);
        const std::string rubbish(4096, '\xA5');
        for (std::int64_t page = 20; page * 4096 < size; ++page) {
            file.seekp(page * 4096);
            file << rubbish;
        }
    }
    initialise();
    const CapturedOutput errors(stderr);
    EXPECT_EQ(countEvents(), -1);
    EXPECT_THAT(errors.text(), HasSubstr("cannot read events: " + named() + ": the database is corrupt"));
}

TEST_F(FaultTest, CutShort)
{
    fill(20000);
    std::filesystem::resize_file(database(), std::filesystem::file_size(database()) / 2);
    expectRefusal("the database is corrupt");
}

TEST_F(FaultTest, AnEmptyFileBecomesADatabase)
{
    std::ofstream{database()};
    EXPECT_EQ(initialise(), 0);
    EXPECT_EQ(putAnEvent(), 0);
    EXPECT_EQ(countEvents(), 1);
}

TEST_F(FaultTest, RandomCorruptionNeverCrashes)
{
    fill(3000);
    {
        SqliteStore store(database(), Sqlite::Durability::Crash);
        for (int i = 0; i < 300; ++i) {
            store.put(makeEvent("sensor" + std::to_string(i), "event", i));
            store.put(makeCommand("sensor" + std::to_string(i), 1, i));
        }
    }
    std::ifstream whole(database(), std::ios::binary);
    const std::string good((std::istreambuf_iterator<char>(whole)), std::istreambuf_iterator<char>());
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const CapturedOutput errors(stderr);
    const CapturedOutput output(stdout);
    for (int round = 0; round < 150; ++round) {
        std::string corrupt = good;
        for (unsigned hits = 1 + random() % 40; hits > 0; --hits) {
            // Headers of pages are where corruption hurts most.
            const std::size_t page = random() % (good.size() / 4096) * 4096;
            corrupt[page + random() % (random() % 2 ? 4096 : 120)] = char(random());
        }
        std::filesystem::remove_all(m_folder.file("Data"));
        std::filesystem::create_directories(m_folder.file("Data"));
        std::ofstream(database(), std::ios::binary) << corrupt;
        initialise();
        CMessageEventRequest request = eventsWanted(1000);
        request.UseEventTime1 = 1;
        request.EventTime1 = 200;
        request.UseSensorID = 1;
        setText(request.SensorID, request.LSensorID, "sensor7");
        for (int times = 0; times < 2; ++times) {
            int n = 0;
            CMessageEvent *events = nullptr;
            DBGetEvents(&n, &events, &request, nullptr);
            delete[] events;
            CSensor *sensors = nullptr;
            DBGetSensors(&n, &sensors, nullptr);
            delete[] sensors;
            countEvents();
            putAnEvent();
            DBDeleteEvent(17);
            request.UseSensorID = 0;
        }
    }
    SUCCEED();
}

TEST_F(FaultTest, LockedFile)
{
    ASSERT_EQ(initialise(), 0);
    ASSERT_EQ(putAnEvent(), 0);
    // Another process: within one process SQLite would tell by other means.
    int ready[2];
    int done[2];
    ASSERT_EQ(::pipe(ready), 0);
    ASSERT_EQ(::pipe(done), 0);
    const pid_t other = ::fork();
    if (other == 0) {
        SqliteStore store(database(), Sqlite::Durability::Crash);
        store.connection().run("BEGIN IMMEDIATE");
        char byte = 0;
        const bool told = ::write(ready[1], &byte, 1) == 1;
        ::_exit(told && ::read(done[0], &byte, 1) == 1 ? 0 : 1);
    }
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    const CapturedOutput errors(stderr);
    EXPECT_EQ(countEvents(), 1) << "reading needs no lock";
    EXPECT_NE(putAnEvent(), 0);
    EXPECT_THAT(errors.text(),
                HasSubstr("cannot store an event: " + named() + ": the database is locked by another program"));
    ASSERT_EQ(::write(done[1], &byte, 1), 1);
    int status = -1;
    ::waitpid(other, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(putAnEvent(), 0);
    EXPECT_EQ(countEvents(), 2);
}

TEST_F(FaultTest, FileLockedForReadersToo)
{
    fill(10);
    int ready[2];
    int done[2];
    ASSERT_EQ(::pipe(ready), 0);
    ASSERT_EQ(::pipe(done), 0);
    const pid_t other = ::fork();
    if (other == 0) {
        Sqlite::Connection connection(database(), Sqlite::Durability::Crash, 100);
        connection.run("PRAGMA locking_mode=EXCLUSIVE; BEGIN IMMEDIATE; DELETE FROM event; COMMIT");
        char byte = 0;
        const bool told = ::write(ready[1], &byte, 1) == 1;
        ::_exit(told && ::read(done[0], &byte, 1) == 1 ? 0 : 1);
    }
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    {
        const CapturedOutput errors(stderr);
        EXPECT_NE(initialise(), 0);
        EXPECT_EQ(countEvents(), -1);
        EXPECT_THAT(errors.text(),
                    HasSubstr("cannot open the database: " + named() + ": the database is locked by another program"));
        EXPECT_THAT(errors.text(),
                    HasSubstr("cannot read events: " + named() + ": the database is locked by another program"));
    }
    ASSERT_EQ(::write(done[1], &byte, 1), 1);
    int status = -1;
    ::waitpid(other, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(countEvents(), 0) << "without a new initialisation";
    EXPECT_EQ(putAnEvent(), 0);
}

TEST_F(FaultTest, NewerVersion)
{
    {
        SqliteStore store(database(), Sqlite::Durability::Crash);
        store.connection().run("PRAGMA user_version = 1000");
    }
    expectRefusal("the database has version 1000, this program knows versions up to");
}

TEST_F(FaultTest, DefinitionFileThatCannotBeRead)
{
    const std::string definitions = m_folder.file("Config/DBLib.def");
    using Spoiling = void (*)(const std::string &path);
    const std::pair<Spoiling, const char *> cases[] = {
        {[](const std::string &path) { std::filesystem::create_directory(path); }, "Not a regular file"},
        {[](const std::string &path) { std::filesystem::create_symlink("DBLib.def", path); },
         "Too many levels of symbolic links"},
        {[](const std::string &path) { std::filesystem::create_symlink("not/mounted", path); },
         "No such file or directory"},
        // A regular file that opens, and whose first byte nobody can read.
        {[](const std::string &path) { std::filesystem::create_symlink("/proc/self/mem", path); }, ""},
        {[](const std::string &path) { ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0); }, "Not a regular file"},
    };
    std::filesystem::remove(m_folder.file("Data"));
    for (const auto &[spoil, reason] : cases) {
        std::ofstream(definitions) << "Database=../Own/x.db\n";
        ASSERT_EQ(initialise(), 0);
        ASSERT_EQ(putAnEvent(), 0);
        const int before = countEvents();
        ASSERT_GT(before, 0);
        std::filesystem::remove(definitions);
        spoil(definitions);
        expectRefusal(std::string("the settings cannot be read (") + reason, definitions);
        EXPECT_FALSE(std::filesystem::exists(m_folder.file("Data"))) << "no other database was made";
        std::filesystem::remove(definitions);
        std::ofstream(definitions) << "Database=../Own/x.db\n";
        EXPECT_EQ(countEvents(), before) << "without a new initialisation";
        EXPECT_EQ(putAnEvent(), 0);
        std::filesystem::remove(definitions);
    }
}

TEST_F(FaultTest, DefinitionFileThatMayNotBeRead)
{
    std::ofstream(m_folder.file("Config/DBLib.def")) << "Database=../Own/x.db\n";
    std::filesystem::permissions(m_folder.file("Data"), std::filesystem::perms(0777));
    for (const char *closed : {"Config/DBLib.def", "Config"}) {
        std::filesystem::permissions(m_folder.file(closed), std::filesystem::perms(0));
        inChild([this] {
            dropRights();
            expectRefusal("the settings cannot be read (Permission denied)", m_folder.file("Config/DBLib.def"));
        });
        std::filesystem::permissions(m_folder.file(closed), std::filesystem::perms(0755));
    }
    EXPECT_FALSE(std::filesystem::exists(database())) << "no other database was made";
}

TEST_F(FaultTest, NoDefinitionFileMeansTheDefaults)
{
    EXPECT_EQ(initialise(), 0);
    EXPECT_EQ(putAnEvent(), 0);
    EXPECT_TRUE(std::filesystem::exists(database()));
}
} // namespace
