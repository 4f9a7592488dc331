// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checks.h"
#include "translation.h"

#include <set>

namespace
{
void releaseNothing(const Library &library)
{
    forEachKind(library, [&](auto kind) {
        using Kind = decltype(kind);
        Fetched<typename Kind::Record> none;
        release<Kind>(library, none, plain<Kind>(10, false));
    });
}

Outcome checkReleaseNull(const Target &target)
{
    const Session session(target);
    const Heap::Faults faults = Heap::faultsOf([&] {
        releaseNothing(session.library);
        releaseNothing(session.library);
    });
    return faults.any() ? failed("releasing NULL: " + faults.text()) : passed();
}

/** Fetches and releases; the bytes of the array that came. */
template <class Kind> std::size_t passThrough(const Library &library)
{
    const auto request = plain<Kind>(20, false);
    auto fetched = fetch<Kind>(library, request);
    const std::size_t bytes = std::size_t(fetched.readableCount()) * sizeof(typename Kind::Record);
    release<Kind>(library, fetched, request);
    return bytes;
}

/** What stays of the arrays of one kind after their release; empty when they are gone. */
template <class Kind> std::string keptFault(const Library &library, bool &anyCame)
{
    constexpr int rounds = 50;
    // A library may keep a few arrays for later use.
    for (int i = 0; i < rounds; ++i)
        passThrough<Kind>(library);
    const std::size_t before = Heap::liveBytes();
    std::size_t given = 0;
    for (int i = 0; i < rounds; ++i)
        given += passThrough<Kind>(library);
    const std::size_t after = Heap::liveBytes();
    anyCame = anyCame || given > 0;
    return given == 0 || after < before + given / 2
               ? std::string()
               : std::string("of arrays of ") + Kind::Plural + " of " + std::to_string(given) + " bytes, " +
                     std::to_string(after - before) + " bytes stayed after their release";
}

Outcome checkReleaseOnce(const Target &target)
{
    const Session session(target);
    std::string fault;
    bool anyCame = false;
    forEachKind(session.library, [&](auto kind) {
        const std::string found = keptFault<decltype(kind)>(session.library, anyCame);
        fault = fault.empty() ? found : fault;
    });
    if (!anyCame)
        return skipped("the store has no records; --write brings some");
    return fault.empty() ? passed() : failed(fault);
}

/** Fetches of every kind, each released so many times. */
void fetchAndRelease(const Library &library, int times)
{
    forEachKind(library, [&](auto kind) {
        using Kind = decltype(kind);
        const auto request = plain<Kind>(10, false);
        auto fetched = fetch<Kind>(library, request);
        for (int i = 0; i < times; ++i)
            release<Kind>(library, fetched, request);
    });
}

Outcome checkReleaseTwice(const Target &target)
{
    const Session session(target);
    const Heap::Faults once = Heap::faultsOf([&] { fetchAndRelease(session.library, 1); });
    const Heap::Faults twice = Heap::faultsOf([&] { fetchAndRelease(session.library, 2); });
    // What a single release does wrong already is told elsewhere.
    return (twice - once).doubleFrees == 0 ? passed() : warned("after a second release: " + twice.text());
}

// Several arrays at once.

template <class Record> std::vector<Record> readAll(const Fetched<Record> &fetched)
{
    RecordReader reader;
    std::vector<Record> records;
    for (int i = 0, readable = fetched.readableCount(); i < readable; ++i)
        records.push_back(reader.read(fetched.array[i]));
    return records;
}

/** What the records of an array point to. */
void addBlocks(std::set<const void *> &blocks, const CSensor &sensor)
{
    blocks.insert({sensor.SensorID, sensor.Description});
}

void addBlocks(std::set<const void *> &blocks, const CMessageEvent &event)
{
    blocks.insert({event.SensorID, event.EventName, event.par});
}

void addBlocks(std::set<const void *> &blocks, const CMessageCommand &command)
{
    blocks.insert({command.SensorID, command.par});
}

template <class Record> std::set<const void *> blocksOf(const Fetched<Record> &fetched)
{
    std::set<const void *> blocks = {fetched.array};
    for (int i = 0, readable = fetched.readableCount(); i < readable; ++i)
        addBlocks(blocks, fetched.array[i]);
    blocks.erase(nullptr);
    return blocks;
}

/** Whether two answers hold some of the same memory, which is no fault as long as it outlives both. */
template <class Record> bool shareMemory(const Fetched<Record> &a, const Fetched<Record> &b)
{
    const std::set<const void *> blocks = blocksOf(a);
    const std::set<const void *> others = blocksOf(b);
    return std::any_of(others.begin(), others.end(), [&](const void *block) { return blocks.count(block) > 0; });
}

/** Three arrays of a kind at once: releasing the second one must leave the others. */
template <class Kind> std::string orderFault(const Library &library, bool freesWell)
{
    const std::string plural = Kind::Plural;
    const auto request = plain<Kind>(10, false);
    std::vector<Fetched<typename Kind::Record>> open;
    for (int i = 0; i < 3; ++i)
        open.push_back(fetch<Kind>(library, request));
    const bool shared = shareMemory(open[0], open[1]) || shareMemory(open[1], open[2]);
    const auto first = readAll(open[0]);
    const auto third = readAll(open[2]);
    const Heap::Faults before = Heap::faults();
    release<Kind>(library, open[1], request);
    stage("reading " + plural + " while another array of them is released");
    const bool unchanged = sameRecords(first, readAll(open[0])) && sameRecords(third, readAll(open[2]));
    release<Kind>(library, open[0], request);
    release<Kind>(library, open[2], request);
    const Heap::Faults faults = Heap::faults() - before;
    if (shared && (!unchanged || (freesWell && faults.doubleFrees > 0)))
        return "two answers with " + plural + " share memory that the release of one of them freed";
    return unchanged ? std::string() : "releasing one array of " + plural + " changed another";
}

Outcome checkReleaseOrder(const Target &target)
{
    const Session session(target);
    const Heap::Faults apart = Heap::faultsOf([&] {
        for (int i = 0; i < 6; ++i)
            fetchAndRelease(session.library, 1);
    });
    std::string fault;
    const Heap::Faults mixed = Heap::faultsOf([&] {
        forEachKind(session.library, [&](auto kind) {
            const std::string found = orderFault<decltype(kind)>(session.library, apart.doubleFrees == 0);
            fault = fault.empty() ? found : fault;
        });
    });
    // What releasing does wrong in any order is told elsewhere.
    if (fault.empty() && (mixed.doubleFrees > apart.doubleFrees || mixed.invalidFrees > apart.invalidFrees))
        fault = "several arrays, released in another order: " + mixed.text();
    return fault.empty() ? passed() : failed(fault);
}

template <class Kind> std::string validityFault(const Library &library)
{
    const auto request = plain<Kind>(10, false);
    auto held = fetch<Kind>(library, request);
    const auto before = readAll(held);
    useAsConsole(library);
    forEachSelected(library, [&](auto other) { askIds<decltype(other)>(library, plain<decltype(other)>(3, true)); });
    stage(std::string("reading ") + Kind::Plural + " that were fetched before other calls");
    const bool unchanged = sameRecords(before, readAll(held));
    release<Kind>(library, held, request);
    return unchanged ? std::string()
                     : std::string("the ") + Kind::Plural + " changed through calls made before their release";
}

Outcome checkValidity(const Target &target)
{
    const Session session(target);
    std::string fault;
    forEachKind(session.library, [&](auto kind) {
        if (fault.empty())
            fault = validityFault<decltype(kind)>(session.library);
    });
    return fault.empty() ? passed() : failed(fault);
}

/** Whether answers are the same while an array of `Held` is open as they are alone. */
template <class Held, class Asked> std::string openFault(const Library &library)
{
    const auto request = plain<Asked>(7, false);
    const auto alone = ask<Asked>(library, request).records;
    // What changes from one answer to the next is told elsewhere.
    if (!sameRecords(alone, ask<Asked>(library, request).records))
        return {};
    const auto heldRequest = plain<Held>(10, true);
    auto held = fetch<Held>(library, heldRequest);
    const auto meanwhile = ask<Asked>(library, request).records;
    release<Held>(library, held, heldRequest);
    const auto again = ask<Asked>(library, request).records;
    if (!sameRecords(alone, again) || sameRecords(alone, meanwhile))
        return {};
    return Asked::describe(request) + " while an array of " + Held::Plural +
           " is open: " + std::to_string(meanwhile.size()) + " records, " + std::to_string(alone.size()) +
           " when none is" + (meanwhile.size() == alone.size() ? ", and others" : "");
}

Outcome checkOpenArrays(const Target &target)
{
    const Session session(target);
    std::string fault;
    forEachKind(session.library, [&](auto held) {
        forEachKind(session.library, [&](auto asked) {
            if (fault.empty())
                fault = openFault<decltype(held), decltype(asked)>(session.library);
        });
    });
    return fault.empty() ? passed() : failed(fault);
}
} // namespace

std::vector<Check> releaseChecks()
{
    Check releaseTwice = {
        "release-twice",
        translatable("releasing the same pointer twice does no harm"),
        translatable("Nothing now, as the console releases once; a program that does not will go down."),
        checkReleaseTwice,
        {"release-null"}};
    releaseTwice.advisory = true;
    return {
        {"release-null", translatable("releasing a NULL array does no harm: it follows every empty answer"),
         translatable("The console goes down when a list has nothing to show."), checkReleaseNull},
        {"release-once", translatable("one release frees the array"),
         translatable("The console grows with every update of a list."), checkReleaseOnce},
        releaseTwice,
        {"open-arrays", translatable("answers are the same while other arrays are open"),
         translatable("A program that holds two answers at once gets a wrong one."), checkOpenArrays},
        {"valid-until-release",
         translatable("an array stays as it is until its release, whatever is called meanwhile"),
         translatable("A list shows the records of another window."),
         checkValidity,
         {"open-arrays"}},
        {"release-order",
         translatable("arrays are released in any order, and no two of them share what a release frees"),
         translatable("Two open windows may bring the console down."),
         checkReleaseOrder,
         {"open-arrays", "valid-until-release"}},
    };
}
