// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checks.h"

#include <climits>
#include <iterator>
#include <set>

namespace
{
// Texts.

template <class Kind> void collectTexts(const Library &library, std::vector<std::string> &faults, std::string &oddity)
{
    const auto answer = ask<Kind>(library, plain<Kind>(MostCompared, false));
    for (const std::string &fault : answer.reader.faults())
        faults.push_back(std::string(Kind::Plural) + ", " + fault);
    if (oddity.empty() && !answer.reader.oddities().empty())
        oddity = std::string(Kind::Plural) + ", " + answer.reader.oddities().front();
}

Outcome checkTexts(const Target &target)
{
    const Session session(target);
    std::vector<std::string> faults;
    std::string oddity;
    if (session.library.has(DBFunctionGetSensors)) {
        const Answer<CSensor> answer = askSensors(session.library);
        for (const std::string &fault : answer.reader.faults())
            faults.push_back("sensors, " + fault);
    }
    if (session.library.has(DBFunctionGetEvents))
        collectTexts<EventKind>(session.library, faults, oddity);
    if (session.library.has(DBFunctionGetCommands))
        collectTexts<CommandKind>(session.library, faults, oddity);
    if (!faults.empty())
        return failed(faults.front());
    return oddity.empty() ? passed() : warned(oddity);
}

Outcome checkSensors(const Target &target)
{
    const Session session(target);
    const auto first = askSensors(session.library);
    if (first.records.empty())
        return skipped("the store has no sensors");
    std::set<std::string> names;
    for (const CSensor &sensor : first.records) {
        if (!sensor.SensorID || !sensor.SensorID[0])
            return warned("a sensor has no name");
        if (!names.insert(sensor.SensorID).second)
            return warned("two sensors are named " + quoted(sensor.SensorID));
    }
    const auto second = askSensors(session.library);
    const auto sameName = [](const CSensor &a, const CSensor &b) {
        return b.SensorID && std::string(a.SensorID) == b.SensorID;
    };
    const bool sameOrder =
        std::equal(first.records.begin(), first.records.end(), second.records.begin(), second.records.end(), sameName);
    return sameOrder ? passed(std::to_string(first.records.size()) + " sensors")
                     : warned("the sensors come in another order each time");
}

// Comparing with the matching operators.

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

std::vector<int> without(const std::vector<int> &from, const std::vector<int> &what)
{
    std::vector<int> rest;
    std::set_difference(from.begin(), from.end(), what.begin(), what.end(), std::back_inserter(rest));
    return rest;
}

/** How an answer differs from what was expected, both sorted; empty when it does not. */
std::string difference(const std::string &what, const std::vector<int> &got, const std::vector<int> &expected)
{
    if (got == expected)
        return {};
    const std::vector<int> surplus = without(got, expected);
    const std::vector<int> lacking = without(expected, got);
    std::string text =
        what + ": " + std::to_string(got.size()) + " records, " + std::to_string(expected.size()) + " expected";
    if (!surplus.empty())
        text += "; not wanted: " + listed(surplus);
    if (!lacking.empty())
        text += "; missing: " + listed(lacking);
    return text;
}

/**
 * Compares answers with the store's contents. An installation is alive: where
 * an answer differs, the contents are read again, and only a difference to
 * contents that stand still counts.
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

    /** Asks for all that `terms` select. What is wrong with the answer; empty when nothing is. */
    std::string fault(const std::vector<const Term<typename Kind::Request> *> &terms, bool first)
    {
        ++m_count;
        for (int attempt = 0; attempt < 5; ++attempt) {
            auto request = plain<Kind>(int(m_contents.records.size()) + 1000, first);
            for (const auto *term : terms)
                term->apply(request);
            confine(request, m_contents);
            std::vector<int> got = askIds<Kind>(m_library, request);
            std::sort(got.begin(), got.end());
            std::string text = difference(Kind::describe(request), got, expectedIds<Kind>(m_contents, request));
            if (text.empty())
                return {};
            Contents<Kind> fresh = readContents<Kind>(m_library);
            if (sameRecords(fresh.records, m_contents.records))
                return text;
            m_contents = std::move(fresh);
        }
        throw skipped("the store changes too quickly to be compared with");
    }

private:
    const Library &m_library;
    Contents<Kind> m_contents;
    int m_count = 0;
};

std::string compared(int count)
{
    return std::to_string(count) + " requests compared";
}

Outcome comparedInTime(int count, int wanted)
{
    return warned("only " + compared(count) + " in the time, of " + std::to_string(wanted) +
                  "; a longer --timeout allows more");
}

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

/** Lower end with upper end: the same value in both, and each with one far from it, both ways round. */
template <class Request>
std::vector<std::vector<const Term<Request> *>> rangesOf(const Filter<Request> &lower, const Filter<Request> &upper)
{
    std::vector<std::vector<const Term<Request> *>> ranges;
    const std::size_t count = std::min(lower.terms.size(), upper.terms.size());
    for (std::size_t i = 0; i < count; ++i) {
        ranges.push_back({&lower.terms[i], &upper.terms[i]});
        ranges.push_back({&lower.terms[i], &upper.terms[count - 1 - i]});
    }
    return ranges;
}

/** Every value of every filter of a group alone, and the two of a group together. */
template <class Kind> Outcome checkGroup(const Target &target, typename Filter<typename Kind::Request>::Group group)
{
    const Session session(target);
    std::mt19937 random(target.seed);
    Comparison<Kind> comparison(session.library);
    auto filters = filtersFor<Kind>(comparison.contents(), random);
    const auto others = [group](const auto &filter) { return filter.group != group; };
    filters.erase(std::remove_if(filters.begin(), filters.end(), others), filters.end());
    if (filters.empty())
        return skipped("the texts of the records are damaged");
    std::vector<std::vector<const Term<typename Kind::Request> *>> questions;
    for (const auto &filter : filters)
        for (const auto &term : filter.terms)
            questions.push_back({&term});
    if (filters.size() == 2) {
        const auto ranges = rangesOf(filters[0], filters[1]);
        questions.insert(questions.end(), ranges.begin(), ranges.end());
    }
    Pace pace(target, int(questions.size()));
    for (const auto &question : questions) {
        if (!pace.goesOn())
            return comparedInTime(comparison.count(), int(questions.size()));
        const std::string fault = comparison.fault(question, random() % 2 == 0);
        if (!fault.empty())
            return failed(fault);
    }
    return passed(compared(comparison.count()));
}

template <class Kind> Outcome checkIdentifiers(const Target &target)
{
    return checkGroup<Kind>(target, Filter<typename Kind::Request>::Identifier);
}

template <class Kind> Outcome checkTimes(const Target &target)
{
    return checkGroup<Kind>(target, Filter<typename Kind::Request>::Time);
}

template <class Kind> Outcome checkSensorMask(const Target &target)
{
    return checkGroup<Kind>(target, Filter<typename Kind::Request>::SensorMask);
}

template <class Kind> Outcome checkNameMask(const Target &target)
{
    return checkGroup<Kind>(target, Filter<typename Kind::Request>::NameMask);
}

template <class Kind> Outcome checkTypes(const Target &target)
{
    return checkGroup<Kind>(target, Filter<typename Kind::Request>::Type);
}

/** Every pair of filters, then as many of any number as there is time for; limits reversed and equal among them. */
template <class Kind> Outcome checkCombined(const Target &target)
{
    const Session session(target);
    std::mt19937 random(target.seed);
    Comparison<Kind> comparison(session.library);
    const auto filters = filtersFor<Kind>(comparison.contents(), random);
    const auto anyOf = [&random](const auto &filter) { return &filter.terms[random() % filter.terms.size()]; };
    constexpr int rounds = 12;
    const int pairs = int(filters.size() * (filters.size() - 1) / 2) * rounds;
    Pace pace(target, pairs);
    std::string fault;
    for (std::size_t i = 0; i < filters.size(); ++i) {
        for (std::size_t j = i + 1; j < filters.size(); ++j)
            for (int round = 0; round < rounds && fault.empty() && pace.goesOn(); ++round)
                fault = comparison.fault({anyOf(filters[i]), anyOf(filters[j])}, round % 2 == 0);
    }
    if (fault.empty() && comparison.count() < pairs)
        return comparedInTime(comparison.count(), pairs);
    progress();
    const Budget budget(target);
    for (int round = 0; round < 500 && fault.empty() && !budget.over(); ++round) {
        std::vector<const Term<typename Kind::Request> *> terms;
        for (const auto &filter : filters)
            if (random() % 3 == 0)
                terms.push_back(anyOf(filter));
        fault = comparison.fault(terms, round % 2 == 0);
    }
    return fault.empty() ? passed(compared(comparison.count())) : failed(fault);
}

/** A switch that is off makes its value irrelevant, whatever it is. */
template <class Kind> Outcome checkSwitchesOff(const Target &target)
{
    const Session session(target);
    std::mt19937 random(target.seed);
    const Contents<Kind> contents = readContents<Kind>(session.library);
    auto request = plain<Kind>(int(contents.records.size()) + 1000, true);
    for (const auto &filter : Kind::filters(contents.records, random))
        filter.terms[filter.terms.size() / 2].apply(request);
    Kind::switchOff(request);
    confine(request, contents);
    std::vector<int> got = askIds<Kind>(session.library, request);
    std::sort(got.begin(), got.end());
    const std::string fault = difference(std::string(Kind::Plural) + " with values whose switches are off", got,
                                         expectedIds<Kind>(contents, request));
    return fault.empty() ? passed() : failed(fault);
}

// How many, which, and in which order.

template <class Kind> Outcome checkNMax(const Target &target)
{
    const Session session(target);
    const Contents<Kind> contents = readContents<Kind>(session.library);
    const int n = int(contents.records.size());
    for (bool first : {true, false}) {
        for (int nMax : {0, 1, n - 1, n, n + 1, INT_MAX, -1, INT_MIN}) {
            auto request = plain<Kind>(nMax, first);
            confine(request, contents);
            const int got = int(askIds<Kind>(session.library, request).size());
            const int expected = std::min(std::max(nMax, 0), n);
            if (got != expected) {
                return failed(Kind::describe(request) + ": " + std::to_string(got) + " records, " +
                              std::to_string(expected) + " expected");
            }
        }
    }
    return passed(std::to_string(n) + " " + Kind::Plural);
}

template <class Kind> Outcome checkFirstLast(const Target &target)
{
    const Session session(target);
    const Contents<Kind> contents = readContents<Kind>(session.library);
    std::vector<int> all = idsOf<Kind>(contents.records);
    std::sort(all.begin(), all.end());
    const std::size_t n = all.size();
    for (std::size_t wanted : {std::size_t(1), n / 3 + 1, n / 2 + 1, n}) {
        for (bool first : {true, false}) {
            auto request = plain<Kind>(int(wanted), first);
            confine(request, contents);
            std::vector<int> got = askIds<Kind>(session.library, request);
            std::sort(got.begin(), got.end());
            // How many come is judged elsewhere.
            const auto k = std::ptrdiff_t(std::min(got.size(), n));
            const std::vector<int> expected(first ? all.begin() : all.end() - k, first ? all.begin() + k : all.end());
            const std::string fault = difference(Kind::describe(request), got, expected);
            if (!fault.empty())
                return failed(fault);
        }
    }
    return passed();
}

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

template <class Kind> Outcome checkOrderStable(const Target &target)
{
    const Session session(target);
    const Contents<Kind> contents = readContents<Kind>(session.library);
    for (const auto &request : orderedRequests<Kind>(contents)) {
        const auto first = ask<Kind>(session.library, request).records;
        for (int round = 0; round < 3; ++round)
            if (!sameRecords(first, ask<Kind>(session.library, request).records))
                return failed(Kind::describe(request) + ": the same request brings something else each time");
    }
    return passed();
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
    const Contents<Kind> contents = readContents<Kind>(session.library);
    std::vector<int> all = idsOf<Kind>(contents.records);
    std::sort(all.begin(), all.end());
    for (bool upwards : {true, false}) {
        const std::vector<int> got = allPages<Kind>(session.library, contents, upwards);
        const std::string fault =
            difference(std::string(Kind::Plural) + " page by page " + (upwards ? "upwards" : "downwards"), got, all);
        if (!fault.empty())
            return failed(fault);
    }
    return passed();
}
} // namespace

std::vector<Check> answerChecks()
{
    const char *const filter = "The list shows records that the operator did not ask for, or leaves some out.";
    const char *const order = "New rows do not land where the operator looks.";
    const char *const oldest = "The operator looks at old records for new ones.";
    const char *const doubles = "Deleting one record deletes another too.";
    const char *const paging = "An update leaves records out or shows them twice.";
    return {
        {"texts", "texts and parameters are as long as they say and end with a NUL",
         "The console reads past the text: it goes down or shows rubbish.", checkTexts},
        {"sensors", "every sensor has a name of its own, and their order stays",
         "The operator cannot tell sensors apart, or commands the wrong one.", checkSensors},
        {"event-identifier", "lowest and highest identifier of events", filter, checkIdentifiers<EventKind>},
        {"event-time", "earliest and latest time of events", filter, checkTimes<EventKind>},
        {"event-sensor-mask", "the sensor mask of events: the record's name is the pattern", filter,
         checkSensorMask<EventKind>},
        {"event-name-mask", "the event name mask: the record's name is the pattern", filter, checkNameMask<EventKind>},
        {"event-type", "kind of message and of sensor of events", filter, checkTypes<EventKind>},
        {"event-combined", "filters of events in pairs and more", filter, checkCombined<EventKind>},
        {"event-switch", "values of events' filters that are switched off", filter, checkSwitchesOff<EventKind>},
        {"event-nmax", "never more events than wanted, and as many as there are",
         "The list is cut short, or the console fetches more than it can show.", checkNMax<EventKind>},
        {"event-first-last", "first are the oldest events, last the newest", oldest, checkFirstLast<EventKind>},
        {"event-order", "events in the order that suits the windows", order, checkOrder<EventKind>},
        {"event-stable", "the same request for events brings the same answer", "Rows change places by themselves.",
         checkOrderStable<EventKind>},
        {"event-unique", "no two events have one identifier", doubles, checkUnique<EventKind>},
        {"event-paging", "events page by page, without gap or double", paging, checkPaging<EventKind>},
        {"command-identifier", "lowest and highest identifier of commands", filter, checkIdentifiers<CommandKind>},
        {"command-time", "earliest and latest time of commands", filter, checkTimes<CommandKind>},
        {"command-sensor-mask", "the sensor mask of commands: the record's name is the pattern", filter,
         checkSensorMask<CommandKind>},
        {"command-type", "kind of message and order of commands", filter, checkTypes<CommandKind>},
        {"command-combined", "filters of commands in pairs and more", filter, checkCombined<CommandKind>},
        {"command-switch", "values of commands' filters that are switched off", filter, checkSwitchesOff<CommandKind>},
        {"command-nmax", "never more commands than wanted, and as many as there are",
         "The list is cut short, or the console fetches more than it can show.", checkNMax<CommandKind>},
        {"command-first-last", "first are the oldest commands, last the newest", oldest, checkFirstLast<CommandKind>},
        {"command-order", "commands in the order that suits the windows", order, checkOrder<CommandKind>},
        {"command-stable", "the same request for commands brings the same answer", "Rows change places by themselves.",
         checkOrderStable<CommandKind>},
        {"command-unique", "no two commands have one identifier", doubles, checkUnique<CommandKind>},
        {"command-paging", "commands page by page, without gap or double", paging, checkPaging<CommandKind>},
    };
}
