// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "answers.h"
#include "library.h"
#include "outcome.h"

#include <chrono>
#include <climits>
#include <random>
#include <string>
#include <vector>

/** What a check works on. */
struct Target {
    std::string library;  ///< absolute path of the library
    std::string config;   ///< the configuration directory for the initialisers, absolute
    std::string original; ///< the one that `config` is a copy of, or the same when it is none
    bool watched = false; ///< the kernel lets the checker see where the library writes
    bool fill = false;    ///< records may be put where a store is empty, as one in memory is at each start
    unsigned seed = 1;
    int seconds = 45;      ///< time limit of the check
    int fetches = 100000;  ///< how many the endurance check makes
    int records = 1000000; ///< how many are fetched at once in the checks of large answers

    bool isCopy() const
    {
        return config != original;
    }
};

/** How long a check may take in its own interest, well within its time limit. */
class Budget
{
public:
    explicit Budget(const Target &target)
        : m_end(std::chrono::steady_clock::now() + std::chrono::milliseconds(target.seconds * 600L))
    {
    }
    bool over() const
    {
        return std::chrono::steady_clock::now() >= m_end;
    }

private:
    std::chrono::steady_clock::time_point m_end;
};

/**
 * A long work in equal pieces. It may take many time limits as long as each of
 * them brings a good part of it: a busy machine is no fault of the library.
 */
class Pace
{
public:
    Pace(const Target &target, int pieces)
        : m_target(target)
        , m_pieces(pieces)
        , m_round(target)
    {
        progress();
    }
    /** Whether the next piece is worth beginning. Once it is not, it never is again. */
    bool goesOn();

private:
    const Target &m_target;
    int m_pieces;
    Budget m_round;
    int m_doneInRound = 0;
    bool m_tooSlow = false;
};

/** One check. */
struct Check {
    const char *name = "";
    const char *what = "";        ///< what is looked at, for --list
    const char *consequence = ""; ///< what it means for the operator when it fails, a sentence
    Outcome (*run)(const Target &target) = nullptr;
    std::vector<const char *> causes = {}; ///< earlier checks whose failure may be all that this one sees
    bool basic = false;                    ///< one of those for every check after it
    bool writes = false;                   ///< puts or deletes: only with --write
    bool provesCopy = false;               ///< finds out whether nothing but the copy is written to
    bool advisory = false;                 ///< asks for more than the console relies on: failures become warnings
    bool silent = false;                   ///< a pass becomes a warning when anything was printed
    bool mayNotOutlive = false;            ///< processes that are left behind are a failure
    Leave leave = Leave::AtOnce;
};

/** The same as checks that write. */
Check asWriting(Check check);
std::vector<Check> asWriting(std::vector<Check> checks);

/** All checks in the order in which they run. */
const std::vector<Check> &allChecks();

// The groups that allChecks is made of.
std::vector<Check> fileChecks();
std::vector<Check> preparationChecks();
std::vector<Check> sequenceChecks();
std::vector<Check> initialisationChecks();
std::vector<Check> fetchChecks();
std::vector<Check> releaseChecks();
std::vector<Check> memoryChecks();
std::vector<Check> processChecks();
std::vector<Check> stateChecks();
std::vector<Check> writeStateChecks();
std::vector<Check> textChecks();
std::vector<Check> stabilityChecks();
std::vector<Check> filterChecks();
std::vector<Check> limitChecks();
std::vector<Check> orderChecks();
std::vector<Check> enduranceChecks();
std::vector<Check> putChecks();
std::vector<Check> deleteChecks();
std::vector<Check> identifierChecks();
std::vector<Check> restartChecks();
std::vector<Check> manyRecordsChecks();

/** The library, loaded and initialised as the console does at its start. */
class Session
{
public:
    enum Start { Initialised, LoadedOnly };
    explicit Session(const Target &target, Start start = Initialised);

    const Library library;
    /** What came of filling the store, which is no fault of the checks that do not write. */
    Heap::Faults whileFilling;

    /** As initialiseAll. */
    std::vector<int> initialise(const std::string &config) const;
};

/** Calls the three initialisers; their results, in the order of the calls. */
std::vector<int> initialiseAll(const Library &library, const char *config);

/** How many records were put. */
struct FillCounts {
    int events = 0;
    int commands = 0;
};
/** Puts generated records until the store has 300 events and 150 commands, or refuses one. */
FillCounts fillStore(const Library &library, const Target &target);

/** One after the other what a console does: sensors, full and empty answers from both ends. */
void useAsConsole(const Library &library);

/** Loads, initialises and uses the library, and judges nothing. */
Outcome useOnce(const Target &target);

/** Records that the checks of answers compare with. */
template <class Kind> struct Contents {
    std::vector<typename Kind::Record> records;
    bool textsWhole = true; ///< false: texts are corrupt, masks cannot be compared
    bool whole = true;      ///< false: the store holds more, these are the oldest
    int highest = INT_MIN;  ///< highest identifier among them
};

/** As many records as the checks compare with. */
constexpr int MostCompared = 20000;

/** Makes a request ask for nothing but what `contents` holds. */
template <class Kind> void confine(typename Kind::Request &request, const Contents<Kind> &contents)
{
    if (!contents.whole)
        Kind::bound(request, contents.highest);
}

/** What the store holds, at most MostCompared of it. Throws a skip when there is nothing. */
template <class Kind> Contents<Kind> readContents(const Library &library)
{
    Contents<Kind> contents;
    auto answer = ask<Kind>(library, plain<Kind>(MostCompared + 1, true));
    contents.textsWhole = answer.reader.faults().empty();
    contents.records = std::move(answer.records);
    if (contents.records.empty())
        throw skipped(std::string("the store has no ") + Kind::Plural + "; --write brings some");
    for (const auto &record : contents.records)
        contents.highest = std::max(contents.highest, Kind::id(record));
    contents.whole = int(contents.records.size()) <= MostCompared;
    auto same = plain<Kind>(2 * MostCompared, true);
    confine(same, contents);
    if (!contents.whole && askIds<Kind>(library, same).size() != contents.records.size())
        throw skipped(std::string("of so many ") + Kind::Plural +
                      " none are compared when the first ones are not those with the lowest identifiers");
    return contents;
}

/** A request with every field set, so that a change to any of them shows. */
template <class Kind> typename Kind::Request fullRequest(const Library &library)
{
    auto request = plain<Kind>(10, false);
    std::mt19937 random(1);
    for (const auto &filter : Kind::filters(ask<Kind>(library, request).records, random))
        filter.terms[filter.terms.size() / 2].apply(request);
    return request;
}
