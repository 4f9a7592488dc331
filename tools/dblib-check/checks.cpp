// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checks.h"

namespace
{
std::vector<Check> gathered()
{
    std::vector<Check> all;
    for (const auto &group : {fileChecks(), preparationChecks(), callChecks(), processChecks(), answerChecks(),
                              enduranceChecks(), writeChecks(), largeAnswerChecks()})
        all.insert(all.end(), group.begin(), group.end());
    return all;
}

/** Puts what is missing to `wanted` records. */
template <class Kind> int fill(const Library &library, int wanted, std::mt19937 &random)
{
    if (!library.has(Kind::Put) || !library.has(Kind::Fetch))
        return 0;
    const int before = int(askIds<Kind>(library, plain<Kind>(wanted, false)).size());
    int count = before;
    for (bool taken = true; taken && count < wanted; count += taken) {
        typename Kind::Record record = Kind::sample(count, random);
        taken = Kind::putRecord(library, &record) == 0;
    }
    return count - before;
}

template <class Kind> void fetchBothEnds(const Library &library)
{
    Kind::get(library, nullptr, nullptr, nullptr);
    for (bool first : {false, true})
        ask<Kind>(library, plain<Kind>(20, first));
    auto nothing = plain<Kind>(20, false);
    Kind::setLowest(nothing, 1);
    Kind::setHighest(nothing, 0);
    ask<Kind>(library, nothing);
}
} // namespace

bool Pace::goesOn()
{
    constexpr int mostRounds = 50;
    if (m_round.over() && !m_tooSlow) {
        m_tooSlow = m_doneInRound < m_pieces / mostRounds;
        m_doneInRound = 0;
        m_round = Budget(m_target);
        progress();
    }
    ++m_doneInRound;
    return !m_tooSlow;
}

const std::vector<Check> &allChecks()
{
    static const std::vector<Check> all = gathered();
    return all;
}

Session::Session(const Target &target, Start start)
    : library(target.library, target.config)
{
    if (start == Initialised) {
        initialise(target.config);
        if (target.fill)
            whileFilling = Heap::faultsOf([&] { fillStore(library, target); });
    }
}

FillCounts fillStore(const Library &library, const Target &target)
{
    constexpr int events = 300;
    constexpr int commands = 150;
    stage("filling the store");
    std::mt19937 random(target.seed);
    return {fill<EventKind>(library, events, random), fill<CommandKind>(library, commands, random)};
}

std::vector<int> Session::initialise(const std::string &config) const
{
    stage("initialising with " + config);
    std::vector<int> results;
    for (DBFunction function : {DBFunctionInitSensors, DBFunctionInitEvents, DBFunctionInitCommands}) {
        if (!library.has(function))
            continue;
        results.push_back(function == DBFunctionInitSensors  ? library.initSensors(config.c_str())
                          : function == DBFunctionInitEvents ? library.initEvents(config.c_str())
                                                             : library.initCommands(config.c_str()));
    }
    return results;
}

void useAsConsole(const Library &library)
{
    if (library.has(DBFunctionGetSensors)) {
        library.getSensors(nullptr, nullptr);
        askSensors(library);
    }
    if (library.has(DBFunctionGetEvents))
        fetchBothEnds<EventKind>(library);
    if (library.has(DBFunctionGetCommands))
        fetchBothEnds<CommandKind>(library);
}
