// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "timetext.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <random>
#include <string>

namespace
{
/** Sets the time zone for the life of a test. */
class Zone
{
public:
    explicit Zone(const char *name)
        : m_before(std::getenv("TZ") ? std::getenv("TZ") : "")
    {
        set(name);
    }
    ~Zone()
    {
        set(m_before.c_str());
    }
    Zone(const Zone &) = delete;
    Zone &operator=(const Zone &) = delete;

private:
    static void set(const char *name)
    {
        setenv("TZ", name, 1);
        tzset();
    }

    std::string m_before;
};

constexpr std::time_t Now = 1795292160; // 2026-11-21 20:16:00 UTC, a Saturday

/** What a text is read as, written in UTC; "none" where it is no time. */
std::string read(const char *text, Clock clock = Clock::Local)
{
    const auto time = parseTime(text, Now, clock);
    return time ? TimeWriter(Clock::Utc).text(*time) : "none";
}
} // namespace

TEST(TimeText, EveryFormIsRead)
{
    const Zone zone("UTC");
    const std::pair<const char *, const char *> cases[] = {
        {"2026-11-21 20:16", "2026-11-21T20:16:00+00:00"},
        {"2026-11-21T20:16", "2026-11-21T20:16:00+00:00"},
        {"2026-11-21 20:16:07", "2026-11-21T20:16:07+00:00"},
        {"2026-11-21T20:16:07Z", "2026-11-21T20:16:07+00:00"},
        {"2026-11-21T20:16:07+01:00", "2026-11-21T19:16:07+00:00"},
        {"2026-11-21T20:16:07-0330", "2026-11-21T23:46:07+00:00"},
        {"2026-11-21", "2026-11-21T00:00:00+00:00"},
        {"2024-02-29", "2024-02-29T00:00:00+00:00"},
        {"1901-12-14", "1901-12-14T00:00:00+00:00"},
        {"2038-01-19T03:14:07Z", "2038-01-19T03:14:07+00:00"},
        {"1901-12-13T20:45:52Z", "1901-12-13T20:45:52+00:00"},
        {"1969-12-31 23:59:59", "1969-12-31T23:59:59+00:00"},
        {"20:15", "2026-11-21T20:15:00+00:00"},
        {"07:08:09", "2026-11-21T07:08:09+00:00"},
        {"now", "2026-11-21T20:16:00+00:00"},
        {"today", "2026-11-21T00:00:00+00:00"},
        {"yesterday", "2026-11-20T00:00:00+00:00"},
        {"tomorrow", "2026-11-22T00:00:00+00:00"},
        {"yesterday 20:16", "2026-11-20T20:16:00+00:00"},
        {"-2h", "2026-11-21T18:16:00+00:00"},
        {"-90s", "2026-11-21T20:14:30+00:00"},
        {"-30m", "2026-11-21T19:46:00+00:00"},
        {"-1d12h", "2026-11-20T08:16:00+00:00"},
        {"-2w", "2026-11-07T20:16:00+00:00"},
        {"+1h", "2026-11-21T21:16:00+00:00"},
        {"@0", "1970-01-01T00:00:00+00:00"},
        {"@-1", "1969-12-31T23:59:59+00:00"},
        {"@2147483647", "2038-01-19T03:14:07+00:00"},
        {"@-2147483648", "1901-12-13T20:45:52+00:00"},
    };
    for (const auto &[text, time] : cases)
        EXPECT_EQ(read(text), time) << text;
}

TEST(TimeText, WhatIsNoTimeIsRefused)
{
    const Zone zone("UTC");
    for (const char *text : {"",
                             " ",
                             "x",
                             "2026",
                             "2026-11",
                             "2026-11-2",
                             "2026-11-31",
                             "2026-02-29",
                             "2100-01-01",
                             "1900-01-01",
                             "2026-00-10",
                             "2026-13-10",
                             "2026-11-00",
                             "2026-11-21 ",
                             "2026-11-21  20:16",
                             "2026-11-21 24:00",
                             "2026-11-21 20:60",
                             "2026-11-21 20:16:60",
                             "2026-11-21 20",
                             "2026-11-21 20:16:",
                             "2026-11-21 20:16x",
                             "2026-11-21T20:16+1",
                             "2026-11-21T20:16+24:00",
                             "2026-11-21T20:16+01:60",
                             "2026-11-21T20:16ZZ",
                             "26-11-21",
                             "+2026-11-21",
                             "20:16 ",
                             "20",
                             "2:16",
                             "25:00",
                             "Now",
                             "yesterday20:16",
                             "yesterday ",
                             "yesterdays",
                             "-",
                             "+",
                             "-2",
                             "-h",
                             "-2y",
                             "-2h3",
                             "-99999999999999999999s",
                             "-5000000000s",
                             "--2h",
                             "-2.5h",
                             "@",
                             "@x",
                             "@2147483648",
                             "@-2147483649",
                             "@99999999999999999999",
                             "@1.5",
                             "2038-01-19T03:14:08Z",
                             "1901-12-13T20:45:51Z"})
        EXPECT_EQ(read(text), "none") << "'" << text << "'";
}

TEST(TimeText, HoursAreThoseOfTheZoneOrOfUtc)
{
    const Zone zone("Europe/Berlin");
    EXPECT_EQ(read("2026-11-21 20:16"), "2026-11-21T19:16:00+00:00");
    EXPECT_EQ(read("2026-11-21 20:16", Clock::Utc), "2026-11-21T20:16:00+00:00");
    EXPECT_EQ(read("2026-07-01"), "2026-06-30T22:00:00+00:00") << "summer time";
    EXPECT_EQ(read("2026-11-21 20:16Z"), "2026-11-21T20:16:00+00:00") << "an offset says otherwise";
    EXPECT_EQ(read("today"), "2026-11-20T23:00:00+00:00");
    EXPECT_EQ(read("today", Clock::Utc), "2026-11-21T00:00:00+00:00");
}

TEST(TimeText, TheDayIsTheZonesOwn)
{
    const Zone zone("Pacific/Auckland"); // it is the 22nd there
    EXPECT_EQ(read("today"), "2026-11-21T11:00:00+00:00");
    EXPECT_EQ(read("09:00"), "2026-11-21T20:00:00+00:00");
    EXPECT_EQ(read("yesterday"), "2026-11-20T11:00:00+00:00");
}

TEST(TimeText, AnHourThatDoesNotExistIsAMomentAllTheSame)
{
    const Zone zone("Europe/Berlin");
    EXPECT_EQ(read("2026-03-29 02:30"), "2026-03-29T01:30:00+00:00");
}

TEST(TimeText, IsWrittenWithTheOffsetOfItsTime)
{
    const Zone zone("Europe/Berlin");
    TimeWriter times(Clock::Local);
    EXPECT_EQ(times.text(Now), "2026-11-21T21:16:00+01:00");
    EXPECT_EQ(times.text(1792889999), "2026-10-25T02:59:59+02:00");
    EXPECT_EQ(times.text(1792890000), "2026-10-25T02:00:00+01:00");
    EXPECT_EQ(TimeWriter(Clock::Utc).text(Now), "2026-11-21T20:16:00+00:00");
    const Zone west("America/St_Johns");
    EXPECT_EQ(TimeWriter(Clock::Local).text(Now), "2026-11-21T16:46:00-03:30");
}

TEST(TimeText, WhatNoRecordCanHaveIsWrittenAsTheNearestTimeThatOneCan)
{
    TimeWriter times(Clock::Utc);
    EXPECT_EQ(times.text(INT_MIN), "1901-12-13T20:45:52+00:00");
    EXPECT_EQ(times.text(INT_MAX), "2038-01-19T03:14:07+00:00");
    if (sizeof(std::time_t) > 4) {
        EXPECT_EQ(times.text(std::time_t(INT64_MAX)), "2038-01-19T03:14:07+00:00");
        EXPECT_EQ(times.text(std::time_t(INT64_MIN)), "1901-12-13T20:45:52+00:00");
    }
}

/** The C library's own words, the colon of the offset added. */
std::string byTheLibrary(std::time_t time)
{
    std::tm fields = {};
    localtime_r(&time, &fields);
    char text[64];
    std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S%z", &fields);
    std::string result = text;
    return result.insert(result.size() - 2, ":");
}

TEST(TimeText, AgreesWithTheCLibraryInEveryZoneAndIsReadBack)
{
    std::mt19937 random(20261121);
    for (const char *name : {"UTC", "Europe/Berlin", "America/New_York", "Asia/Kolkata", "Australia/Lord_Howe",
                             "Pacific/Apia", "America/St_Johns", "Asia/Kathmandu"}) {
        const Zone zone(name);
        TimeWriter times(Clock::Local);
        // Since 1975 every offset is a number of whole minutes.
        std::uniform_int_distribution<std::time_t> any(157766400, INT_MAX);
        std::uniform_int_distribution<std::time_t> near(-5000, 5000);
        for (int i = 0; i < 2000; ++i) {
            const std::time_t middle = any(random);
            for (int j = 0; j < 3; ++j) {
                const std::time_t time = std::min<std::time_t>(INT_MAX, middle + near(random));
                ASSERT_EQ(times.text(time), byTheLibrary(time)) << name << " " << time;
                ASSERT_EQ(parseTime(times.text(time), 0, Clock::Local), time) << name;
            }
        }
    }
}
