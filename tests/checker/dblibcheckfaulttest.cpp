// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "faultcase.h"

#include <gmock/gmock.h>

#include <algorithm>

using testing::HasSubstr;

void PrintTo(const FaultCase &fault, std::ostream *stream)
{
    *stream << fault.folder;
}

std::string testName(const testing::TestParamInfo<FaultCase> &info)
{
    std::string name = info.param.folder;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

namespace
{
/** For what is lost byte by byte. */
const char *const Long = "--fetches 2000";

/** As arguments: the checks that write, or those that do not, but for one. */
std::string checks(bool writing, const std::string &without = {})
{
    std::string arguments;
    for (const Listed &listed : listedChecks())
        if (listed.name != without && listed.writes == writing)
            arguments += " --only " + listed.name;
    return arguments;
}

/** What goes wrong while writing is looked for by the checks that write: the others have good libraries for that. */
CheckerRun runWriting(const FaultCase &fault)
{
    std::string arguments = library(fault.folder) + Brief + fault.arguments + checks(true);
    for (const auto &[name, verdict] : fault.complaints)
        arguments += " --only " + name;
    return run(arguments);
}

/** The check that hangs runs alone, as it would else be waited for as long as for the slowest of the others. */
CheckerRun runHanging(const FaultCase &fault)
{
    CheckerRun result = run(library(fault.folder) + Brief + checks(false, fault.hanging));
    const CheckerRun hanging = run(library(fault.folder) + " --timeout 3 --only " + fault.hanging);
    result.status = hanging.status;
    result.output += hanging.output;
    result.verdicts.insert(hanging.verdicts.begin(), hanging.verdicts.end());
    return result;
}

CheckerRun runAll(const FaultCase &fault)
{
    if (*fault.hanging)
        return runHanging(fault);
    if (fault.writes())
        return runWriting(fault);
    return run(library(fault.folder) + Brief + fault.arguments);
}

TEST_P(DBLibCheckFault, isNamedByTheRightCheckAndNoOther)
{
    const FaultCase &fault = GetParam();
    const CheckerRun result = runAll(fault);
    SCOPED_TRACE(result.output);
    EXPECT_GT(result.verdicts.size(), fault.writes() ? 15U : 60U);
    if (Sanitized && fault.corruptsMemory) {
        EXPECT_FALSE(result.complaints().empty());
        for (const auto &[name, verdict] : result.complaints()) {
            const auto named = fault.complaints.find(name);
            // A crash where the console would not have called is a warning.
            const std::string crash = name == "release-twice" ? "warn" : "crash";
            EXPECT_TRUE(verdict == crash || (named != fault.complaints.end() && verdict == named->second)) << name;
        }
        return;
    }
    EXPECT_EQ(result.complaints(), fault.complaints);
    EXPECT_THAT(result.output, HasSubstr(fault.sentence));
    bool bad = false;
    for (const auto &[name, verdict] : fault.complaints)
        bad = bad || verdict != "warn";
    EXPECT_EQ(result.status, bad ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(
    File, DBLibCheckFault,
    testing::Values(FaultCase{"crash-at-load", {{"load", "crash"}}, "SIGSEGV while loading the library"},
                    FaultCase{"missing-FDBGetEvents",
                              {{"symbols", "fail"}},
                              "of the ten C++ symbols these are missing: "
                              "_Z12FDBGetEventsPiPP13CMessageEventP20CMessageEventRequest"},
                    FaultCase{"missing-FDBDeleteEvent",
                              {{"symbols", "fail"}},
                              "of the ten C++ symbols these are missing: _Z14FDBDeleteEventi"},
                    FaultCase{"missing-two",
                              {{"symbols", "fail"}},
                              "these are missing: _Z16FDBDeleteCommandi, _Z14FDBDeleteEventi"},
                    FaultCase{"missing-dependency", {{"dependencies", "fail"}}, "undefined symbol"},
                    FaultCase{"map-wrong", {{"name-map", "fail"}}, "Funs.def names NoSuchFunction for FDBGetEvents"},
                    FaultCase{"map-strange", {{"name-map", "warn"}}, "names none of the ten functions"}),
    testName);

INSTANTIATE_TEST_SUITE_P(
    Calls, DBLibCheckFault,
    testing::Values(
        FaultCase{"sensor-size", {{"size-query", "fail"}}, "FDBGetSensors with every argument NULL returned"},
        FaultCase{"size-half", {{"size-query", "fail"}}}, FaultCase{"command-size", {{"size-query", "fail"}}},
        FaultCase{"size-unstable", {{"size-query", "fail"}}, "at call 5"},
        FaultCase{"size-query-empties",
                  {{"sequence", "fail"}},
                  "sensors, fetched right after the size query as the console does: 0 records, without it 10"},
        FaultCase{"answers-change", {{"event-stable", "fail"}}, "asked for the 2. time: "},
        FaultCase{"seventh-events-short", {{"event-stable", "fail"}}, "asked for the "},
        FaultCase{"last-record-garbage",
                  {{"event-last-record", "fail"}},
                  "the last of the first 1 events, with identifier -842150451, is no record of the store"},
        FaultCase{"initialise-fails", {{"initialise", "warn"}}, "initialiser 1 of 3 returned -1"},
        FaultCase{"second-initialise", {{"initialise-twice", "fail"}}, "the initialisers' results are others"},
        FaultCase{"initialise-empties",
                  {{"initialise-twice", "fail"}},
                  "initialised again, the store is another: 50 events became 0",
                  "--write"},
        FaultCase{"initialise-drops-commands", {{"initialise-twice", "fail"}}, "40 commands became 0"},
        FaultCase{"sensor-again", {{"initialise-twice", "fail"}}, "10 sensors became 11"},
        FaultCase{"crash-uninitialised", {{"before-initialise", "crash"}}},
        FaultCase{"crash-missing-directory", {{"missing-directory", "crash"}}},
        FaultCase{"result", {{"status", "fail"}}, "the result is 1, 0 expected"},
        FaultCase{"count-null-array", {{"count", "fail"}}, "the count is 3, the array is NULL"},
        FaultCase{"count-negative", {{"count", "fail"}}, "the count is -1"},
        FaultCase{"count-too-high", {{"count", "fail"}}, "the count is 11, the array holds 10"},
        FaultCase{"request-changed", {{"request-unchanged", "fail"}}, "was changed by the fetch"},
        FaultCase{"mask-lowered", {{"request-unchanged", "fail"}}},
        FaultCase{"mask-freed", {{"request-unchanged", "fail"}}, "", "", true}),
    testName);

INSTANTIATE_TEST_SUITE_P(
    Release, DBLibCheckFault,
    testing::Values(FaultCase{"release-null-crash", {{"release-null", "crash"}}, "SIGSEGV while releasing the sensors"},
                    FaultCase{"release-ignored", {{"release-once", "fail"}}, "bytes stayed after their release"},
                    FaultCase{"sensors-kept", {{"release-once", "fail"}}, "of arrays of sensors of "},
                    FaultCase{"pointer-kept", {{"release-twice", "warn"}}},
                    FaultCase{"open-array-short",
                              {{"open-arrays", "fail"}},
                              "sensors while an array of sensors is open: 9 records, 10 when none is"},
                    FaultCase{
                        "release-last", {{"release-order", "fail"}}, "releasing one array of sensors changed another"},
                    FaultCase{"record-shared",
                              {{"release-order", "fail"}},
                              "two answers with events share memory that the release of one of them freed",
                              "",
                              true},
                    FaultCase{"static-array",
                              {{"valid-until-release", "fail"}},
                              "the events changed through calls made before their release"}),
    testName);

INSTANTIATE_TEST_SUITE_P(
    Memory, DBLibCheckFault,
    testing::Values(
        FaultCase{"overrun-count", {{"overrun", "fail"}}, "the library went past the count"},
        FaultCase{"overrun-address", {{"overrun", "fail"}}, "went past the array's address"},
        FaultCase{"overrun-request", {{"overrun", "fail"}}, "went past the request", "", true},
        FaultCase{"mask-overread", {{"overrun", "fail"}}, "went past the sensor mask", "", true},
        FaultCase{
            "init-overread", {{"overrun", "fail"}}, "went past the name of the configuration directory", "", true},
        FaultCase{"overrun-block", {{"memory", "fail"}}, "times written past the end of a block", "", true},
        FaultCase{"array-overread", {{"memory", "fail"}}, "went past a block of its own", "", true},
        FaultCase{"use-after-free", {{"memory", "fail"}}, "or used one that it had freed", "", true},
        FaultCase{"double-free", {{"memory", "fail"}}, "times freed what was free already", "", true},
        FaultCase{"leak-memory",
                  {{"endurance", "fail"}},
                  "96000 bytes of memory were not given back over 4000 fetches",
                  Long},
        FaultCase{"leak-descriptor", {{"endurance", "fail"}}, "80 descriptors were not given back", Long},
        FaultCase{"leak-thread", {{"endurance", "fail"}}, "4 threads were not given back", Long},
        FaultCase{"leak-when-empty", {{"endurance-empty", "fail"}}, "over 4000 fetches that find nothing", Long},
        FaultCase{"leak-with-mask", {{"endurance-mask", "fail"}}, "over 4000 fetches with masks", Long},
        FaultCase{"thread-with-mask", {{"endurance-mask", "fail"}}, " threads were not given back over ", Long},
        FaultCase{"leak-with-time", {{"endurance-filter", "fail"}}, "over 4000 fetches with filters", Long},
        FaultCase{"leak-with-sensors",
                  {{"endurance-sensors", "fail"}},
                  "32000 bytes of memory were not given back over 4000 fetches of sensors",
                  Long},
        FaultCase{"leak-at-initialise",
                  {{"endurance-initialise", "fail"}},
                  "bytes of memory were not given back over 40 initialisations"},
        FaultCase{"descriptor-at-initialise",
                  {{"endurance-initialise", "fail"}},
                  "120 descriptors were not given back over 40 initialisations"}),
    testName);
} // namespace
