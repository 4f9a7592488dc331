// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
//
// What libraries do to the process around them, and to the checker.
#include "faultcase.h"

INSTANTIATE_TEST_SUITE_P(
    Process, DBLibCheckFault,
    testing::Values(
        FaultCase{"print", {{"silent", "warn"}}, "it printed: \"fetching\""},
        FaultCase{"print-error", {{"silent", "warn"}}}, FaultCase{"print-at-load", {{"silent", "warn"}}},
        FaultCase{"print-at-exit", {{"exit", "warn"}}, "it printed: \"library left\""},
        FaultCase{"close-descriptors", {{"descriptors", "fail"}}},
        FaultCase{"close-output", {{"descriptors", "fail"}}, "descriptor 1 was closed"},
        FaultCase{"fork", {{"processes", "fail"}}, "it started a process that is still there after the program's end"},
        FaultCase{"fork-daemon", {{"processes", "fail"}}},
        FaultCase{"zombie", {{"processes", "fail"}}, "it started a process and did not wait for its end"},
        FaultCase{
            "thread-each-fetch", {{"processes", "fail"}}, "70 threads were left behind by the fetches of 10 rounds"},
        FaultCase{"first-thread-only", {{"thread", "fail"}}, "a second thread got other answers than the first"},
        FaultCase{"abort-at-exit", {{"exit", "crash"}}, "SIGABRT while leaving the program"},
        FaultCase{"hang-at-exit", {{"exit", "timeout"}}, "", "", false, "exit"}),
    testName);

INSTANTIATE_TEST_SUITE_P(
    State, DBLibCheckFault,
    testing::Values(
        FaultCase{"change-directory", {{"process-state", "fail"}}, "the working directory was changed"},
        FaultCase{"change-locale", {{"process-state", "fail"}}, "the locale was changed"},
        FaultCase{"change-thread-locale", {{"process-state", "fail"}}, "this thread's own locale was changed"},
        FaultCase{"change-umask", {{"process-state", "fail"}}, "the mask for the rights of new files was changed"},
        FaultCase{"change-environment",
                  {{"process-state", "fail"}},
                  "the environment variable CHECKER_LIBRARY was set to \"1\""},
        FaultCase{"change-time-zone", {{"process-state", "fail"}}, "was changed from \""},
        FaultCase{"change-rounding", {{"process-state", "fail"}}, "the rounding mode of floating point numbers"},
        FaultCase{"change-alarm", {{"process-state", "fail"}}, "an alarm or timer was changed"},
        FaultCase{"change-buffering", {{"process-state", "fail"}}, "the buffering of standard output was changed"},
        FaultCase{"ignore-sigterm", {{"process-state", "fail"}}, "the handling of SIGTERM was changed"},
        FaultCase{"block-signals", {{"process-state", "fail"}}, "the blocking of SIG"}),
    testName);

INSTANTIATE_TEST_SUITE_P(
    Ends, DBLibCheckFault,
    testing::Values(
        FaultCase{"segfault", {{"event-nmax", "crash"}}, "SIGSEGV while fetching the first 2147483647 events"},
        FaultCase{"abort", {{"event-nmax", "crash"}}, "SIGABRT"},
        FaultCase{"stack-overflow", {{"event-nmax", "crash"}}, "SIGSEGV"},
        FaultCase{"exit", {{"event-nmax", "crash"}}, "the library ended the program with exit status 0"},
        FaultCase{"quick-exit", {{"event-nmax", "crash"}}, "the library ended the program with exit status 0"},
        FaultCase{"throws", {{"event-nmax", "fail"}}, "FDBGetEvents threw an exception: NMax is negative"},
        FaultCase{"throws-number", {{"event-nmax", "fail"}}, "FDBGetEvents threw an exception"},
        FaultCase{"huge-allocation", {{"event-nmax", "fail"}}, "", "", true},
        FaultCase{"endless-loop", {{"event-nmax", "timeout"}}, "not back after 3 s", "", false, "event-nmax"},
        FaultCase{"ignores-sigterm", {{"event-nmax", "timeout"}}, "", "", false, "event-nmax"}),
    testName);

// They attack in their first fetch, which is that of the first check that makes one.
INSTANTIATE_TEST_SUITE_P(Hostile, DBLibCheckFault,
                         testing::Values(FaultCase{"stops-itself",
                                                   {{"size-query", "crash"}},
                                                   "the library stopped the program with SIGSTOP"},
                                         FaultCase{
                                             "overwrites-verdict",
                                             {{"size-query", "fail"}},
                                             "hostile: it wrote to the memory that the checker keeps its verdict in"},
                                         FaultCase{"forges-verdict",
                                                   {{"size-query", "fail"}},
                                                   "hostile: it left a verdict of its own in the checker's memory"}),
                         testName);

#ifndef __SANITIZE_ADDRESS__ // a sanitizer's heap needs more than any limit allows
INSTANTIATE_TEST_SUITE_P(MemoryLimit, DBLibCheckFault,
                         testing::Values(FaultCase{"eats-memory", {{"event-nmax", "crash"}}, "", "--memory 512"}),
                         testName);
#endif
