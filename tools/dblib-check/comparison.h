// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "checks.h"

#include <algorithm>
#include <string>
#include <vector>

/**
 * @file
 * Compares what a library selects with what the matching operators select of
 * all that the store holds.
 */

/** The values that a question switches on together. */
template <class Kind> using Terms = std::vector<const Term<typename Kind::Request> *>;

template <class Kind>
std::vector<int> expectedIds(const Contents<Kind> &contents, const typename Kind::Request &request)
{
    std::vector<int> ids;
    for (const auto &record : contents.records)
        if (request & record)
            ids.push_back(Kind::id(record));
    std::sort(ids.begin(), ids.end());
    return ids;
}

/** How an answer differs from what was expected, both sorted; empty when it does not. */
std::string difference(const std::string &what, const std::vector<int> &got, const std::vector<int> &expected);

/** The first or last of these identifiers, as many as NMax allows. */
std::vector<int> cutById(const std::vector<int> &sortedIds, int nMax, bool first);

/**
 * Whether `got` are as many of the matching records as NMax allows, those with
 * the earliest or latest times: a library that goes by time instead of by
 * identifier. Of equal times any will do.
 */
template <class Kind>
bool isCutByTime(const Contents<Kind> &contents, const typename Kind::Request &request, const std::vector<int> &got)
{
    std::vector<std::time_t> all;
    std::vector<std::time_t> taken;
    for (const auto &record : contents.records) {
        if (!(request & record))
            continue;
        all.push_back(Kind::time(record));
        if (std::binary_search(got.begin(), got.end(), Kind::id(record)))
            taken.push_back(Kind::time(record));
    }
    const std::size_t wanted = std::min(all.size(), std::size_t(std::max(request.NMax, 0)));
    if (taken.size() != got.size() || got.size() != wanted)
        return false;
    std::sort(all.begin(), all.end());
    std::sort(taken.begin(), taken.end());
    const auto begin = request.TakeFirst1_Last0 ? all.begin() : all.end() - std::ptrdiff_t(wanted);
    return std::equal(taken.begin(), taken.end(), begin);
}

/** A request for what `terms` select. */
template <class Kind>
typename Kind::Request requestFor(const Contents<Kind> &contents, const Terms<Kind> &terms, int nMax, bool first)
{
    auto request = plain<Kind>(nMax, first);
    for (const auto *term : terms)
        term->apply(request);
    confine(request, contents);
    return request;
}

template <class Kind> std::vector<int> sortedIds(const Library &library, const typename Kind::Request &request)
{
    std::vector<int> ids = askIds<Kind>(library, request);
    std::sort(ids.begin(), ids.end());
    return ids;
}

/** Whether the library takes first and last by time. */
template <class Kind> bool goesByTime(const Library &library, const Contents<Kind> &contents)
{
    const int half = int(contents.records.size()) / 2 + 1;
    const auto goesAt = [&](bool first) {
        const auto request = requestFor<Kind>(contents, {}, half, first);
        const std::vector<int> got = sortedIds<Kind>(library, request);
        return got != cutById(expectedIds<Kind>(contents, request), half, first) &&
               isCutByTime<Kind>(contents, request, got);
    };
    return goesAt(true) || goesAt(false);
}

/**
 * Compares answers with the store's contents. An installation may be alive:
 * where an answer differs, the contents are read again, and only a difference
 * to contents that stand still counts.
 */
template <class Kind> class Comparison
{
public:
    explicit Comparison(const Library &library)
        : m_library(library)
        , m_contents(readContents<Kind>(library))
    {
    }

    const Contents<Kind> &contents() const
    {
        return m_contents;
    }
    int count() const
    {
        return m_count;
    }

    /** What `judge` finds wrong with an answer, given the contents; empty when nothing is. */
    template <class Judge> std::string fault(Judge judge)
    {
        std::string text = lastingFault(judge);
        if (!text.empty() && m_restless)
            throw skipped("the store changes too quickly to be compared with");
        return text;
    }

    /** The same, and what is found time and again counts also when the contents change each time. */
    template <class Judge> std::string lastingFault(Judge judge)
    {
        std::string text;
        ++m_count;
        m_restless = false;
        for (int attempt = 0; attempt < 5; ++attempt) {
            text = judge(m_contents);
            if (text.empty())
                return {};
            Contents<Kind> fresh = readContents<Kind>(m_library);
            if (sameRecords(fresh.records, m_contents.records))
                return text;
            m_contents = std::move(fresh);
        }
        m_restless = true;
        return text;
    }

    /** Asks for all that `terms` select, in plenty of room. */
    std::string faultOf(const Terms<Kind> &terms, bool first)
    {
        return fault([&](const Contents<Kind> &contents) {
            const auto request = requestFor<Kind>(contents, terms, int(contents.records.size()) + 1000, first);
            return difference(Kind::describe(request), sortedIds<Kind>(m_library, request),
                              expectedIds<Kind>(contents, request));
        });
    }

private:
    const Library &m_library;
    Contents<Kind> m_contents;
    int m_count = 0;
    bool m_restless = false; ///< the latest judgement found other contents each time
};

std::string compared(int count);

/** A warning that the time sufficed for `count` of `wanted` requests. */
Outcome comparedInTime(int count, int wanted);

/** The filters that can be compared: without whole texts it is not known what a mask should select. */
template <class Kind>
std::vector<Filter<typename Kind::Request>> filtersFor(const Contents<Kind> &contents, std::mt19937 &random)
{
    using F = Filter<typename Kind::Request>;
    auto filters = Kind::filters(contents.records, random);
    const auto isMask = [](const F &filter) { return filter.group == F::SensorMask || filter.group == F::NameMask; };
    if (!contents.textsWhole)
        filters.erase(std::remove_if(filters.begin(), filters.end(), isMask), filters.end());
    return filters;
}
