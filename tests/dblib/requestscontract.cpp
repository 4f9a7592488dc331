// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * Random requests over random contents: each answer of the library is compared
 * with what the requests' own matching operators select from everything.
 */
#include "databaseundertest.h"
#include "libraryinstallation.h"
#include "storetesting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <random>
#include <vector>

namespace
{
using Random = std::mt19937;

int below(Random &random, int limit)
{
    return int(random() % unsigned(limit));
}

unsigned chosenSeed()
{
    const char *given = std::getenv("OBRIM_TEST_SEED");
    return given ? unsigned(std::strtoul(given, nullptr, 10)) : std::random_device()();
}

/** Names with wildcards, letter case, Latin-1 letters, one that is too long to be compared, and none at all. */
const std::vector<const char *> &names()
{
    static const std::string tooLong(1100, 'x');
    static const std::vector<const char *> all = {
        "analyser01", "Analyser01", "ANALYSER01", "converter02",  "receiver03", "receiver04", "ana*",   "*",
        "?nalyser01", "receiver0+", "",           "\xC4rger",     "\xE4rger",   "a",          "ab*cd*", "con*02",
        "level",      "Level",      nullptr,      tooLong.c_str()};
    return all;
}

const char *anyName(Random &random)
{
    return names()[std::size_t(below(random, int(names().size())))];
}

void setName(char *&text, int &length, const char *name)
{
    CopyPtr(&text, &length, name, name ? int(std::strlen(name)) + 1 : 0);
}

/** How identifiers and times follow each other in one store. */
enum class Course { Steady, WrongClock, Disorder, SameTime };

class Times
{
public:
    explicit Times(Course followed)
        : m_course(followed)
    {
    }
    std::int64_t next(Random &random)
    {
        m_now += below(random, 20);
        switch (m_course) {
        case Course::WrongClock:
            return below(random, 30) == 0 ? below(random, 1000) : m_now;
        case Course::Disorder:
            return below(random, 100) == 0 ? INT_MAX : int(random());
        case Course::SameTime:
            return 1700000000;
        case Course::Steady:
            break;
        }
        return m_now;
    }

private:
    Course m_course;
    std::int64_t m_now = 1700000000;
};

/** Leaves gaps between identifiers, so that few rows stretch over all levels of an index of zones. */
std::int64_t gap(Random &random)
{
    const int kind = below(random, 40);
    return kind == 0 ? below(random, 2500000) : kind < 4 ? below(random, 40000) : kind < 10 ? below(random, 600) : 0;
}

template <class Record> struct Traits;

template <> struct Traits<CMessageEvent> {
    using Request = CMessageEventRequest;
    static constexpr const char *Table = "event";
    static int id(const CMessageEvent &event)
    {
        return event.MessageID;
    }
    static std::int64_t time(const CMessageEvent &event)
    {
        return event.EventTime;
    }
    static Answer<CMessageEvent> get(Request &request)
    {
        return Answer<CMessageEvent>(request);
    }
    static void remove(Store &store, int id)
    {
        store.deleteEvent(id);
    }
    static CMessageEvent make(Random &random, Times &times)
    {
        CMessageEvent event;
        event.MessageType = below(random, 4);
        event.SensorType = below(random, 3) == 0 ? below(random, 4) : event.MessageType;
        event.EventTime = std::time_t(times.next(random));
        setName(event.SensorID, event.LSensorID, anyName(random));
        setName(event.EventName, event.LEventName, anyName(random));
        addInteger(event, "n", int(random()));
        return event;
    }
    static void setFilters(Random &random, Request &request, unsigned used, int id0, int id1, std::int64_t t0,
                           std::int64_t t1)
    {
        request.UseMessageID0 = used & 1 ? 1 : 0;
        request.UseMessageID1 = used & 2 ? 1 : 0;
        request.MessageID0 = id0;
        request.MessageID1 = id1;
        request.UseEventTime0 = used & 4 ? -1 : 0;
        request.UseEventTime1 = used & 8 ? 2 : 0;
        request.EventTime0 = std::time_t(t0);
        request.EventTime1 = std::time_t(t1);
        request.UseMessageType = used & 16 ? 1 : 0;
        request.MessageType = below(random, 5);
        request.UseSensorID = used & 32 ? 1 : 0;
        setName(request.SensorID, request.LSensorID, anyName(random));
        request.UseSensorType = used & 64 ? 1 : 0;
        request.SensorType = below(random, 5);
        request.UseEventName = used & 128 ? 1 : 0;
        setName(request.EventName, request.LEventName, anyName(random));
    }
    static bool ascending(const Request &request)
    {
        return request.TakeFirst1_Last0 || request.UseMessageID0;
    }
    static constexpr unsigned Filters = 8;
};

template <> struct Traits<CMessageCommand> {
    using Request = CMessageCommandRequest;
    static constexpr const char *Table = "command";
    static int id(const CMessageCommand &command)
    {
        return command.CommandID;
    }
    static std::int64_t time(const CMessageCommand &command)
    {
        return command.CommandTime;
    }
    static Answer<CMessageCommand> get(Request &request)
    {
        return Answer<CMessageCommand>(request);
    }
    static void remove(Store &store, int id)
    {
        store.deleteCommand(id);
    }
    static CMessageCommand make(Random &random, Times &times)
    {
        CMessageCommand command;
        command.MessageType = below(random, 3);
        command.CommandType = below(random, 5);
        command.CommandTime = std::time_t(times.next(random));
        setName(command.SensorID, command.LSensorID, anyName(random));
        return command;
    }
    static void setFilters(Random &random, Request &request, unsigned used, int id0, int id1, std::int64_t t0,
                           std::int64_t t1)
    {
        request.UseCommandID0 = used & 1 ? 1 : 0;
        request.UseCommandID1 = used & 2 ? 1 : 0;
        request.CommandID0 = id0;
        request.CommandID1 = id1;
        request.UseCommandTime0 = used & 4 ? 1 : 0;
        request.UseCommandTime1 = used & 8 ? 1 : 0;
        request.CommandTime0 = std::time_t(t0);
        request.CommandTime1 = std::time_t(t1);
        request.UseMessageType = used & 16 ? 1 : 0;
        request.MessageType = below(random, 4);
        request.UseSensorID = used & 32 ? 1 : 0;
        setName(request.SensorID, request.LSensorID, anyName(random));
        request.UseCommandType = used & 64 ? 1 : 0;
        request.CommandType = below(random, 6);
    }
    static bool ascending(const Request &request)
    {
        return request.TakeFirst1_Last0 || request.UseCommandID0;
    }
    static constexpr unsigned Filters = 7;
};

/** A value near those of the contents, sometimes just beside one, sometimes far off. */
template <class Value> std::int64_t near(Random &random, const std::vector<Value> &values)
{
    if (values.empty() || below(random, 20) == 0) {
        static const std::int64_t far[] = {INT_MIN, -1, 0, 1, INT_MAX};
        return far[below(random, 5)];
    }
    return std::clamp<std::int64_t>(values[std::size_t(below(random, int(values.size())))] + below(random, 3) - 1,
                                    INT_MIN, INT_MAX);
}

int anyCount(Random &random)
{
    static const int odd[] = {INT_MIN, -1, 0, 1, INT_MAX};
    return below(random, 10) == 0 ? odd[below(random, 5)] : 1 + below(random, below(random, 4) == 0 ? 2000 : 12);
}

/** What the matching operators select, in the documented order. */
template <class Record>
std::vector<const Record *> expected(const Answer<Record> &all, const typename Traits<Record>::Request &request)
{
    std::vector<const Record *> result;
    const bool first = request.TakeFirst1_Last0 != 0;
    for (int i = 0; i < all.size() && int(result.size()) < request.NMax; ++i) {
        const Record &record = all[first ? i : all.size() - 1 - i];
        if (request & record)
            result.push_back(&record);
    }
    if (!first && Traits<Record>::ascending(request))
        std::reverse(result.begin(), result.end());
    return result;
}

template <class Record> class Comparison
{
public:
    explicit Comparison(unsigned seed)
        : m_random(seed)
    {
    }

    void run(Course course, int rows, int requests)
    {
        m_installation.load();
        m_installation.initialise();
        fill(course, rows);
        typename Traits<Record>::Request everything;
        everything.NMax = INT_MAX;
        everything.TakeFirst1_Last0 = 1;
        const auto all = Traits<Record>::get(everything);
        ASSERT_EQ(all.size(), m_kept);
        for (int i = 0; i < all.size(); ++i) {
            m_ids.push_back(Traits<Record>::id(all[i]));
            m_times.push_back(Traits<Record>::time(all[i]));
        }
        for (int i = 0; i < requests && !::testing::Test::HasFatalFailure(); ++i)
            compare(all);
    }

private:
    void fill(Course kind, int rows)
    {
        Times course(kind);
        const std::unique_ptr<Store> store = databaseUnderTest().open(m_installation.configDir());
        Store::Batch batch(*store);
        for (int i = 0; i < rows; ++i) {
            const int id = store->put(Traits<Record>::make(m_random, course));
            databaseUnderTest().skipIdentifiers(*store, Traits<Record>::Table, gap(m_random));
            const bool removed = below(m_random, 10) == 0;
            if (removed)
                Traits<Record>::remove(*store, id);
            m_kept += removed ? 0 : 1;
        }
        batch.commit();
    }

    void compare(const Answer<Record> &all)
    {
        typename Traits<Record>::Request request;
        request.NMax = anyCount(m_random);
        request.TakeFirst1_Last0 = below(m_random, 2);
        // Half of the requests use one filter or two, the rest any number of them.
        unsigned used = m_random();
        if (below(m_random, 2)) {
            used = 1U << below(m_random, int(Traits<Record>::Filters)) |
                   1U << below(m_random, int(Traits<Record>::Filters));
        }
        Traits<Record>::setFilters(m_random, request, used, int(near(m_random, m_ids)), int(near(m_random, m_ids)),
                                   near(m_random, m_times), near(m_random, m_times));
        const auto answer = Traits<Record>::get(request);
        const auto wanted = expected(all, request);
        ASSERT_EQ(answer.size(), int(wanted.size())) << "filters " << (used & 255);
        for (int i = 0; i < answer.size(); ++i) {
            const Record &want = *wanted[std::size_t(i)];
            ASSERT_EQ(Traits<Record>::id(answer[i]), Traits<Record>::id(want)) << "filters " << (used & 255);
            ASSERT_TRUE(same(answer[i], want));
        }
    }

    LibraryInstallation m_installation;
    Random m_random;
    std::vector<int> m_ids;
    std::vector<std::int64_t> m_times;
    int m_kept = 0;
};

template <class Record> void compareAll(Course course)
{
    const unsigned seed = chosenSeed();
    SCOPED_TRACE("OBRIM_TEST_SEED=" + std::to_string(seed));
    std::printf("seed %u\n", seed);
    Comparison<Record> comparison(seed);
    comparison.run(course, 250, 12500);
}

class RandomRequests : public ::testing::TestWithParam<Course>
{
};

TEST_P(RandomRequests, EventsAreThoseThatTheOperatorSelects)
{
    compareAll<CMessageEvent>(GetParam());
}

TEST_P(RandomRequests, CommandsAreThoseThatTheOperatorSelects)
{
    compareAll<CMessageCommand>(GetParam());
}

std::string courseName(const ::testing::TestParamInfo<Course> &info)
{
    static const char *const all[] = {"SteadyTimes", "AWrongClock", "TimesInDisorder", "OneTime"};
    return all[int(info.param)];
}

INSTANTIATE_TEST_SUITE_P(Over, RandomRequests,
                         ::testing::Values(Course::Steady, Course::WrongClock, Course::Disorder, Course::SameTime),
                         courseName);
} // namespace
