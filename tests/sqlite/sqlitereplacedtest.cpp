// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * A database that is moved away, moved back, replaced or restored under
 * programs that have it open. Each is a process of its own with the library, as
 * a console is.
 */
#include "libraryagent.h"
#include "sqlitestore.h"
#include "storetesting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sqlite3.h>
#include <unistd.h>

namespace
{
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr char Gone[] = ": the database is gone";

class Replaced : public ::testing::Test
{
protected:
    void SetUp() override
    {
        for (const char *name : {"Config", "Data", "Away"})
            std::filesystem::create_directories(m_folder.file(name));
        makeDatabase(m_path, "first");
        // Another one, whose rows have the same numbers and times.
        makeDatabase(m_other, "other");
        m_one = start();
        m_two = start();
    }
    std::unique_ptr<LibraryAgent> start() const
    {
        auto agent = std::make_unique<LibraryAgent>(m_folder.file("Config"));
        EXPECT_EQ(agent->initialise().result, 0);
        return agent;
    }
    /** Without a log, as a backup is. */
    static void makeDatabase(const std::string &path, const std::string &sensor)
    {
        SqliteStore store(path, Sqlite::Durability::Crash);
        store.put(makeEvent(sensor, "made", 1000));
    }
    static void expectEvents(LibraryAgent &agent, const std::vector<std::string> &expected)
    {
        const LibraryAgent::Answer answer = agent.events();
        EXPECT_EQ(answer.result, 0) << answer.said;
        EXPECT_EQ(answer.records, expected);
    }
    /** What is changed by hand is noticed, but not at once. */
    static void awaitEvents(LibraryAgent &agent, const std::vector<std::string> &expected)
    {
        for (int i = 0; i < 3000 && agent.events().records != expected; ++i)
            ::usleep(10000);
        expectEvents(agent, expected);
    }
    static void expectStored(LibraryAgent &agent, const std::string &sensor, const std::string &name)
    {
        const LibraryAgent::Answer answer = agent.put(sensor, name);
        EXPECT_EQ(answer.result, 0) << answer.said;
    }
    /** Moves the database alone, as who does not know of the files beside it. */
    void moveAway() const
    {
        std::filesystem::rename(m_path, m_away);
    }
    void moveBack() const
    {
        std::filesystem::rename(m_away, m_path);
    }
    void copyOther() const
    {
        std::filesystem::copy_file(m_other, m_path);
    }
    /** All rows that stand in a file without its log, for whoever carries it away. */
    static std::vector<std::string> rowsIn(const std::string &path)
    {
        const TemporaryFolder elsewhere;
        const std::string copy = elsewhere.file("copy.db");
        std::filesystem::copy_file(path, copy);
        Sqlite::Connection db(copy, Sqlite::Durability::Crash, 100);
        Sqlite::Statement check(db, "PRAGMA integrity_check");
        check.step();
        EXPECT_EQ(check.text(0), "ok");
        Sqlite::Statement rows(db, "SELECT id || ' ' || sensor || ' ' || name FROM events ORDER BY id");
        std::vector<std::string> result;
        while (rows.step())
            result.emplace_back(rows.text(0));
        return result;
    }
    std::vector<std::string> filesBeside() const
    {
        std::vector<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(m_folder.file("Data")))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    TemporaryFolder m_folder;
    std::string m_path = m_folder.file("Data/installation.db");
    std::string m_away = m_folder.file("Away/installation.db");
    std::string m_other = m_folder.file("other.db");
    std::unique_ptr<LibraryAgent> m_one;
    std::unique_ptr<LibraryAgent> m_two;
};

TEST_F(Replaced, OneThatIsGoneIsReportedAndNotMadeAnew)
{
    expectStored(*m_one, "first", "put");
    moveAway();
    for (LibraryAgent *agent : {m_one.get(), m_two.get()}) {
        LibraryAgent::Answer answer = agent->events();
        EXPECT_NE(answer.result, 0);
        EXPECT_THAT(answer.records, IsEmpty());
        EXPECT_THAT(answer.said, HasSubstr(Gone));
        answer = agent->put("first", "lost");
        EXPECT_NE(answer.result, 0);
        EXPECT_THAT(answer.said, HasSubstr(Gone));
        EXPECT_NE(agent->sensors().result, 0);
        EXPECT_NE(agent->initialise().result, 0);
    }
    EXPECT_THAT(filesBeside(), IsEmpty());
    EXPECT_THAT(rowsIn(m_away), ElementsAre("1 first made", "2 first put")) << "what was confirmed went with the file";
    moveBack();
    expectStored(*m_two, "first", "back");
    expectEvents(*m_one, {"1 first made 1000", "2 first put 1000", "3 first back 1000"});
    expectEvents(*m_two, {"1 first made 1000", "2 first put 1000", "3 first back 1000"});
}

TEST_F(Replaced, NorWhenItsFolderIsGone)
{
    expectStored(*m_one, "first", "put");
    std::filesystem::rename(m_folder.file("Data"), m_folder.file("Moved"));
    EXPECT_THAT(m_one->put("first", "lost").said, HasSubstr(Gone));
    EXPECT_THAT(m_two->events().said, HasSubstr(Gone));
    EXPECT_FALSE(std::filesystem::exists(m_folder.file("Data")));
    std::filesystem::rename(m_folder.file("Moved"), m_folder.file("Data"));
    expectStored(*m_one, "first", "back");
    expectEvents(*m_two, {"1 first made 1000", "2 first put 1000", "3 first back 1000"});
}

TEST_F(Replaced, NorWhenAnEmptyFileStandsInItsPlace)
{
    moveAway();
    std::ofstream{m_path};
    EXPECT_THAT(m_one->events().said, HasSubstr(": the database is empty"));
    EXPECT_NE(m_one->put("first", "lost").result, 0);
    EXPECT_EQ(std::filesystem::file_size(m_path), 0U);
    moveBack();
    expectEvents(*m_one, {"1 first made 1000"});
}

TEST_F(Replaced, ACopyInTheFormerOnesPlaceIsFollowed)
{
    expectStored(*m_one, "first", "put");
    expectEvents(*m_two, {"1 first made 1000", "2 first put 1000"});
    moveAway();
    copyOther();
    expectStored(*m_one, "other", "put");
    expectEvents(*m_two, {"1 other made 1000", "2 other put 1000"});
    expectStored(*m_two, "other", "again");
    expectEvents(*m_one, {"1 other made 1000", "2 other put 1000", "3 other again 1000"});
    EXPECT_THAT(m_one->sensors().records, ElementsAre("other"));
    EXPECT_THAT(rowsIn(m_away), ElementsAre("1 first made", "2 first put"));
}

TEST_F(Replaced, SoIsOneThatIsRenamedOverIt)
{
    expectStored(*m_one, "first", "put");
    std::filesystem::rename(m_other, m_path);
    expectEvents(*m_two, {"1 other made 1000"});
    expectStored(*m_one, "other", "put");
    expectEvents(*m_two, {"1 other made 1000", "2 other put 1000"});
}

TEST_F(Replaced, SoIsOneThatComesWhenAllThreeFilesWereRemoved)
{
    expectStored(*m_one, "first", "put");
    for (const char *suffix : {"", "-wal", "-shm"})
        std::filesystem::remove(m_path + suffix);
    EXPECT_THAT(m_two->events().said, HasSubstr(Gone));
    copyOther();
    expectStored(*m_one, "other", "put");
    expectEvents(*m_two, {"1 other made 1000", "2 other put 1000"});
}

TEST_F(Replaced, WhoSleptThroughItAllFindsTheFormerOneAgain)
{
    expectStored(*m_one, "first", "put");
    expectEvents(*m_two, {"1 first made 1000", "2 first put 1000"});
    moveAway();
    EXPECT_NE(m_one->events().result, 0);
    moveBack();
    // The one has the file open anew, with a log that the other one does not know.
    expectStored(*m_one, "first", "back");
    expectStored(*m_two, "first", "awake");
    expectStored(*m_one, "first", "last");
    const std::vector<std::string> all = {"1 first made 1000", "2 first put 1000", "3 first back 1000",
                                          "4 first awake 1000", "5 first last 1000"};
    expectEvents(*m_one, all);
    expectEvents(*m_two, all);
    m_one.reset();
    m_two.reset();
    EXPECT_EQ(rowsIn(m_path).size(), all.size());
}

TEST_F(Replaced, ALogThatIsInUseForTheFormerOneIsNotTakenForTheNewOnes)
{
    expectStored(*m_one, "first", "put");
    expectStored(*m_two, "first", "put");
    moveAway();
    copyOther();
    // Nobody who knows the former file has looked since: its last rows stand in the log beside the new one.
    {
        const std::unique_ptr<LibraryAgent> fresh = std::make_unique<LibraryAgent>(m_folder.file("Config"));
        const LibraryAgent::Answer answer = fresh->initialise();
        EXPECT_NE(answer.result, 0);
        EXPECT_THAT(answer.said, HasSubstr("another program still has the file open that was here before"));
        expectEvents(*m_one, {"1 other made 1000"});
        expectEvents(*fresh, {"1 other made 1000"});
        expectStored(*fresh, "other", "put");
    }
    expectEvents(*m_two, {"1 other made 1000", "2 other put 1000"});
    EXPECT_THAT(rowsIn(m_away), ElementsAre("1 first made", "2 first put", "3 first put"));
}

TEST_F(Replaced, WhoeverEndsWithoutALookLeavesNoLogForTheNewOne)
{
    expectStored(*m_one, "first", "put");
    m_two.reset();
    moveAway();
    copyOther();
    m_one.reset();
    EXPECT_THAT(filesBeside(), ElementsAre("installation.db"));
    EXPECT_THAT(rowsIn(m_away), ElementsAre("1 first made", "2 first put"));
    expectEvents(*start(), {"1 other made 1000"});
}

TEST_F(Replaced, ALogThatTheKilledLeftIsNotTakenForTheNewOnes)
{
    expectStored(*m_one, "first", "put");
    for (LibraryAgent *agent : {m_one.get(), m_two.get()})
        agent->kill();
    m_one.reset();
    m_two.reset();
    ASSERT_THAT(filesBeside(), ElementsAre("installation.db", "installation.db-shm", "installation.db-wal"));
    moveAway();
    copyOther();
    LibraryAgent fresh(m_folder.file("Config"));
    const LibraryAgent::Answer answer = fresh.initialise();
    EXPECT_NE(answer.result, 0);
    EXPECT_THAT(answer.said, HasSubstr("belongs to the file that was here before"));
    // Either way out is open: the former file, or the new one without that log.
    std::filesystem::rename(m_path, m_other);
    moveBack();
    expectEvents(fresh, {"1 first made 1000", "2 first put 1000"});
    fresh.kill();
}

/** A copy of all files, as after a power failure, may have been made with all that the file system knows of them. */
TEST_F(Replaced, ALogThatWasCopiedWithItsDatabaseIsItsOwn)
{
    expectStored(*m_one, "first", "put");
    const std::string command = "cp -a '" + m_folder.file("Data") + "' '" + m_folder.file("Copy") + "'";
    ASSERT_EQ(std::system(command.c_str()), 0);
    m_one.reset();
    m_two.reset();
    std::filesystem::remove_all(m_folder.file("Data"));
    std::filesystem::rename(m_folder.file("Copy"), m_folder.file("Data"));
    expectEvents(*start(), {"1 first made 1000", "2 first put 1000"});
}

TEST_F(Replaced, ALogThatWasRemovedTakesNothingWithIt)
{
    expectStored(*m_one, "first", "put");
    std::filesystem::remove(m_path + "-wal");
    expectStored(*m_one, "first", "again");
    expectEvents(*m_two, {"1 first made 1000", "2 first put 1000", "3 first again 1000"});
    std::filesystem::remove(m_path + "-shm");
    expectStored(*m_two, "first", "last");
    const std::vector<std::string> all = {"1 first made 1000", "2 first put 1000", "3 first again 1000",
                                          "4 first last 1000"};
    expectEvents(*m_one, all);
    expectEvents(*m_two, all);
}

TEST_F(Replaced, ALinkThatIsTurnedToAnotherFileIsFollowed)
{
    moveAway();
    std::filesystem::create_symlink(m_away, m_path);
    expectStored(*m_one, "first", "put");
    std::filesystem::remove(m_path);
    std::filesystem::create_symlink(m_other, m_path);
    expectEvents(*m_one, {"1 other made 1000"});
    expectEvents(*m_two, {"1 other made 1000"});
    SqliteStore former(m_away, Sqlite::Durability::Crash);
    EXPECT_EQ(former.events(eventsWanted(10))->size(), 2) << "it is in place where it lies";
}

/** Writes the content of one database into another that is open elsewhere, as the shell's .restore does. */
void restore(const std::string &from, const std::string &to)
{
    sqlite3 *source = nullptr;
    sqlite3 *target = nullptr;
    ASSERT_EQ(sqlite3_open(from.c_str(), &source), SQLITE_OK);
    ASSERT_EQ(sqlite3_open(to.c_str(), &target), SQLITE_OK);
    sqlite3_busy_timeout(target, 10000);
    sqlite3_backup *backup = sqlite3_backup_init(target, "main", source, "main");
    EXPECT_EQ(sqlite3_backup_step(backup, -1), SQLITE_DONE);
    EXPECT_EQ(sqlite3_backup_finish(backup), SQLITE_OK);
    sqlite3_close(source);
    sqlite3_close(target);
}

TEST_F(Replaced, AStateThatIsRestoredIntoTheOpenFileShowsNoWrongSensor)
{
    for (const char *sensor : {"sA", "sB", "sC"})
        expectStored(*m_one, sensor, std::string("name") + sensor[1]);
    expectEvents(*m_two, {"1 first made 1000", "2 sA nameA 1000", "3 sB nameB 1000", "4 sC nameC 1000"});
    const std::string backup = m_folder.file("backup.db");
    makeDatabase(backup, "sX");
    {
        SqliteStore store(backup, Sqlite::Durability::Crash);
        store.put(makeEvent("sC", "nameC", 1000));
        store.put(makeEvent("sA", "nameA", 1000));
    }
    restore(backup, m_path);
    expectEvents(*m_two, {"1 sX made 1000", "2 sC nameC 1000", "3 sA nameA 1000"});
    expectStored(*m_one, "sC", "nameC");
    expectStored(*m_one, "sB", "nameB");
    expectEvents(*m_two,
                 {"1 sX made 1000", "2 sC nameC 1000", "3 sA nameA 1000", "4 sC nameC 1000", "5 sB nameB 1000"});
    EXPECT_THAT(m_two->sensors().records, ElementsAre("sA", "sB", "sC", "sX"));
}

/** What a program that does not know the tables' rules may do to them. */
TEST_F(Replaced, SeriesThatAreChangedByHandAreReadAnew)
{
    expectStored(*m_one, "sA", "nameA");
    expectStored(*m_one, "sB", "nameB");
    expectEvents(*m_two, {"1 first made 1000", "2 sA nameA 1000", "3 sB nameB 1000"});
    Sqlite::Connection other(m_path, Sqlite::Durability::Crash, 1000);
    other.run("UPDATE event_series SET sensor = 'renamed' WHERE sensor = 'sA'");
    awaitEvents(*m_two, {"1 first made 1000", "2 renamed nameA 1000", "3 sB nameB 1000"});
    other.run("DELETE FROM event_series WHERE sensor = 'sB'");
    awaitEvents(*m_two, {"1 first made 1000", "2 renamed nameA 1000"});
    expectStored(*m_one, "sB", "nameB");
    expectStored(*m_one, "sA", "nameA");
    EXPECT_THAT(m_two->events().records.back(), StartsWith("5 sA nameA"));
}

TEST_F(Replaced, AnOlderStateThatIsRestoredIsBroughtUpToDate)
{
    const std::string backup = m_folder.file("backup.db");
    {
        Sqlite::Connection old(backup, Sqlite::Durability::Crash, 100);
        Schema::createOlder(old, 1);
        old.run("INSERT INTO event_series VALUES(1, 1, 1, 'old', 'e'); INSERT INTO event(series, time) VALUES(1, 5)");
    }
    restore(backup, m_path);
    expectEvents(*m_one, {"1 old e 5"});
    expectStored(*m_two, "old", "put");
    expectEvents(*m_one, {"1 old e 5", "2 old put 1000"});
}
} // namespace
