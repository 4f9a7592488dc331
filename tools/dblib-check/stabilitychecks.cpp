// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "comparison.h"
#include "translation.h"

namespace
{
/** Questions of several sorts, asked for over and over. */
template <class Kind> std::vector<typename Kind::Request> repeatedRequests(const Contents<Kind> &contents)
{
    const int middle = Kind::id(contents.records[contents.records.size() / 2]);
    std::vector<typename Kind::Request> requests = {plain<Kind>(50, true), plain<Kind>(50, false),
                                                    plain<Kind>(7, false)};
    for (bool first : {true, false}) {
        auto request = plain<Kind>(50, first);
        Kind::setLowest(request, middle);
        requests.push_back(request);
    }
    std::mt19937 random(1);
    for (const auto &filter : Kind::filters(contents.records, random)) {
        auto request = plain<Kind>(50, false);
        filter.terms[filter.terms.size() / 2].apply(request);
        requests.push_back(request);
    }
    // What an installation at work reports meanwhile is none of the answers.
    for (auto &request : requests)
        Kind::bound(request, contents.highest);
    return requests;
}

/** How two answers to one request differ, in words; empty when they do not. */
template <class Kind>
std::string changeOf(const std::vector<typename Kind::Record> &before, const std::vector<typename Kind::Record> &after)
{
    if (before.size() != after.size())
        return std::to_string(after.size()) + " records instead of " + std::to_string(before.size());
    const auto ids = [](const auto &records) {
        std::vector<int> all = idsOf<Kind>(records);
        std::sort(all.begin(), all.end());
        return all;
    };
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (same(before[i], after[i]))
            continue;
        if (ids(before) == ids(after) && Kind::id(before[i]) != Kind::id(after[i]))
            return "the same records in another order";
        return "record " + std::to_string(i + 1) + " differs in " + firstDifference(before[i], after[i]);
    }
    return {};
}

template <class Kind> std::string repetitionFault(const Library &library, const Contents<Kind> &contents)
{
    constexpr int rounds = 12;
    const auto requests = repeatedRequests<Kind>(contents);
    std::vector<std::vector<typename Kind::Record>> answers;
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < requests.size(); ++i) {
            auto records = ask<Kind>(library, requests[i]).records;
            if (round == 0)
                answers.push_back(std::move(records));
            else if (!sameRecords(answers[i], records))
                return Kind::describe(requests[i]) + ", asked for the " + std::to_string(round + 1) +
                       ". time: " + changeOf<Kind>(answers[i], records);
        }
        // Not as often in each round: a fault in every so many answers would else meet the same requests each time.
        for (int i = 0; i <= round % 3; ++i)
            forEachKind(library, [&](auto other) { ask<decltype(other)>(library, plain<decltype(other)>(3, false)); });
    }
    return {};
}

template <class Kind> Outcome checkStable(const Target &target)
{
    const Session session(target);
    Comparison<Kind> comparison(session.library);
    // An unstable answer looks like a store that changes.
    const std::string fault = comparison.lastingFault(
        [&](const Contents<Kind> &contents) { return repetitionFault<Kind>(session.library, contents); });
    return fault.empty() ? passed() : failed(fault);
}

/** Whether a record stands in an answer, elsewhere than at its end. */
template <class Record> bool standsWithin(const Record &record, const std::vector<Record> &answer)
{
    return std::any_of(answer.begin(), answer.end() - !answer.empty(),
                       [&](const Record &other) { return same(record, other); });
}

/**
 * The last record of an answer must also come where it is not the last, or by
 * its identifier: where an array is filled one short, nothing but its end shows it.
 */
template <class Kind> std::string lastRecordFault(const Library &library, int nMax, bool first)
{
    constexpr int more = 3;
    const auto request = plain<Kind>(nMax, first);
    const auto answer = ask<Kind>(library, request).records;
    if (answer.empty())
        return {};
    const auto &last = answer.back();
    if (standsWithin(last, ask<Kind>(library, plain<Kind>(int(answer.size()) + more, first)).records) ||
        standsWithin(last, ask<Kind>(library, plain<Kind>(MostCompared, !first)).records))
        return {};
    const auto named = withId<Kind>(library, Kind::id(last));
    if (!named.empty() && same(named.front(), last))
        return {};
    return "the last of the " + Kind::describe(request) + ", with identifier " + std::to_string(Kind::id(last)) +
           ", is no record of the store: it was never filled, or with something else";
}

template <class Kind> Outcome checkLastRecord(const Target &target)
{
    const Session session(target);
    Comparison<Kind> comparison(session.library);
    for (bool first : {true, false}) {
        for (int nMax : {1, 2, 5, 20}) {
            const std::string fault = comparison.fault(
                [&](const Contents<Kind> &) { return lastRecordFault<Kind>(session.library, nMax, first); });
            if (!fault.empty())
                return failed(fault);
        }
    }
    return passed();
}
} // namespace

std::vector<Check> stabilityChecks()
{
    const char *const places = translatable("Rows change places or come and go by themselves.");
    const char *const rubbish = translatable("The last row of a list shows rubbish.");
    Check events = {"event-stable",
                    translatable("the same request for events brings the same answer, whatever was asked meanwhile"),
                    places, checkStable<EventKind>};
    Check commands = {
        "command-stable",
        translatable("the same request for commands brings the same answer, whatever was asked meanwhile"), places,
        checkStable<CommandKind>};
    // Where an answer is another each time, no comparison says anything.
    events.basic = commands.basic = true;
    return {
        events,
        commands,
        {"event-last-record", translatable("every record of an answer is filled, the last event too"), rubbish,
         checkLastRecord<EventKind>},
        {"command-last-record", translatable("every record of an answer is filled, the last command too"), rubbish,
         checkLastRecord<CommandKind>},
    };
}
