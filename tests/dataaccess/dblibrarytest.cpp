// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The loader as programs without the console's own functions use it.
#include "dblibrary.h"
#include "contractlibraries.h"
#include "installation.h"
#include "namemap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace
{
namespace fs = std::filesystem;

/** Writes the words down, each behind the stream that the console would write it to. */
class RecordedWords
{
public:
    void operator()(std::FILE *stream, const std::string &lines)
    {
        said.push_back(stream == stdout ? "out " + lines : "err " + lines.substr(0, lines.find(':')));
    }

    std::vector<std::string> said;
};

class DBLibrary : public ::testing::Test
{
protected:
    void SetUp() override
    {
        char name[] = "/tmp/obrim-dblibrary-XXXXXX";
        m_folder = mkdtemp(name);
    }
    void TearDown() override
    {
        fs::remove_all(m_folder);
    }
    LoadOutcome load(const std::string &library)
    {
        return loadDBLibrary(dbLibraryIn(std::string(ContractLibraries) + "/" + library), nameMapIn(m_folder),
                             placesIn(m_functions), std::ref(m_words));
    }
    std::string file(const std::string &name, const std::string &content)
    {
        fs::create_directories(fs::path(m_folder + "/" + name).parent_path());
        std::ofstream(m_folder + "/" + name) << content;
        return m_folder + "/" + name;
    }
    void map(const std::string &lines)
    {
        file("Funs.def", lines);
    }

    std::string m_folder;
    DBFunctions m_functions;
    RecordedWords m_words;
};
} // namespace

TEST_F(DBLibrary, ThePlacesAreInTheOrderOfTheSymbols)
{
    ASSERT_EQ(load("cxx"), LoadOutcome::Cxx);
    EXPECT_EQ(m_functions.getSensors(nullptr, nullptr), SensorSize);
    EXPECT_EQ(m_functions.getEvents(nullptr, nullptr, nullptr), EventSizes);
    EXPECT_EQ(m_functions.getCommands(nullptr, nullptr, nullptr), CommandSizes);
    const std::string log = file("calls", "");
    setenv(ContractCallLog, log.c_str(), 1);
    CMessageCommand command;
    CMessageEvent event;
    m_functions.initSensors("S");
    m_functions.initEvents("E");
    m_functions.initCommands("C");
    m_functions.putCommand(&command);
    m_functions.putEvent(&event);
    m_functions.deleteCommand(1);
    m_functions.deleteEvent(2);
    unsetenv(ContractCallLog);
    std::ifstream calls(log);
    std::vector<std::string> called;
    for (std::string line; std::getline(calls, line);)
        called.push_back(line.substr(0, line.find(' ', line.find(' ') + 1)));
    EXPECT_EQ(called, (std::vector<std::string>{"FInitDBSensors S", "FInitDBEvents E", "FInitDBCommands C",
                                                "FDBPutCommand type=0", "FDBPutEvent sensor=", "FDBDeleteCommand 1",
                                                "FDBDeleteEvent 2"}));
}

TEST_F(DBLibrary, TheWordsComeInTheOrderInWhichThingsHappen)
{
    EXPECT_EQ(load("missing-c-2"), LoadOutcome::Incomplete);
    EXPECT_EQ(m_words.said,
              (std::vector<std::string>{std::string("err ") + DBSymbols[0].cxx,
                                        std::string("out Can't load function ") + DBSymbols[0].cxx + "()\n\n",
                                        "out Can't load C++ modules. Try to load C modules...\n", "err FDBGetEvents",
                                        "out Can't load function FDBGetEvents()\n\n"}));
    EXPECT_TRUE(m_functions.initSensors);
    EXPECT_FALSE(m_functions.getEvents);
}

TEST_F(DBLibrary, EachOutcomeHasItsLastWord)
{
    EXPECT_EQ(load("cxx"), LoadOutcome::Cxx);
    EXPECT_EQ(m_words.said.back(), "out C++ modules are loaded\n");
    EXPECT_EQ(load("c"), LoadOutcome::C);
    EXPECT_EQ(m_words.said.back(), "out C modules are loaded\n");
    EXPECT_EQ(load("nowhere"), LoadOutcome::NoFile);
    EXPECT_EQ(m_words.said.back(),
              "out File with library " + std::string(ContractLibraries) + "/nowhere/DBLib.a not found\n");
    EXPECT_EQ(load("unresolved"), LoadOutcome::NotOpened);
    EXPECT_EQ(m_words.said.back(),
              "out Can't open library " + std::string(ContractLibraries) + "/unresolved/DBLib.a\n");
}

TEST_F(DBLibrary, TheNameMapOfTheConfigurationDirectoryHolds)
{
    map("FDBGetEvents=GiveEvents\n");
    EXPECT_EQ(load("cxx"), LoadOutcome::Incomplete);
    EXPECT_EQ(m_words.said.front(), "err GiveEvents");
    EXPECT_EQ(m_words.said[1], std::string("out Can't load function ") + DBSymbols[DBFunctionGetEvents].cxx + "()\n\n");
}

TEST_F(DBLibrary, AMapNamesWhatItHolds)
{
    EXPECT_FALSE(NameMap(nameMapIn(m_folder)).exists());
    map("% a comment\nFDBGetEvents=Give\nfinitdbevents=\"Start\"\n");
    const NameMap names(nameMapIn(m_folder));
    EXPECT_TRUE(names.exists());
    ASSERT_EQ(names.count(), 2);
    EXPECT_STREQ(names.line(0), "FDBGetEvents=Give");
    EXPECT_EQ(names.configured("FDBGetEvents"), "Give");
    EXPECT_EQ(names.configured("FInitDBEvents"), "Start");
    EXPECT_EQ(names.configured("FDBGetSensors"), "");
    EXPECT_EQ(names.name("FDBGetEvents", "usual"), "Give");
    EXPECT_EQ(names.name("FDBGetSensors", "usual"), "usual");
}

TEST_F(DBLibrary, TheBaseDirectoryIsTheNearestOfThreeAbove)
{
    const std::string bin = m_folder + "/a/b/c/bin";
    fs::create_directories(bin);
    EXPECT_FALSE(baseDirectoryAbove(bin));
    file("Pics/Red.bmp", "BM");
    EXPECT_FALSE(baseDirectoryAbove(bin)) << "four levels above";
    file("a/b/c/bin/Pics/Red.bmp", "BM");
    EXPECT_FALSE(baseDirectoryAbove(bin)) << "the directory itself";
    file("a/Pics/Red.bmp", "BM");
    EXPECT_EQ(baseDirectoryAbove(bin), bin + "/../../..");
    file("a/b/c/Pics/Red.bmp", "BM");
    EXPECT_EQ(baseDirectoryAbove(bin), bin + "/..");
}

TEST_F(DBLibrary, TheDirectoriesOfAnInstallationAreJoinedPlainly)
{
    const Installation installation("/opt/x/bin/..");
    EXPECT_EQ(installation.base, "/opt/x/bin/..");
    EXPECT_EQ(installation.config, "/opt/x/bin/../Config");
    EXPECT_EQ(dbLibraryIn(installation.libs), "/opt/x/bin/../Libs/DBLib.a");
}
