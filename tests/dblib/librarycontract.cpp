// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/** @file The library as the console uses it: loaded, initialised, driven through the console's own data access. */
#include "DBFuns.h"
#include "capturedoutput.h"
#include "dbsymbols.h"
#include "libraryinstallation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstdio>
#include <set>
#include <sstream>
#include <sys/wait.h>
#include <thread>

namespace
{
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::string outputOf(const std::string &command)
{
    std::string output;
    std::FILE *pipe = ::popen(command.c_str(), "r");
    std::array<char, 4096> bytes;
    for (std::size_t n = 0; (n = std::fread(bytes.data(), 1, bytes.size(), pipe)) > 0;)
        output.append(bytes.data(), n);
    ::pclose(pipe);
    return output;
}

int openDescriptors()
{
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return int(std::distance(begin(all), end(all)));
}

class LibraryContract : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_installation.load();
    }
    void initialise()
    {
        ASSERT_EQ(InitDBSensors(ConfigWD), 0);
        ASSERT_EQ(InitDBEvents(ConfigWD), 0);
        ASSERT_EQ(InitDBCommands(ConfigWD), 0);
    }
    std::unique_ptr<Store> openStore() const
    {
        return databaseUnderTest().open(m_installation.configDir());
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

    LibraryInstallation m_installation;
};

TEST_F(LibraryContract, ExportsTheTenFunctionsAndNothingElse)
{
    std::set<std::string> wanted;
    for (const DBSymbol &symbol : DBSymbols)
        wanted.insert(symbol.cxx);
    std::istringstream lines(outputOf("nm -D --defined-only '" + databaseUnderTest().library() + "'"));
    std::set<std::string> exported;
    for (std::string address, type, name; lines >> address >> type >> name;) {
        EXPECT_EQ(type, "T") << name;
        exported.insert(name);
    }
    EXPECT_EQ(exported, wanted);
}

TEST_F(LibraryContract, NeedsNoToolkit)
{
    const std::string needed = outputOf("objdump -p '" + databaseUnderTest().library() + "' | grep NEEDED");
    EXPECT_THAT(needed, Not(IsEmpty()));
    EXPECT_THAT(needed, Not(HasSubstr("Qt")));
    EXPECT_THAT(needed, Not(HasSubstr("KF")));
}

TEST_F(LibraryContract, SizesAreTheConsoles)
{
    EXPECT_EQ(FDBGetSensors(nullptr, nullptr), SensorSize);
    EXPECT_EQ(FDBGetEvents(nullptr, nullptr, nullptr), EventSizes);
    EXPECT_EQ(FDBGetCommands(nullptr, nullptr, nullptr), CommandSizes);
}

TEST_F(LibraryContract, EventsTravelThroughTheConsolesDataAccess)
{
    initialise();
    CMessageEvent put = makeEvent("analyser\xE4", "overheat", 1700000000, 3);
    addInteger(put, "level", -1);
    addDouble(put, "gain", 1e20);
    addText(put, "text", "\xFF\x01;=\"");
    ASSERT_EQ(DBPutEvent(put), 0);
    ASSERT_EQ(DBPutEvent(put), 0);
    int n = 0;
    CMessageEvent *events = nullptr;
    CMessageEventRequest request = eventsWanted(100);
    ASSERT_EQ(DBGetEvents(&n, &events, &request, nullptr), 0);
    ASSERT_EQ(n, 2);
    EXPECT_EQ(events[0].MessageID, 2);
    EXPECT_EQ(events[1].MessageID, 1);
    EXPECT_TRUE(same(events[0], put));
    EXPECT_TRUE(same(events[1], put));
    delete[] events;
    EXPECT_EQ(DBDeleteEvent(2), 0);
    EXPECT_EQ(eventCount(), 1);
}

TEST_F(LibraryContract, CommandsTravelThroughTheConsolesDataAccess)
{
    initialise();
    CMessageCommand put;
    put.Set(1, "receiver02", CommandKill);
    ASSERT_EQ(DBPutCommand(put), 0);
    EXPECT_EQ(put.CommandID, 0) << "the record is the console's";
    int n = 0;
    CMessageCommand *commands = nullptr;
    CMessageCommandRequest request = commandsWanted(100);
    ASSERT_EQ(DBGetCommands(&n, &commands, &request, nullptr), 0);
    ASSERT_EQ(n, 1);
    EXPECT_EQ(commands[0].CommandID, 1);
    EXPECT_TRUE(same(commands[0], put));
    delete[] commands;
    commands = nullptr;
    EXPECT_EQ(DBDeleteCommand(1), 0);
    ASSERT_EQ(DBGetCommands(&n, &commands, &request, nullptr), 0);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(commands, nullptr);
}

TEST_F(LibraryContract, SensorsTravelThroughTheConsolesDataAccess)
{
    initialise();
    const std::unique_ptr<Store> store = openStore();
    store->registerSensor("analyser01", 1, "First");
    store->registerSensor("receiver01", 3, "Last");
    store->setState("receiver01", SensorState::Killed);
    int n = 0;
    CSensor *sensors = nullptr;
    ASSERT_EQ(DBGetSensors(&n, &sensors, nullptr), 0);
    ASSERT_EQ(n, 2);
    EXPECT_STREQ(sensors[0].SensorID, "analyser01");
    EXPECT_STREQ(sensors[0].Description, "First");
    EXPECT_EQ(sensors[0].MessageType, 0);
    EXPECT_STREQ(sensors[1].SensorID, "receiver01");
    EXPECT_EQ(sensors[1].SensorType, 3);
    EXPECT_EQ(sensors[1].MessageType, SensorDead);
    delete[] sensors;
}

TEST_F(LibraryContract, WhatIsDeletedAlreadyIsNoFailure)
{
    initialise();
    EXPECT_EQ(FDBDeleteEvent(12), 0);
    EXPECT_EQ(FDBDeleteCommand(-1), 0);
}

TEST_F(LibraryContract, IdentifiersGoOnAfterADeleteAndARestart)
{
    initialise();
    CMessageEvent event = makeEvent("s", "e", 0);
    DBPutEvent(event);
    DBPutEvent(event);
    DBDeleteEvent(2);
    m_installation.load();
    initialise();
    DBPutEvent(event);
    CMessageEventRequest request = eventsWanted(1);
    int n = 0;
    CMessageEvent *events = nullptr;
    ASSERT_EQ(DBGetEvents(&n, &events, &request, nullptr), 0);
    EXPECT_EQ(events[0].MessageID, 3);
    delete[] events;
}

TEST_F(LibraryContract, ArraysAreHandedBackInAnyOrderAndMoreThanOnce)
{
    initialise();
    CMessageEvent event = makeEvent("s", "e", 0);
    DBPutEvent(event);
    CMessageEventRequest request = eventsWanted(10);
    int n = 0;
    CMessageEvent *first = nullptr;
    CMessageEvent *second = nullptr;
    ASSERT_EQ(FDBGetEvents(&n, &first, &request), 0);
    ASSERT_EQ(FDBGetEvents(&n, &second, &request), 0);
    CMessageEvent *const again = first;
    EXPECT_EQ(FDBGetEvents(nullptr, &first, &request), 0);
    EXPECT_EQ(first, nullptr);
    EXPECT_STREQ(second->SensorID, "s");
    EXPECT_EQ(FDBGetEvents(nullptr, &first, &request), 0);
    EXPECT_EQ(FDBGetEvents(nullptr, &second, nullptr), 0);
    const CapturedOutput errors(stderr);
    first = again;
    EXPECT_NE(FDBGetEvents(nullptr, &first, &request), 0);
    CMessageEvent foreign;
    first = &foreign;
    EXPECT_NE(FDBGetEvents(nullptr, &first, &request), 0);
    EXPECT_THAT(errors.text(), HasSubstr("none of this library's"));
}

TEST_F(LibraryContract, ResultsStayValidUntilTheirRelease)
{
    initialise();
    CMessageEvent event = makeEvent("sensor", "e", 0);
    addText(event, "t", "kept");
    DBPutEvent(event);
    CMessageEventRequest request = eventsWanted(10);
    int n = 0;
    CMessageEvent *events = nullptr;
    ASSERT_EQ(FDBGetEvents(&n, &events, &request), 0);
    DBDeleteEvent(1);
    databaseUnderTest().nameFreshDatabase(m_installation.configDir());
    initialise();
    EXPECT_STREQ(events[0].SensorID, "sensor");
    EXPECT_STREQ(events[0].par[0].Val, "kept");
    EXPECT_EQ(FDBGetEvents(nullptr, &events, &request), 0);
}

TEST_F(LibraryContract, MissingArgumentsAreRefused)
{
    initialise();
    const CapturedOutput errors(stderr);
    CMessageEventRequest request = eventsWanted(10);
    CMessageCommandRequest commandRequest = commandsWanted(10);
    int n = 5;
    CMessageEvent *events = nullptr;
    CMessageCommand *commands = nullptr;
    EXPECT_NE(FDBGetEvents(&n, nullptr, &request), 0);
    EXPECT_EQ(n, 0);
    EXPECT_NE(FDBGetEvents(&n, &events, nullptr), 0);
    EXPECT_NE(FDBGetEvents(nullptr, nullptr, &request), 0);
    EXPECT_NE(FDBGetCommands(&n, nullptr, &commandRequest), 0);
    EXPECT_NE(FDBGetCommands(&n, &commands, nullptr), 0);
    EXPECT_NE(FDBGetSensors(&n, nullptr), 0);
    EXPECT_NE(FDBPutEvent(nullptr), 0);
    EXPECT_NE(FDBPutCommand(nullptr), 0);
    EXPECT_NE(FInitDBEvents(nullptr), 0);
}

TEST_F(LibraryContract, CallsBeforeInitialisationFailWithAMessage)
{
    const CapturedOutput errors(stderr);
    CMessageEventRequest request = eventsWanted(10);
    CMessageEvent event = makeEvent("s", "e", 0);
    int n = 5;
    CMessageEvent *events = nullptr;
    CSensor *sensors = nullptr;
    EXPECT_NE(FDBGetEvents(&n, &events, &request), 0);
    EXPECT_EQ(n, 0);
    EXPECT_NE(FDBGetSensors(&n, &sensors), 0);
    EXPECT_NE(FDBPutEvent(&event), 0);
    EXPECT_NE(FDBDeleteEvent(1), 0);
    EXPECT_EQ(FDBGetEvents(nullptr, &events, &request), 0) << "the release after a failed fetch";
    EXPECT_THAT(errors.text(), HasSubstr("not initialised"));
}

TEST_F(LibraryContract, ARepeatedFaultIsToldOnce)
{
    const CapturedOutput errors(stderr);
    CMessageEventRequest request = eventsWanted(10);
    int n = 0;
    CMessageEvent *events = nullptr;
    FDBGetEvents(&n, &events, &request);
    const std::string once = errors.text();
    EXPECT_NE(FDBGetEvents(&n, &events, &request), 0);
    EXPECT_EQ(errors.text(), once);
    FInitDBEvents(m_installation.configDir().c_str());
    EXPECT_EQ(FDBGetEvents(&n, &events, &request), 0);
}

TEST_F(LibraryContract, RepeatedInitialisationIsCheapAndLeaksNothing)
{
    initialise();
    const int before = openDescriptors();
    for (int i = 0; i < 2000; ++i)
        ASSERT_EQ(FInitDBSensors(m_installation.configDir().c_str()), 0);
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(LibraryContract, TheRequestIsNotChanged)
{
    initialise();
    CMessageEventRequest request = eventsWanted(10);
    request.UseSensorID = 1;
    setText(request.SensorID, request.LSensorID, "Sensor*1");
    char before[sizeof request];
    std::memcpy(before, static_cast<const void *>(&request), sizeof request);
    int n = 0;
    CMessageEvent *events = nullptr;
    ASSERT_EQ(FDBGetEvents(&n, &events, &request), 0);
    EXPECT_EQ(std::memcmp(before, static_cast<const void *>(&request), sizeof request), 0);
    EXPECT_STREQ(request.SensorID, "Sensor*1");
}

TEST_F(LibraryContract, NothingIsPrintedWhenAllIsWell)
{
    initialise();
    CMessageEvent event = makeEvent("s", "e", 0);
    const CapturedOutput output(stdout);
    const CapturedOutput errors(stderr);
    CMessageEventRequest request = eventsWanted(10);
    int n = 0;
    CMessageEvent *events = nullptr;
    FInitDBEvents(m_installation.configDir().c_str());
    FDBPutEvent(&event);
    FDBGetEvents(&n, &events, &request);
    FDBGetEvents(nullptr, &events, &request);
    FDBDeleteEvent(1);
    EXPECT_THAT(output.text(), IsEmpty());
    EXPECT_THAT(errors.text(), IsEmpty());
}

TEST_F(LibraryContract, CallsFromSeveralThreadsAreSafe)
{
    initialise();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            CMessageEvent event = makeEvent("sensor*" + std::to_string(t), "e", 0);
            CMessageEventRequest request = eventsWanted(10);
            request.UseSensorID = 1;
            setText(request.SensorID, request.LSensorID, "sensor" + std::to_string(t));
            for (int i = 0; i < 20; ++i) {
                EXPECT_EQ(FDBPutEvent(&event), 0);
                int n = 0;
                CMessageEvent *events = nullptr;
                EXPECT_EQ(FDBGetEvents(&n, &events, &request), 0);
                EXPECT_EQ(n, std::min(i + 1, 10));
                EXPECT_EQ(FDBGetEvents(nullptr, &events, &request), 0);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(eventCount(), 80);
}

TEST_F(LibraryContract, AForkedChildHasAConnectionOfItsOwn)
{
    initialise();
    CMessageEvent event = makeEvent("s", "e", 0);
    ASSERT_EQ(FDBPutEvent(&event), 0);
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(FDBPutEvent(&event) == 0 ? 0 : 1);
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    ASSERT_EQ(FDBPutEvent(&event), 0);
    EXPECT_EQ(eventCount(), 3);
}
} // namespace
