// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "comparison.h"
#include "translation.h"

#include <climits>

namespace
{
template <class Kind> std::vector<typename Kind::Request> orderedRequests(const Contents<Kind> &contents)
{
    const int lowest = Kind::id(contents.records[contents.records.size() / 2]);
    std::vector<typename Kind::Request> requests = {plain<Kind>(50, true), plain<Kind>(50, false)};
    for (bool first : {true, false}) {
        auto request = plain<Kind>(50, first);
        Kind::setLowest(request, std::min(lowest, contents.highest));
        requests.push_back(request);
    }
    for (auto &request : requests)
        confine(request, contents);
    return requests;
}

template <class Kind> Outcome checkOrder(const Target &target)
{
    const Session session(target);
    const Contents<Kind> contents = readContents<Kind>(session.library);
    for (const auto &request : orderedRequests<Kind>(contents)) {
        std::vector<int> ids = askIds<Kind>(session.library, request);
        const bool ascending = request.TakeFirst1_Last0 || Kind::hasLowest(request);
        if (!ascending)
            std::reverse(ids.begin(), ids.end());
        if (!std::is_sorted(ids.begin(), ids.end())) {
            return warned(Kind::describe(request) + ": not by " + (ascending ? "ascending" : "descending") +
                          " identifiers");
        }
    }
    return passed();
}

template <class Kind> Outcome checkUnique(const Target &target)
{
    const Session session(target);
    std::vector<int> ids = idsOf<Kind>(readContents<Kind>(session.library).records);
    std::sort(ids.begin(), ids.end());
    const auto twice = std::adjacent_find(ids.begin(), ids.end());
    return twice == ids.end() ? passed() : failed("the identifier " + std::to_string(*twice) + " comes twice");
}

/** Asks page after page, as the console's updates do, and gathers what came. */
template <class Kind> std::vector<int> allPages(const Library &library, const Contents<Kind> &contents, bool upwards)
{
    std::vector<int> got;
    const int page = int(contents.records.size()) / 7 + 1;
    auto request = plain<Kind>(page, upwards);
    confine(request, contents);
    for (std::size_t round = 0; round < contents.records.size() + 2; ++round) {
        const std::vector<int> ids = askIds<Kind>(library, request);
        if (ids.empty())
            break;
        got.insert(got.end(), ids.begin(), ids.end());
        const int highest = *std::max_element(ids.begin(), ids.end());
        const int lowest = *std::min_element(ids.begin(), ids.end());
        if (upwards ? highest == INT_MAX : lowest == INT_MIN)
            break;
        if (upwards)
            Kind::setLowest(request, highest + 1);
        else
            Kind::setHighest(request, lowest - 1);
    }
    std::sort(got.begin(), got.end());
    return got;
}

template <class Kind> Outcome checkPaging(const Target &target)
{
    const Session session(target);
    Comparison<Kind> comparison(session.library);
    if (goesByTime<Kind>(session.library, comparison.contents()))
        return skipped("pages go by identifier, see by-identifier");
    for (bool upwards : {true, false}) {
        const std::string fault = comparison.fault([&](const Contents<Kind> &contents) {
            std::vector<int> all = idsOf<Kind>(contents.records);
            std::sort(all.begin(), all.end());
            return difference(std::string(Kind::Plural) + " page by page " + (upwards ? "upwards" : "downwards"),
                              allPages<Kind>(session.library, contents, upwards), all);
        });
        if (!fault.empty())
            return failed(fault);
    }
    return passed();
}
} // namespace

std::vector<Check> orderChecks()
{
    const char *const order = translatable("New rows do not land where the operator looks.");
    const char *const doubles = translatable("Deleting one record deletes another too.");
    const char *const paging = translatable("An update leaves records out or shows them twice.");
    return {
        {"event-order",
         translatable("events in the order that suits the windows"),
         order,
         checkOrder<EventKind>,
         {"event-last-record", "by-identifier"}},
        {"event-unique",
         translatable("no two events have one identifier"),
         doubles,
         checkUnique<EventKind>,
         {"event-last-record"}},
        {"event-paging",
         translatable("events page by page, without gap or double"),
         paging,
         checkPaging<EventKind>,
         {"event-last-record", "event-identifier", "event-nmax", "event-first-last", "event-limit", "event-unique"}},
        {"command-order",
         translatable("commands in the order that suits the windows"),
         order,
         checkOrder<CommandKind>,
         {"command-last-record", "by-identifier"}},
        {"command-unique",
         translatable("no two commands have one identifier"),
         doubles,
         checkUnique<CommandKind>,
         {"command-last-record"}},
        {"command-paging",
         translatable("commands page by page, without gap or double"),
         paging,
         checkPaging<CommandKind>,
         {"command-last-record", "command-identifier", "command-nmax", "command-first-last", "command-limit",
          "command-unique"}},
    };
}
