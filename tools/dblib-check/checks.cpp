// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checks.h"

namespace
{
std::vector<Check> gathered()
{
    std::vector<Check> all;
    for (const auto &group :
         {fileChecks(),       preparationChecks(), sequenceChecks(), stabilityChecks(),  initialisationChecks(),
          processChecks(),    stateChecks(),       fetchChecks(),    releaseChecks(),    memoryChecks(),
          textChecks(),       filterChecks(),      limitChecks(),    orderChecks(),      enduranceChecks(),
          putChecks(),        writeStateChecks(),  deleteChecks(),   identifierChecks(), restartChecks(),
          manyRecordsChecks()})
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

Check asWriting(Check check)
{
    check.writes = true;
    return check;
}

std::vector<Check> asWriting(std::vector<Check> checks)
{
    for (Check &check : checks)
        check.writes = true;
    return checks;
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

std::vector<int> initialiseAll(const Library &library, const char *config)
{
    stage(std::string("initialising with ") + config);
    std::vector<int> results;
    if (library.has(DBFunctionInitSensors))
        results.push_back(library.initSensors(config));
    if (library.has(DBFunctionInitEvents))
        results.push_back(library.initEvents(config));
    if (library.has(DBFunctionInitCommands))
        results.push_back(library.initCommands(config));
    return results;
}

std::vector<int> Session::initialise(const std::string &config) const
{
    return initialiseAll(library, config.c_str());
}

void useAsConsole(const Library &library)
{
    forEachKind(library, [&](auto kind) { ask<decltype(kind)>(library, plain<decltype(kind)>(20, false)); });
    forEachSelected(library, [&](auto kind) {
        using Kind = decltype(kind);
        ask<Kind>(library, plain<Kind>(20, true));
        ask<Kind>(library, nothing<Kind>());
    });
}

Outcome useOnce(const Target &target)
{
    const Session session(target);
    useAsConsole(session.library);
    return passed();
}
