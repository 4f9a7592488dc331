// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
//
// What goes wrong while records are put and deleted.
#include "faultcase.h"

INSTANTIATE_TEST_SUITE_P(
    Puts, DBLibCheckFault,
    testing::Values(
        FaultCase{"bytes-lost", {{"event-put", "fail"}}, "came back changed: EventName", "--write"},
        FaultCase{"text-cut", {{"event-bytes", "fail"}}, "a text of 5000 bytes", "--write"},
        FaultCase{"command-text-cut", {{"command-bytes", "fail"}}, "", "--write"},
        FaultCase{"print-at-put", {{"write-silent", "warn"}}, "", "--write"},
        FaultCase{"put-changes-locale", {{"write-state", "fail"}}, "the locale was changed", "--write"},
        FaultCase{"delete-leaks-descriptor",
                  {{"write-state", "fail"}},
                  "34 descriptors were left behind by a hundred puts and deletions",
                  "--write"},
        FaultCase{"put-overrun", {{"write-memory", "fail"}}, "", "--write", true},
        FaultCase{"put-reads-sensor",
                  {{"put-overrun", "fail"}},
                  "the library went past the SensorID of an event that is put",
                  "--write",
                  true},
        FaultCase{"put-reads-name", {{"put-overrun", "fail"}}, "past the EventName of an event", "--write", true},
        FaultCase{"put-reads-value", {{"put-overrun", "fail"}}, "past the value of a parameter", "--write", true},
        FaultCase{"put-reads-record", {{"put-overrun", "fail"}}, "past a record that is put", "--write", true},
        FaultCase{"large-cut", {{"many-put", "fail"}}, "the result says nothing of it", "--write"},
        FaultCase{"parameter-lost", {{"event-put", "fail"}}, "came back changed: the parameters", "--write"},
        FaultCase{"command-time-lost", {{"command-put", "fail"}}, "came back changed: CommandTime", "--write"},
        FaultCase{"put-takes-text", {{"put-unchanged", "fail"}}, "FDBPutEvent changed the record", "--write"},
        FaultCase{"put-ignored", {{"event-put", "fail"}}, "0 new events after putting one", "--write"},
        FaultCase{"put-refused", {{"event-put", "fail"}}, "putting one of the events returned -5", "--write"},
        FaultCase{"put-crashes", {{"fill", "crash"}}, "", "--write"}),
    testName);

INSTANTIATE_TEST_SUITE_P(
    Deletes, DBLibCheckFault,
    testing::Values(
        FaultCase{"delete-ignored", {{"event-delete", "fail"}}, "is still there after its deletion", "--write"},
        FaultCase{
            "delete-neighbour", {{"event-delete", "fail"}, {"command-delete", "fail"}}, "took away too", "--write"},
        FaultCase{"delete-same-time",
                  {{"event-delete", "fail"}},
                  "deleting 302 of the events took away too: 301, 303",
                  "--write"},
        FaultCase{"delete-first-of-time",
                  {{"event-delete", "fail"}},
                  "302 is still there after its deletion, and gone instead: 301",
                  "--write"},
        FaultCase{
            "delete-takes-command", {{"event-delete", "fail"}}, "of the events took away commands, too", "--write"},
        FaultCase{
            "delete-takes-event", {{"command-delete", "fail"}}, "of the commands took away events, too", "--write"},
        FaultCase{"delete-falls-through",
                  {{"event-delete-unknown", "fail"}},
                  "of the events took away commands, too",
                  "--write"},
        FaultCase{"delete-unknown",
                  {{"event-delete-unknown", "fail"}, {"command-delete-unknown", "fail"}},
                  "which is not there, took away",
                  "--write"},
        FaultCase{"delete-throws", {{"command-delete-unknown", "fail"}}, "FDBDeleteCommand threw", "--write"}),
    testName);

INSTANTIATE_TEST_SUITE_P(
    Restarts, DBLibCheckFault,
    testing::Values(
        FaultCase{"reused-identifier",
                  {{"event-new-identifier", "fail"}, {"command-new-identifier", "fail"}},
                  "was given after",
                  "--write"},
        FaultCase{"ids-random",
                  {{"event-new-identifier", "fail"}, {"command-new-identifier", "fail"}},
                  "was given after",
                  "--write"},
        FaultCase{"ids-descending",
                  {{"event-new-identifier", "fail"}, {"command-new-identifier", "fail"}},
                  "was given after",
                  "--write"},
        FaultCase{
            "reused-after-restart", {{"event-new-identifier", "fail"}}, "after a restart the identifier", "--write"},
        FaultCase{"restart-loses-parameters",
                  {{"event-restart", "fail"}},
                  "came back changed after a restart: the parameters",
                  "--write"},
        FaultCase{"restart-folds-lines", {{"event-restart", "fail"}}, "came back changed after a restart", "--write"},
        FaultCase{"restart-loses-bytes", {{"event-restart", "fail"}}, "came back changed after a restart", "--write"},
        FaultCase{
            "restart-loses-long", {{"event-restart", "fail"}}, "of the events is gone after a restart", "--write"},
        FaultCase{"restart-loses-commands",
                  {{"command-restart", "fail"}},
                  "of the commands is gone after a restart",
                  "--write"}),
    testName);
