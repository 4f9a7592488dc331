// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "translation.h"
#include "writing.h"

namespace
{
/** Puts, deletes the newest, puts again, also after a new initialisation: identifiers only grow. */
template <class Kind> void requireGrowth(const Session &session, const Target &target)
{
    std::mt19937 random(target.seed);
    int highest = INT_MIN;
    for (int round = 0; round < 4; ++round) {
        Putter<Kind> putter(session.library);
        for (int i = 0; i < 2; ++i) {
            const int id = Kind::id(putter.put(Kind::sample(i, random)));
            if (id <= highest)
                throw failed("the identifier " + std::to_string(id) + " was given after " + std::to_string(highest));
            highest = id;
        }
        remove<Kind>(session.library, highest);
        if (round % 2 == 1)
            session.initialise(target.config);
    }
}

struct TwoIds {
    int kept;
    int deleted;
};

/** Whether two identifiers, put by one process, the second one deleted, are known to this later one. */
template <class Kind> void requireGrowthAcrossProcesses(const Target &target)
{
    const SharedValue<TwoIds> ids;
    const bool well = inAnotherProcess([&] {
        std::mt19937 random(target.seed);
        const Session earlier(target);
        Putter<Kind> putter(earlier.library);
        (*ids).kept = Kind::id(putter.put(Kind::sample(1, random)));
        (*ids).deleted = Kind::id(putter.put(Kind::sample(2, random)));
        remove<Kind>(earlier.library, (*ids).deleted);
    });
    const Session later(target, Session::LoadedOnly);
    later.initialise(target.config);
    if (!well || withId<Kind>(later.library, (*ids).kept).empty())
        return;
    std::mt19937 random(target.seed);
    const int id = Kind::id(Putter<Kind>(later.library).put(Kind::sample(3, random)));
    if (id <= (*ids).deleted) {
        throw failed("after a restart the identifier " + std::to_string(id) + " was given, " +
                     std::to_string((*ids).deleted) + " had been before");
    }
}

template <class Kind> Outcome checkNewIdentifiers(const Target &target)
{
    // First, because the other process must not have the library loaded and in use already.
    requireGrowthAcrossProcesses<Kind>(target);
    const Session session(target);
    require<Kind>(session.library);
    requireGrowth<Kind>(session, target);
    return passed();
}
} // namespace

std::vector<Check> identifierChecks()
{
    const char *const ids =
        translatable("Updates of the lists leave new records out, and a delete may hit the wrong one.");
    return asWriting({
        {"event-new-identifier",
         translatable("identifiers of events grow and are never used again"),
         ids,
         checkNewIdentifiers<EventKind>,
         {"fill", "initialise-twice", "event-put", "event-delete", "event-nmax"}},
        {"command-new-identifier",
         translatable("identifiers of commands grow and are never used again"),
         ids,
         checkNewIdentifiers<CommandKind>,
         {"fill", "initialise-twice", "command-put", "command-delete", "command-nmax"}},
    });
}
