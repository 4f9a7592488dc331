// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/** @file What the library does with its files, beside what every library has to do. */
#include "DBFuns.h"
#include "LoadDLL.h"
#include "capturedoutput.h"
#include "data.h"
#include "storetesting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <sys/wait.h>

namespace
{
using testing::HasSubstr;

constexpr char Library[] = DBLIB_SQLITE;

/** An installation with a library of its own: a copied file is loaded anew, so that no test meets another's state. */
class LibraryTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        std::filesystem::create_directories(m_folder.file("Config"));
        std::filesystem::create_directories(m_folder.file("Libs"));
        std::filesystem::copy_file(Library, m_folder.file("Libs/DBLib.a"));
        ConfigWD = QString::fromLocal8Bit(m_folder.file("Config").c_str());
        ASSERT_EQ(LoadDLL(QString::fromLocal8Bit(m_folder.file("Libs").c_str())), 0);
        ASSERT_NE(FDBDeleteEvent, nullptr);
    }
    void initialise()
    {
        ASSERT_EQ(InitDBSensors(ConfigWD), 0);
        ASSERT_EQ(InitDBEvents(ConfigWD), 0);
        ASSERT_EQ(InitDBCommands(ConfigWD), 0);
    }
    std::string database() const
    {
        return m_folder.file("Data/installation.db");
    }
    int eventCount()
    {
        CMessageEventRequest request = eventsWanted(INT_MAX);
        int n = -7;
        CMessageEvent *events = nullptr;
        EXPECT_EQ(DBGetEvents(&n, &events, &request, nullptr), 0);
        delete[] events;
        return n;
    }

    TemporaryFolder m_folder;
};

TEST_F(LibraryTest, TheDatabaseAndItsFolderAreMadeOnFirstUse)
{
    EXPECT_FALSE(std::filesystem::exists(m_folder.file("Data")));
    initialise();
    EXPECT_TRUE(std::filesystem::exists(database()));
}

TEST_F(LibraryTest, TheDefinitionFileNamesTheDatabase)
{
    std::ofstream(m_folder.file("Config/DBLib.def")) << "Database=../elsewhere/x.db\n";
    initialise();
    EXPECT_TRUE(std::filesystem::exists(m_folder.file("elsewhere/x.db")));
    std::ofstream(m_folder.file("Config/DBLib.def")) << "Database=../other.db\n";
    initialise();
    EXPECT_TRUE(std::filesystem::exists(m_folder.file("other.db")));
}

TEST_F(LibraryTest, TheDatabaseIsClosedWhenTheProgramEnds)
{
    const pid_t child = ::fork();
    if (child == 0) {
        CMessageEvent event = makeEvent("s", "e", 0);
        const bool stored = FInitDBEvents(m_folder.file("Config").c_str()) == 0 && FDBPutEvent(&event) == 0 &&
                            std::filesystem::exists(database() + "-wal");
        std::exit(stored ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(std::filesystem::exists(database() + "-wal")) << "the last one to close the file takes it away";
    EXPECT_FALSE(std::filesystem::exists(database() + "-shm"));
    initialise();
    EXPECT_EQ(eventCount(), 1);
}

TEST_F(LibraryTest, ADatabaseThatIsGoneIsNotMadeAnew)
{
    initialise();
    CMessageEvent event = makeEvent("s", "e", 0);
    ASSERT_EQ(FDBPutEvent(&event), 0);
    std::filesystem::remove_all(m_folder.file("Data"));
    {
        const CapturedOutput errors(stderr);
        EXPECT_NE(FDBPutEvent(&event), 0);
        EXPECT_NE(FInitDBEvents(m_folder.file("Config").c_str()), 0);
        EXPECT_THAT(errors.text(), HasSubstr("cannot store an event: "));
        EXPECT_THAT(errors.text(), HasSubstr("/Data/installation.db: the database is gone"));
    }
    EXPECT_FALSE(std::filesystem::exists(m_folder.file("Data")));
    // Another one that the settings name is another matter, and does not bring back the right to make the first.
    std::ofstream(m_folder.file("Config/DBLib.def")) << "Database=../other.db\n";
    initialise();
    EXPECT_EQ(eventCount(), 0);
    std::filesystem::remove(m_folder.file("Config/DBLib.def"));
    const CapturedOutput errors(stderr);
    EXPECT_NE(FInitDBEvents(m_folder.file("Config").c_str()), 0);
    EXPECT_FALSE(std::filesystem::exists(m_folder.file("Data")));
}
} // namespace
