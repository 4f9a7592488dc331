// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "translation.h"
#include "writing.h"

namespace
{
constexpr int Samples = 12;

/** What an earlier process had put. */
struct EarlierIds {
    int count;
    int ids[Samples + 1];
    int other; ///< of one record of the other kind
    bool hasOther;
};

/** Records of every sort, the last one with every byte in its texts. */
template <class Kind> typename Kind::Record numberedRecord(int number)
{
    std::mt19937 random(1);
    return number < Samples ? Kind::sample(number, random) : Kind::withText(everyByte());
}

template <class Kind> void putBeforeRestart(const Target &target, EarlierIds &earlier)
{
    const Session session(target, Session::LoadedOnly);
    session.initialise(target.config);
    Putter<Kind> putter(session.library);
    for (int number = 0; number <= Samples; ++number) {
        earlier.ids[number] = Kind::id(putter.put(numberedRecord<Kind>(number)));
        ++earlier.count;
    }
    if (session.library.has(Other<Kind>::Put) && session.library.has(Other<Kind>::Fetch)) {
        earlier.other = Other<Kind>::id(Putter<Other<Kind>>(session.library).put(numberedRecord<Other<Kind>>(1)));
        earlier.hasOther = true;
    }
}

/** Whether the record of this identifier is the one that was put under it. */
template <class Kind> bool isKept(const Library &library, int id, int number)
{
    auto expected = numberedRecord<Kind>(number);
    setId(expected, id);
    const auto found = withId<Kind>(library, id);
    return found.size() == 1 && same(found.front(), expected);
}

/** What is wrong with one record after the restart; empty when nothing is. */
template <class Kind> std::string lossOf(const Library &library, int id, int number)
{
    const auto found = withId<Kind>(library, id);
    const std::string which = std::to_string(id) + " of the " + Kind::Plural;
    if (found.empty())
        return which + " is gone after a restart";
    auto expected = numberedRecord<Kind>(number);
    setId(expected, id);
    return same(found.front(), expected)
               ? std::string()
               : which + " came back changed after a restart: " + firstDifference(expected, found.front());
}

template <class Kind> Outcome checkRestart(const Target &target)
{
    const SharedValue<EarlierIds> earlier;
    // The other process must not have the library loaded and in use already.
    const bool well = inAnotherProcess([&] { putBeforeRestart<Kind>(target, *earlier); });
    const Session session(target, Session::LoadedOnly);
    session.initialise(target.config);
    if (!session.library.has(Kind::Put))
        return skipped(std::string("the library has no ") + DBSymbols[Kind::Put].key);
    if (!well)
        return skipped("no record could be put");
    int there = 0;
    std::string loss;
    for (int number = 0; number <= Samples; ++number) {
        there += !withId<Kind>(session.library, (*earlier).ids[number]).empty();
        if (loss.empty())
            loss = lossOf<Kind>(session.library, (*earlier).ids[number], number);
    }
    const bool keepsOthers = (*earlier).hasOther && isKept<Other<Kind>>(session.library, (*earlier).other, 1);
    if (there == 0 && !keepsOthers)
        return skipped("a store in memory: nothing that was put is there after a restart");
    return loss.empty() ? passed(std::to_string(there) + " " + Kind::Plural) : failed(loss);
}
} // namespace

std::vector<Check> restartChecks()
{
    const char *const lost =
        translatable("After the console was started again, records are lost or say something else.");
    return asWriting({
        {"event-restart",
         translatable("events that were put are there for a new process, with all parameters and bytes"),
         lost,
         checkRestart<EventKind>,
         {"fill", "event-put", "event-bytes", "event-identifier"}},
        {"command-restart",
         translatable("commands that were put are there for a new process, with all parameters and bytes"),
         lost,
         checkRestart<CommandKind>,
         {"fill", "command-put", "command-bytes", "command-identifier"}},
    });
}
