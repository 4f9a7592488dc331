// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The example in C, built in the tree or from the installed kit, as the console loads and calls it.
#include "dblibrary.h"
#include "namemap.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace
{
std::string libs()
{
    const char *chosen = std::getenv("EXAMPLE_LIBS");
    return chosen ? chosen : EXAMPLE_LIBS;
}

/** Loaded once: it keeps its records in memory. */
class ExampleInC : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        const std::string config = libs() + "/../Config";
        outcome = loadDBLibrary(dbLibraryIn(libs()), nameMapIn(config), placesIn(functions), printWords);
        ASSERT_TRUE(functions.initEvents);
        for (const auto initialise : {functions.initSensors, functions.initEvents, functions.initCommands})
            EXPECT_EQ(initialise(config.c_str()), 0);
    }

    static inline LoadOutcome outcome = LoadOutcome::NoFile;
    static inline DBFunctions functions;
};

TEST_F(ExampleInC, hasAllTenFunctionsByItsMap)
{
    EXPECT_EQ(outcome, LoadOutcome::Cxx);
    EXPECT_TRUE(functions.putEvent);
    EXPECT_TRUE(functions.deleteCommand);
    EXPECT_TRUE(functions.deleteEvent);
}

TEST_F(ExampleInC, showsOneSensorAndOneEvent)
{
    int n = 0;
    CSensor *sensors = nullptr;
    EXPECT_EQ(functions.getSensors(nullptr, nullptr), SensorSize);
    ASSERT_EQ(functions.getSensors(&n, &sensors), 0);
    ASSERT_EQ(n, 1);
    EXPECT_STREQ(sensors->SensorID, "example");
    EXPECT_EQ(functions.getSensors(nullptr, &sensors), 0);
    EXPECT_FALSE(sensors);

    CMessageEventRequest request;
    request.NMax = 100;
    CMessageEvent *events = nullptr;
    EXPECT_EQ(functions.getEvents(nullptr, nullptr, nullptr), EventSizes);
    ASSERT_EQ(functions.getEvents(&n, &events, &request), 0);
    ASSERT_EQ(n, 1);
    EXPECT_STREQ(events->EventName, "started");
    EXPECT_EQ(functions.getEvents(nullptr, &events, &request), 0);
    EXPECT_FALSE(events);
    EXPECT_EQ(functions.getCommands(nullptr, nullptr, nullptr), CommandSizes);
}
} // namespace
