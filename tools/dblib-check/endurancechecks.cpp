// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checks.h"

#include <cstdio>
#include <dirent.h>
#include <unistd.h>

namespace
{
int entriesOf(const char *directory)
{
    DIR *entries = opendir(directory);
    int count = 0;
    while (entries && readdir(entries))
        ++count;
    if (entries)
        closedir(entries);
    return count;
}

std::size_t residentBytes()
{
    std::size_t whole = 0;
    std::size_t resident = 0;
    if (std::FILE *file = std::fopen("/proc/self/statm", "re")) {
        if (std::fscanf(file, "%zu %zu", &whole, &resident) != 2)
            resident = 0;
        std::fclose(file);
    }
    return resident * std::size_t(sysconf(_SC_PAGESIZE));
}

/** What must not grow with the number of fetches. */
struct Usage {
    std::size_t heap = Heap::liveBytes();
    std::size_t resident = residentBytes();
    int descriptors = entriesOf("/proc/self/fd");
    int threads = entriesOf("/proc/self/task");
};

std::string growth(const Usage &from, const Usage &to, int fetches)
{
    // A cache may fill: what counts is growth that goes on with every fetch.
    const auto grew = [fetches](std::size_t before, std::size_t after, std::size_t least, std::size_t each) {
        return after > before && after - before > least && after - before > each * std::size_t(fetches);
    };
    const std::string over = " over " + std::to_string(fetches) + " fetches";
    if (grew(from.heap, to.heap, 32 << 10, 4))
        return std::to_string(to.heap - from.heap) + " bytes of memory were not given back" + over;
#ifndef __SANITIZE_ADDRESS__ // the sanitizer keeps freed memory
    if (grew(from.resident, to.resident, 16 << 20, 64))
        return "the program grew by " + std::to_string((to.resident - from.resident) >> 10) + " KB" + over;
#endif
    if (to.descriptors > from.descriptors)
        return std::to_string(to.descriptors - from.descriptors) + " descriptors were left open" + over;
    if (to.threads > from.threads)
        return std::to_string(to.threads - from.threads) + " threads were left running" + over;
    return {};
}

template <class Kind> void fetchOnce(const Library &library, const typename Kind::Request &request)
{
    Slots<typename Kind::Record> slots;
    typename Kind::Request copy(request);
    Kind::get(library, &slots.count, &slots.array, &copy);
    Kind::get(library, nullptr, &slots.array, &copy);
}

/** Fetch number `i` of a long day: mostly updates of lists, now and then the sensors. */
void fetchNumber(const Library &library, int i)
{
    if (i % 10 == 0 && library.has(DBFunctionGetSensors)) {
        Slots<CSensor> slots;
        library.getSensors(&slots.count, &slots.array);
        library.getSensors(nullptr, &slots.array);
    } else if (i % 2 == 0 && library.has(DBFunctionGetEvents)) {
        fetchOnce<EventKind>(library, plain<EventKind>(5, i % 4 == 0));
    } else if (library.has(DBFunctionGetCommands)) {
        fetchOnce<CommandKind>(library, plain<CommandKind>(5, i % 3 == 0));
    }
}

Outcome checkEndurance(const Target &target)
{
    constexpr int warmUp = 1000;
    const Session session(target);
    stage("fetching " + std::to_string(target.fetches) + " times");
    Pace pace(target, warmUp + target.fetches);
    for (int i = 0; i < warmUp && pace.goesOn(); ++i)
        fetchNumber(session.library, i);
    const Usage before;
    int done = 0;
    while (done < target.fetches && pace.goesOn())
        fetchNumber(session.library, done++);
    const std::string fault = growth(before, Usage(), done);
    if (!fault.empty())
        return failed(fault);
    const std::string finding = std::to_string(done) + " fetches";
    return done < target.fetches ? warned("only " + finding + " in the time; a longer --timeout allows more")
                                 : passed(finding);
}

Outcome checkSpeed(const Target &target)
{
    constexpr double longest = 2.0;
    const Session session(target);
    if (!session.library.has(DBFunctionGetEvents))
        return skipped("the library has no FDBGetEvents");
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

Outcome checkManyRecords(const Target &target)
{
    const Session session(target);
    const auto request = plain<EventKind>(target.records, true);
    auto fetched = fetch<EventKind>(session.library, request);
    const int status = fetched.status;
    const int count = fetched.count;
    const int readable = fetched.readableCount();
    release<EventKind>(session.library, fetched, request);
    if (count == 0 && status != 0)
        return passed("refused with the result " + std::to_string(status));
    if (count < target.records)
        return skipped("the store has only " + std::to_string(count) + " events; many-put (--write) puts more");
    return readable == count
               ? passed(std::to_string(count) + " events")
               : failed("the count is " + std::to_string(count) + ", " + std::to_string(readable) + " records came");
}
} // namespace

std::vector<Check> enduranceChecks()
{
    return {
        {"endurance", "very many fetches (--fetches) with flat memory, descriptors and threads",
         "A console that runs for weeks gets slower and goes down.", checkEndurance},
        {"speed", "the last 100 events come at once", "Every window stands still while the library works.", checkSpeed},
    };
}

std::vector<Check> largeAnswerChecks()
{
    // Last, as a check that writes may have brought so many.
    return {
        {"many-records", "a million events (--records) in one answer, or an honest failure",
         "The console goes down when the operator asks for everything.", checkManyRecords},
    };
}
