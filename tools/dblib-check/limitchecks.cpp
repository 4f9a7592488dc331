// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "comparison.h"
#include "translation.h"

#include <climits>

namespace
{
// Without a filter.

template <class Kind> Outcome checkNMax(const Target &target)
{
    const Session session(target);
    Comparison<Kind> comparison(session.library);
    const int n = int(comparison.contents().records.size());
    for (bool first : {true, false}) {
        for (int nMax : {0, 1, n - 1, n, n + 1, INT_MAX, -1, INT_MIN}) {
            const std::string fault = comparison.fault([&](const Contents<Kind> &contents) {
                const auto request = requestFor<Kind>(contents, {}, nMax, first);
                const std::size_t got = askIds<Kind>(session.library, request).size();
                const std::size_t expected = std::min(std::size_t(std::max(nMax, 0)), contents.records.size());
                return got == expected ? std::string()
                                       : Kind::describe(request) + ": " + std::to_string(got) + " records, " +
                                             std::to_string(expected) + " expected";
            });
            if (!fault.empty())
                return failed(fault);
        }
    }
    return passed(std::to_string(n) + " " + Kind::Plural);
}

template <class Kind> std::string endFault(const Library &library, const Contents<Kind> &contents, int nMax, bool first)
{
    const auto request = requestFor<Kind>(contents, {}, nMax, first);
    const std::vector<int> got = sortedIds<Kind>(library, request);
    // How many come is judged elsewhere, and so is a library that goes by time.
    const std::vector<int> expected = cutById(expectedIds<Kind>(contents, request), int(got.size()), first);
    return isCutByTime<Kind>(contents, request, got) ? std::string()
                                                     : difference(Kind::describe(request), got, expected);
}

template <class Kind> Outcome checkFirstLast(const Target &target)
{
    const Session session(target);
    Comparison<Kind> comparison(session.library);
    const int n = int(comparison.contents().records.size());
    for (int wanted : {1, n / 3 + 1, n / 2 + 1, n}) {
        for (bool first : {true, false}) {
            const std::string fault = comparison.fault([&](const Contents<Kind> &contents) {
                return endFault<Kind>(session.library, contents, wanted, first);
            });
            if (!fault.empty())
                return failed(fault);
        }
    }
    return passed();
}

Outcome checkByIdentifier(const Target &target)
{
    const Session session(target);
    std::string windows;
    forEachSelected(session.library, [&](auto kind) {
        using Kind = decltype(kind);
        if (!askIds<Kind>(session.library, plain<Kind>(1, true)).empty() &&
            goesByTime<Kind>(session.library, readContents<Kind>(session.library)))
            windows += std::string(windows.empty() ? "the " : " and the ") + Kind::Plural + " list";
    });
    return windows.empty() ? passed()
                           : warned("first and last are taken by time, not by identifier: " + windows +
                                    " can leave out records that were stored late with an older time, and \"Get new\""
                                    " and the automatic update there, which ask for identifiers above the highest one"
                                    " shown, never bring them");
}

// With filters.

/** One question whose NMax leaves out some of what its filters select. */
template <class Kind> struct CutQuestion {
    Terms<Kind> terms;
    std::vector<std::string> names; ///< of the filters
    int nMax = 0;
    bool first = false;
};

/** What comes when NMax is counted before filter number `late` is applied. */
template <class Kind>
std::vector<int> cutBefore(const Contents<Kind> &contents, const CutQuestion<Kind> &question, std::size_t late)
{
    Terms<Kind> early = question.terms;
    early.erase(early.begin() + std::ptrdiff_t(late));
    const auto request = requestFor<Kind>(contents, early, question.nMax, question.first);
    const std::vector<int> cut = cutById(expectedIds<Kind>(contents, request), question.nMax, question.first);
    const auto all =
        expectedIds<Kind>(contents, requestFor<Kind>(contents, question.terms, question.nMax, question.first));
    std::vector<int> left;
    std::set_intersection(cut.begin(), cut.end(), all.begin(), all.end(), std::back_inserter(left));
    return left;
}

template <class Kind>
std::string cutFault(const Library &library, const Contents<Kind> &contents, const CutQuestion<Kind> &question,
                     bool &byTime)
{
    const auto request = requestFor<Kind>(contents, question.terms, question.nMax, question.first);
    const std::vector<int> got = sortedIds<Kind>(library, request);
    const std::vector<int> all = expectedIds<Kind>(contents, request);
    const std::vector<int> expected = cutById(all, question.nMax, question.first);
    if (got == expected)
        return {};
    if (isCutByTime<Kind>(contents, request, got)) {
        byTime = true;
        return {};
    }
    std::string what = difference(Kind::describe(request), got, expected);
    if (got == all)
        return "NMax does not count when " + question.names.back() + " is used: " + what;
    for (std::size_t late = 0; late < question.terms.size(); ++late)
        if (got == cutBefore<Kind>(contents, question, late))
            return "NMax is counted before " + question.names[late] + " is applied: " + what;
    return what;
}

/** Questions whose filters, alone or two of them, select at least two records. */
template <class Kind>
std::vector<CutQuestion<Kind>> cutQuestions(const Contents<Kind> &contents,
                                            const std::vector<Filter<typename Kind::Request>> &filters,
                                            std::mt19937 &random)
{
    constexpr int tries = 12;
    constexpr int wanted = 3;
    std::vector<CutQuestion<Kind>> questions;
    const auto add = [&](const std::vector<const Filter<typename Kind::Request> *> &together) {
        for (int found = 0, tried = 0; found < wanted && tried < tries; ++tried) {
            CutQuestion<Kind> question;
            for (const auto *filter : together) {
                question.terms.push_back(&filter->terms[random() % filter->terms.size()]);
                question.names.push_back(filter->name);
            }
            const auto request = requestFor<Kind>(contents, question.terms, 0, true);
            const int matching = int(expectedIds<Kind>(contents, request).size());
            if (matching < 2)
                continue;
            ++found;
            for (int nMax : {1, (matching + 1) / 2, matching - 1}) {
                for (bool first : {true, false}) {
                    question.nMax = nMax;
                    question.first = first;
                    questions.push_back(question);
                }
            }
        }
    };
    // Alone first: what one filter does wrong is told best without another.
    for (const auto &filter : filters)
        add({&filter});
    for (std::size_t i = 0; i < filters.size(); ++i)
        for (std::size_t j = i + 1; j < filters.size(); ++j)
            add({&filters[i], &filters[j]});
    return questions;
}

template <class Kind> Outcome checkLimit(const Target &target)
{
    const Session session(target);
    std::mt19937 random(target.seed);
    Comparison<Kind> comparison(session.library);
    const auto filters = filtersFor<Kind>(comparison.contents(), random);
    const auto questions = cutQuestions<Kind>(comparison.contents(), filters, random);
    if (questions.empty())
        return skipped(std::string("no filter selects two ") + Kind::Plural);
    Pace pace(target, int(questions.size()));
    bool byTime = false;
    for (const auto &question : questions) {
        if (!pace.goesOn())
            return comparedInTime(comparison.count(), int(questions.size()));
        const std::string fault = comparison.fault([&](const Contents<Kind> &contents) {
            return cutFault<Kind>(session.library, contents, question, byTime);
        });
        if (!fault.empty())
            return failed(fault);
    }
    return byTime ? warned("with filters first and last are taken by time, not by identifier")
                  : passed(compared(comparison.count()));
}
} // namespace

std::vector<Check> limitChecks()
{
    const char *const count = translatable("The list is cut short, or the console fetches more than it can show.");
    const char *const oldest = translatable("The operator looks at old records for new ones.");
    const char *const limit =
        translatable("A list for one sensor, kind or time shows too few records or others, or all there are.");
    return {
        {"by-identifier", translatable("first and last go by identifiers, not by times"),
         translatable("A list leaves out late reports, and no update brings them."), checkByIdentifier},
        {"event-nmax",
         translatable("never more events than wanted, and as many as there are"),
         count,
         checkNMax<EventKind>,
         {"event-last-record"}},
        {"event-first-last",
         translatable("first are the oldest events, last the newest"),
         oldest,
         checkFirstLast<EventKind>,
         {"event-last-record", "event-nmax"}},
        {"event-limit",
         translatable("of the events that filters select, as many as wanted from the right end"),
         limit,
         checkLimit<EventKind>,
         {"event-last-record", "event-identifier", "event-time", "event-sensor-mask", "event-name-mask", "event-type",
          "event-combined", "event-nmax", "event-first-last", "by-identifier"}},
        {"command-nmax",
         translatable("never more commands than wanted, and as many as there are"),
         count,
         checkNMax<CommandKind>,
         {"command-last-record"}},
        {"command-first-last",
         translatable("first are the oldest commands, last the newest"),
         oldest,
         checkFirstLast<CommandKind>,
         {"command-last-record", "command-nmax"}},
        {"command-limit",
         translatable("of the commands that filters select, as many as wanted from the right end"),
         limit,
         checkLimit<CommandKind>,
         {"command-last-record", "command-identifier", "command-time", "command-sensor-mask", "command-type",
          "command-combined", "command-nmax", "command-first-last", "by-identifier"}},
    };
}
