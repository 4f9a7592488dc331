// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checks.h"
#include "translation.h"

namespace
{
template <class Kind> std::string sizeFault(const Library &library, int call)
{
    const std::string query = std::string(DBSymbols[Kind::Fetch].key) + " with every argument NULL";
    stage("calling " + query);
    const int got = Kind::get(library, nullptr, nullptr, nullptr);
    return got == Kind::Sizes ? std::string()
                              : query + " returned " + std::to_string(got) + " at call " + std::to_string(call) + ", " +
                                    std::to_string(Kind::Sizes) + " expected";
}

Outcome checkSizeQuery(const Target &target)
{
    constexpr int rounds = 100;
    const Session session(target);
    for (int round = 1; round <= rounds; ++round) {
        std::string fault;
        forEachKind(session.library, [&](auto kind) {
            if (fault.empty())
                fault = sizeFault<decltype(kind)>(session.library, round);
        });
        if (!fault.empty())
            return failed(fault);
        if (round == rounds / 2)
            useAsConsole(session.library);
    }
    return passed();
}

/** What a console's windows ask for. */
template <class Kind> std::vector<typename Kind::Request> windowRequests()
{
    return {plain<Kind>(20, false), plain<Kind>(20, true), plain<Kind>(5, false), plain<Kind>(5, true)};
}

/** How the size query before a fetch changes what comes; empty when it does not. */
template <class Kind> std::string sequenceFault(const Library &library, const typename Kind::Request &request)
{
    std::vector<typename Kind::Record> answers[2][2];
    for (auto &round : answers) {
        round[0] = ask<Kind>(library, request, SizeQuery::Left).records;
        // What changes without any query is told elsewhere.
        if (!sameRecords(round[0], ask<Kind>(library, request, SizeQuery::Left).records))
            return {};
        round[1] = ask<Kind>(library, request, SizeQuery::Asked).records;
    }
    const auto &[alone, after] = answers[0];
    if (sameRecords(alone, after) || !sameRecords(alone, answers[1][0]) || !sameRecords(after, answers[1][1]))
        return {};
    return Kind::describe(request) +
           ", fetched right after the size query as the console does: " + std::to_string(after.size()) +
           " records, without it " + std::to_string(alone.size()) + (alone.size() == after.size() ? " others" : "");
}

Outcome checkSequence(const Target &target)
{
    const Session session(target);
    std::string fault;
    forEachKind(session.library, [&](auto kind) {
        using Kind = decltype(kind);
        for (const auto &request : windowRequests<Kind>())
            if (fault.empty())
                fault = sequenceFault<Kind>(session.library, request);
    });
    return fault.empty() ? passed() : failed(fault);
}
} // namespace

std::vector<Check> sequenceChecks()
{
    Check size = {"size-query", translatable("the sizes of record and request are exact, at every call"),
                  translatable("Every list window shows a box about an incorrect size and stays empty."),
                  checkSizeQuery};
    size.basic = true;
    Check sequence = {
        "sequence", translatable("size query, fetch and release in the console's own order bring the same as without"),
        translatable("Every list shows something else than the store holds."), checkSequence};
    sequence.basic = true;
    return {size, sequence};
}
