// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checks.h"
#include "translation.h"

namespace
{
/** An answer with very many events, of which nothing but the size was looked at. */
struct LargeAnswer {
    int status;
    int count;
    int readable;

    bool isRefusal() const
    {
        return count == 0 && status != 0;
    }
};

LargeAnswer askForMany(const Library &library, int records)
{
    const auto request = plain<EventKind>(records, true);
    auto fetched = fetch<EventKind>(library, request);
    const LargeAnswer answer = {fetched.status, fetched.count, fetched.readableCount()};
    release<EventKind>(library, fetched, request);
    return answer;
}

Outcome checkManyPut(const Target &target)
{
    const int wanted = target.records;
    const Session session(target);
    if (!session.library.has(DBFunctionPutEvent))
        return skipped("the library has no FDBPutEvent");
    std::mt19937 random(target.seed);
    CMessageEvent event = EventKind::sample(3, random);
    int count = int(askIds<EventKind>(session.library, plain<EventKind>(wanted, true)).size());
    Heap::keepFewFreed();
    stage("putting events up to " + std::to_string(wanted));
    Pace pace(target, wanted - count);
    while (count < wanted && pace.goesOn()) {
        if (session.library.putEvent(&event) != 0)
            return failed("putting event " + std::to_string(count + 1) + " was refused");
        ++count;
    }
    progress();
    const LargeAnswer answer = askForMany(session.library, wanted);
    if (answer.isRefusal())
        return passed(std::to_string(count) + " were refused with the result " + std::to_string(answer.status));
    if (answer.count != count || answer.readable != count) {
        return failed(std::to_string(count) + " events are there, the count is " + std::to_string(answer.count) + ", " +
                      std::to_string(answer.readable) + " came, and the result says nothing of it");
    }
    return count == wanted ? passed()
                           : skipped("in the time only " + std::to_string(count) +
                                     " events could be put, and all came; a longer --timeout allows more");
}

Outcome checkManyRecords(const Target &target)
{
    const Session session(target);
    const LargeAnswer answer = askForMany(session.library, target.records);
    if (answer.isRefusal())
        return passed("refused with the result " + std::to_string(answer.status));
    if (answer.count < target.records)
        return skipped("the store has only " + std::to_string(answer.count) + " events; many-put (--write) puts more");
    return answer.readable == answer.count ? passed(std::to_string(answer.count) + " events")
                                           : failed("the count is " + std::to_string(answer.count) + ", " +
                                                    std::to_string(answer.readable) + " records came");
}
} // namespace

std::vector<Check> manyRecordsChecks()
{
    Check put = {"many-put",
                 translatable("events are put up to a million (--records) and fetched at once, or refused honestly"),
                 translatable("The console goes down when the store has become large."),
                 checkManyPut,
                 {"fill", "event-put"}};
    // Last, as the check before may have brought so many.
    return {asWriting(put),
            {"many-records",
             translatable("a million events (--records) in one answer, or an honest failure"),
             translatable("The console goes down when the operator asks for everything."),
             checkManyRecords,
             {"many-put"}}};
}
