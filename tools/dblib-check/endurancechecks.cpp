// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checks.h"
#include "heap.h"
#include "translation.h"
#include "usage.h"

#include <functional>

namespace
{
/** Something that a console does all day, once; `i` counts the times. */
using Deed = std::function<void(int i)>;

template <class Kind> void fetchOnce(const Library &library, const typename Kind::Request &request)
{
    Slots<typename Kind::Record> slots;
    typename Kind::Request copy(request);
    Kind::get(library, nullptr, nullptr, nullptr);
    Kind::get(library, &slots.count, &slots.array, &copy);
    Kind::get(library, nullptr, &slots.array, &copy);
}

/**
 * Does `deed` `times` times and looks whether memory, descriptors or threads
 * grow with it. Where they do, it goes on for as many times again: a cache
 * stops growing, a leak does not.
 */
Outcome endureAll(const Target &target, const std::string &plural, int times, const Deed &deed)
{
    // What is kept of freed blocks grows until it is full, and counts as the program's memory.
    Heap::keepFewFreed();
    constexpr int mostMoments = 5;
    const int half = std::max(times / 2, 1);
    const int warmUp = std::min(times, 1000);
    stage(std::to_string(times) + " " + plural);
    Pace pace(target, times);
    int done = 0;
    const auto act = [&](int wanted) {
        int count = 0;
        while (count < wanted && pace.goesOn()) {
            deed(done++);
            ++count;
        }
        return count == wanted;
    };
    const auto inTime = [&] {
        return warned("only " + std::to_string(done) + " " + plural + " in the time; a longer --timeout allows more");
    };
    Usage moments[mostMoments];
    if (!act(warmUp))
        return inTime();
    moments[0] = Usage::now();
    for (int i = 1; i < mostMoments; ++i) {
        if (!act(half))
            return inTime();
        moments[i] = Usage::now();
        if (i >= 2 && steadyGrowth(moments, i + 1, half).empty())
            return passed(std::to_string(done) + " " + plural);
    }
    return failed(steadyGrowth(moments, mostMoments, half) + " were not given back over " +
                  std::to_string((mostMoments - 1) * half) + " " + plural);
}

/** The same. Where the system refuses to go on, what has piled up by then is named, not only what was refused. */
Outcome endure(const Target &target, const std::string &plural, int times, const Deed &deed)
{
    const Usage start = Usage::now();
    int done = 0;
    try {
        return endureAll(target, plural, times, [&](int i) {
            deed(i);
            done = i + 1;
        });
    } catch (const Outcome &refused) {
        const std::string pile = pileOf(start, Usage::now());
        if (refused.verdict != Verdict::Fail || pile.empty())
            throw;
        return failed(pile + " were not given back over " + std::to_string(done) + " " + plural +
                      ", and then: " + refused.finding);
    }
}

/** Fetch number `i` of a long day, from both ends. */
void fetchNumber(const Library &library, int i)
{
    if (i % 2 == 0 && library.has(EventKind::Fetch))
        fetchOnce<EventKind>(library, plain<EventKind>(5, i % 4 == 0));
    else if (library.has(CommandKind::Fetch))
        fetchOnce<CommandKind>(library, plain<CommandKind>(5, i % 3 == 0));
}

Outcome checkEndurance(const Target &target)
{
    const Session session(target);
    return endure(target, "fetches", target.fetches, [&](int i) { fetchNumber(session.library, i); });
}

/** A deed that makes fetches of events and commands in turn, with the requests of `questions`. */
template <class Questions> Outcome endureQuestions(const Target &target, const std::string &plural, Questions questions)
{
    const Session session(target);
    const auto events = questions(EventKind(), session.library);
    const auto commands = questions(CommandKind(), session.library);
    if (events.empty() && commands.empty())
        return skipped("the store has no records to ask for; --write brings some");
    return endure(target, plural, target.fetches, [&](int i) {
        const auto number = std::size_t(i) / 2;
        if (!events.empty() && (i % 2 == 0 || commands.empty()))
            fetchOnce<EventKind>(session.library, events[number % events.size()]);
        else
            fetchOnce<CommandKind>(session.library, commands[number % commands.size()]);
    });
}

Outcome checkEmptyEndurance(const Target &target)
{
    return endureQuestions(target, "fetches that find nothing", [](auto kind, const Library &library) {
        using Kind = decltype(kind);
        std::vector<typename Kind::Request> requests;
        if (library.has(Kind::Fetch)) {
            // "Get new", when nothing is.
            requests = {nothing<Kind>(), plain<Kind>(50, false), plain<Kind>(50, true)};
            Kind::setLowest(requests[1], INT_MAX);
            Kind::setLowest(requests[2], INT_MAX);
        }
        return requests;
    });
}

/** Requests with one value of each filter that `isWanted`, which find something where that can be. */
template <class Kind, class Wanted>
std::vector<typename Kind::Request> filteredRequests(const Library &library, Wanted isWanted)
{
    std::vector<typename Kind::Request> requests;
    if (!library.has(Kind::Fetch))
        return requests;
    const auto records = ask<Kind>(library, plain<Kind>(100, false)).records;
    std::mt19937 random(1);
    for (const auto &filter : Kind::filters(records, random)) {
        for (const auto &term : filter.terms) {
            auto request = plain<Kind>(5, false);
            term.apply(request);
            const bool finds = std::any_of(records.begin(), records.end(),
                                           [&](const auto &record) { return (request & record) != 0; });
            if (isWanted(filter.group) && finds) {
                requests.push_back(request);
                break;
            }
        }
    }
    return requests;
}

template <class Group> bool isMask(Group group)
{
    return int(group) == int(Filter<CMessageEventRequest>::SensorMask) ||
           int(group) == int(Filter<CMessageEventRequest>::NameMask);
}

Outcome checkMaskEndurance(const Target &target)
{
    return endureQuestions(target, "fetches with masks", [](auto kind, const Library &library) {
        return filteredRequests<decltype(kind)>(library, [](auto group) { return isMask(group); });
    });
}

Outcome checkFilterEndurance(const Target &target)
{
    return endureQuestions(target, "fetches with filters", [](auto kind, const Library &library) {
        return filteredRequests<decltype(kind)>(library, [](auto group) { return !isMask(group); });
    });
}

Outcome checkSensorEndurance(const Target &target)
{
    const Session session(target);
    if (!session.library.has(SensorKind::Fetch))
        return skipped("the library has no FDBGetSensors");
    return endure(target, "fetches of sensors", target.fetches,
                  [&](int) { fetchOnce<SensorKind>(session.library, {}); });
}

Outcome checkInitialiseEndurance(const Target &target)
{
    constexpr int share = 100;
    const Session session(target);
    return endure(target, "initialisations", std::max(target.fetches / share, 20),
                  [&](int) { session.initialise(target.config); });
}

Outcome checkSpeed(const Target &target)
{
    constexpr double longest = 2.0;
    const Session session(target);
    double fastest = longest * 10;
    for (int i = 0; i < 3; ++i) {
        const auto start = std::chrono::steady_clock::now();
        askIds<EventKind>(session.library, plain<EventKind>(100, false));
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        fastest = std::min(fastest, took.count());
    }
    return fastest < longest ? passed()
                             : warned("the last 100 events took " + std::to_string(fastest) + " s, again and again");
}
} // namespace

std::vector<Check> enduranceChecks()
{
    const char *const weeks = translatable("A console that runs for weeks gets slower and goes down.");
    return {
        {"endurance",
         translatable("very many fetches (--fetches) with flat memory, descriptors and threads"),
         weeks,
         checkEndurance,
         {"release-once"}},
        {"endurance-empty",
         translatable("as many that find nothing, as most updates do"),
         weeks,
         checkEmptyEndurance,
         {"endurance"}},
        {"endurance-mask",
         translatable("as many with masks"),
         weeks,
         checkMaskEndurance,
         {"release-once", "endurance"}},
        {"endurance-filter",
         translatable("as many with other filters"),
         weeks,
         checkFilterEndurance,
         {"release-once", "endurance"}},
        {"endurance-sensors",
         translatable("as many of sensors"),
         weeks,
         checkSensorEndurance,
         {"release-once", "endurance"}},
        {"endurance-initialise",
         translatable("a hundredth as many initialisations"),
         translatable("A console that is asked to reload its sensors again and again goes down."),
         checkInitialiseEndurance,
         {"initialise-twice"}},
        {"speed", translatable("the last 100 events come at once"),
         translatable("Every window stands still while the library works."), checkSpeed},
    };
}
