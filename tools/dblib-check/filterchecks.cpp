// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "comparison.h"
#include "translation.h"

namespace
{
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

template <class Request> using Group = typename Filter<Request>::Group;

/** Every value of every filter of a group alone, and the two of a group together. */
template <class Kind> Outcome checkGroup(const Target &target, Group<typename Kind::Request> group)
{
    const Session session(target);
    std::mt19937 random(target.seed);
    Comparison<Kind> comparison(session.library);
    auto filters = filtersFor<Kind>(comparison.contents(), random);
    const auto others = [group](const auto &filter) { return filter.group != group; };
    filters.erase(std::remove_if(filters.begin(), filters.end(), others), filters.end());
    if (filters.empty())
        return skipped("the texts of the records are corrupt");
    std::vector<Terms<Kind>> questions;
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
        const std::string fault = comparison.faultOf(question, random() % 2 == 0);
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

template <class Kind> using Filters = std::vector<Filter<typename Kind::Request>>;

/** A switch that is off makes its value irrelevant, whatever it is. */
template <class Kind>
std::string switchedOffFault(const Library &library, const Contents<Kind> &contents, const Filters<Kind> &filters)
{
    auto request = plain<Kind>(int(contents.records.size()) + 1000, true);
    for (const auto &filter : filters)
        filter.terms[filter.terms.size() / 2].apply(request);
    for (auto use : Kind::switches())
        request.*use = 0;
    confine(request, contents);
    return difference(std::string(Kind::Plural) + " with values whose switches are off",
                      sortedIds<Kind>(library, request), expectedIds<Kind>(contents, request));
}

/** Any value but 0 switches a filter on. */
template <class Kind>
std::string switchedOnFault(const Library &library, const Contents<Kind> &contents, const Terms<Kind> &term, int value)
{
    auto request = requestFor<Kind>(contents, term, int(contents.records.size()) + 1000, true);
    for (auto use : Kind::switches())
        if (request.*use)
            request.*use = value;
    return difference(Kind::describe(request) + " with the switch's value " + std::to_string(value),
                      sortedIds<Kind>(library, request), expectedIds<Kind>(contents, request));
}

/** A value of the filter that leaves records out, if there is one: else nobody sees whether it is on. */
template <class Kind>
Terms<Kind> excludingTerm(const Contents<Kind> &contents, const Filter<typename Kind::Request> &filter,
                          std::mt19937 &random)
{
    const std::size_t start = random();
    for (std::size_t i = 0; i < filter.terms.size(); ++i) {
        Terms<Kind> term = {&filter.terms[(start + i) % filter.terms.size()]};
        const auto request = requestFor<Kind>(contents, term, 0, true);
        if (expectedIds<Kind>(contents, request).size() < contents.records.size())
            return term;
    }
    return {&filter.terms.front()};
}

template <class Kind> Outcome checkSwitches(const Target &target)
{
    const Session session(target);
    std::mt19937 random(target.seed);
    Comparison<Kind> comparison(session.library);
    const auto filters = filtersFor<Kind>(comparison.contents(), random);
    std::string fault = comparison.fault(
        [&](const Contents<Kind> &contents) { return switchedOffFault<Kind>(session.library, contents, filters); });
    for (const auto &filter : filters) {
        for (int value : {2, -1, 256, 1 << 16, INT_MIN, INT_MAX}) {
            if (!fault.empty())
                return failed(fault);
            const Terms<Kind> term = excludingTerm<Kind>(comparison.contents(), filter, random);
            fault = comparison.fault([&](const Contents<Kind> &contents) {
                return switchedOnFault<Kind>(session.library, contents, term, value);
            });
        }
    }
    return fault.empty() ? passed() : failed(fault);
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
                fault = comparison.faultOf({anyOf(filters[i]), anyOf(filters[j])}, round % 2 == 0);
    }
    if (fault.empty() && comparison.count() < pairs)
        return comparedInTime(comparison.count(), pairs);
    progress();
    const Budget budget(target);
    for (int round = 0; round < 500 && fault.empty() && !budget.over(); ++round) {
        Terms<Kind> terms;
        for (const auto &filter : filters)
            if (random() % 3 == 0)
                terms.push_back(anyOf(filter));
        fault = comparison.faultOf(terms, round % 2 == 0);
    }
    return fault.empty() ? passed(compared(comparison.count())) : failed(fault);
}
} // namespace

std::vector<Check> filterChecks()
{
    const char *const filter =
        translatable("The list shows records that the operator did not ask for, or leaves some out.");
    const std::vector<const char *> event = {"event-last-record"};
    const std::vector<const char *> command = {"command-last-record"};
    const std::vector<const char *> eventSingle = {"event-last-record", "event-identifier", "event-time",
                                                   "event-sensor-mask", "event-name-mask",  "event-type"};
    const std::vector<const char *> commandSingle = {"command-last-record", "command-identifier", "command-time",
                                                     "command-sensor-mask", "command-type"};
    std::vector<const char *> eventAll = eventSingle;
    eventAll.push_back("event-switch");
    std::vector<const char *> commandAll = commandSingle;
    commandAll.push_back("command-switch");
    return {
        {"event-identifier", translatable("lowest and highest identifier of events"), filter,
         checkIdentifiers<EventKind>, event},
        {"event-time", translatable("earliest and latest time of events"), filter, checkTimes<EventKind>, event},
        {"event-sensor-mask", translatable("the sensor mask of events: the record's name is the pattern"), filter,
         checkSensorMask<EventKind>, event},
        {"event-name-mask", translatable("the event name mask: the record's name is the pattern"), filter,
         checkNameMask<EventKind>, event},
        {"event-type", translatable("kind of message and of sensor of events"), filter, checkTypes<EventKind>, event},
        {"event-switch", translatable("switches of events' filters that are off, or have another value than 1"), filter,
         checkSwitches<EventKind>, eventSingle},
        {"event-combined", translatable("filters of events in pairs and more"), filter, checkCombined<EventKind>,
         eventAll},
        {"command-identifier", translatable("lowest and highest identifier of commands"), filter,
         checkIdentifiers<CommandKind>, command},
        {"command-time", translatable("earliest and latest time of commands"), filter, checkTimes<CommandKind>,
         command},
        {"command-sensor-mask", translatable("the sensor mask of commands: the record's name is the pattern"), filter,
         checkSensorMask<CommandKind>, command},
        {"command-type", translatable("kind of message and order of commands"), filter, checkTypes<CommandKind>,
         command},
        {"command-switch", translatable("switches of commands' filters that are off, or have another value than 1"),
         filter, checkSwitches<CommandKind>, commandSingle},
        {"command-combined", translatable("filters of commands in pairs and more"), filter, checkCombined<CommandKind>,
         commandAll},
    };
}
