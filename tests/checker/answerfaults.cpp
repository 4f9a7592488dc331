// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
//
// Wrong answers.
#include "faultcase.h"

INSTANTIATE_TEST_SUITE_P(
    Texts, DBLibCheckFault,
    testing::Values(FaultCase{"text-unterminated", {{"texts", "fail"}}, "SensorID has no NUL at its end"},
                    FaultCase{"text-null", {{"texts", "fail"}}, "EventName is NULL of length"},
                    FaultCase{"length-too-long", {{"texts", "fail"}}, "LEventName is 5000, the memory ends after"},
                    FaultCase{"length-negative", {{"texts", "fail"}}}, FaultCase{"length-padded", {{"texts", "warn"}}},
                    FaultCase{"command-text-open", {{"texts", "fail"}}, "commands, record 0: SensorID has no NUL"},
                    FaultCase{"parameters-missing", {{"texts", "fail"}}, "ParNum is 2 with par NULL"},
                    FaultCase{"value-short", {{"texts", "fail"}}, "Val of a parameter of type 2 has LVal 4"},
                    FaultCase{"sensor-twice", {{"sensors", "warn"}}, "two sensors are named"},
                    FaultCase{"sensor-nameless", {{"sensors", "warn"}}, "a sensor has no name"},
                    FaultCase{"sensor-order", {{"sensors", "warn"}}, "come each time"},
                    FaultCase{"slow", {{"speed", "warn"}}, "the last 100 events took 2."}),
    testName);

INSTANTIATE_TEST_SUITE_P(
    Filters, DBLibCheckFault,
    testing::Values(
        FaultCase{"event-id0", {{"event-identifier", "fail"}}}, FaultCase{"event-id1", {{"event-identifier", "fail"}}},
        FaultCase{"event-time0", {{"event-time", "fail"}}}, FaultCase{"event-time1", {{"event-time", "fail"}}},
        FaultCase{"negative-time", {{"event-time", "fail"}}},
        FaultCase{"event-mask-swapped", {{"event-sensor-mask", "fail"}}},
        FaultCase{"mask-letter-case", {{"event-sensor-mask", "fail"}}},
        FaultCase{
            "mask-folds-latin", {{"event-sensor-mask", "fail"}}, "SensorID=\"\\xE4lpha\": 14 records, 7 expected"},
        FaultCase{"mask-folds-asked", {{"event-sensor-mask", "fail"}}, "SensorID=\"\\xC4"},
        FaultCase{"name-mask-swapped", {{"event-name-mask", "fail"}}},
        FaultCase{"name-mask-folds-latin", {{"event-name-mask", "fail"}}, "EventName=\"\\xFC\": 7 records, 0 expected"},
        FaultCase{"types-swapped", {{"event-type", "fail"}}},
        FaultCase{"sensor-type-ignored", {{"event-type", "fail"}}},
        FaultCase{"switch-ignored", {{"event-switch", "fail"}}, "events with values whose switches are off"},
        FaultCase{"switch-is-one", {{"event-switch", "fail"}}, "with the switch's value 2"},
        FaultCase{"switch-positive", {{"event-switch", "fail"}}, "with the switch's value -1"},
        FaultCase{"switch-low-byte", {{"event-switch", "fail"}}, "with the switch's value 256"},
        FaultCase{"command-switch-ignored", {{"command-switch", "fail"}}},
        FaultCase{"command-switch-is-one", {{"command-switch", "fail"}}, "with the switch's value 2"},
        FaultCase{"command-type-ignored", {{"command-type", "fail"}}},
        FaultCase{"command-id0", {{"command-identifier", "fail"}}},
        FaultCase{"command-id1", {{"command-identifier", "fail"}}},
        FaultCase{"command-time0", {{"command-time", "fail"}}}, FaultCase{"command-time1", {{"command-time", "fail"}}},
        FaultCase{"command-mask-swapped", {{"command-sensor-mask", "fail"}}},
        FaultCase{"command-mask-folds-latin", {{"command-sensor-mask", "fail"}}}),
    testName);

INSTANTIATE_TEST_SUITE_P(
    Limits, DBLibCheckFault,
    testing::Values(
        FaultCase{"nmax-ignored", {{"event-nmax", "fail"}, {"command-nmax", "fail"}}},
        FaultCase{"nmax-negative", {{"event-nmax", "fail"}, {"command-nmax", "fail"}}},
        FaultCase{"count-short", {{"event-nmax", "fail"}, {"command-nmax", "fail"}}},
        FaultCase{"limit-off-with-mask",
                  {{"event-limit", "fail"}},
                  "NMax does not count when SensorID is used: first 1 events, SensorID="},
        FaultCase{"limit-off-with-two", {{"event-limit", "fail"}}, "NMax does not count when EventTime1 is used"},
        FaultCase{"limit-before-mask", {{"event-limit", "fail"}}, "NMax is counted before SensorID is applied"},
        FaultCase{"limit-before-name-mask", {{"event-limit", "fail"}}, "NMax is counted before EventName is applied"},
        FaultCase{"limit-before-type", {{"event-limit", "fail"}}, "NMax is counted before MessageType is applied"},
        FaultCase{
            "limit-before-sensor-type", {{"event-limit", "fail"}}, "NMax is counted before SensorType is applied"},
        FaultCase{"limit-before-time", {{"event-limit", "fail"}}, "NMax is counted before EventTime0 is applied"},
        FaultCase{"limit-before-identifier", {{"event-limit", "fail"}}, "NMax is counted before MessageID0 is applied"},
        FaultCase{
            "command-limit-off-with-mask", {{"command-limit", "fail"}}, "NMax does not count when SensorID is used"},
        FaultCase{"command-limit-before-mask", {{"command-limit", "fail"}}, "counted before SensorID is applied"},
        FaultCase{"command-limit-before-type", {{"command-limit", "fail"}}, "counted before CommandType is applied"},
        FaultCase{"command-limit-before-time", {{"command-limit", "fail"}}, "counted before CommandTime0 is applied"},
        FaultCase{"command-limit-before-identifier",
                  {{"command-limit", "fail"}},
                  "NMax is counted before CommandID0 is applied"}),
    testName);

INSTANTIATE_TEST_SUITE_P(
    Order, DBLibCheckFault,
    testing::Values(
        FaultCase{"ends-swapped", {{"event-first-last", "fail"}, {"command-first-last", "fail"}}},
        FaultCase{
            "takes-by-time",
            {{"by-identifier", "warn"}},
            "first and last are taken by time, not by identifier: the events list and the commands list can leave "
            "out records"},
        FaultCase{"order-ascending", {{"event-order", "warn"}, {"command-order", "warn"}}},
        FaultCase{"order-with-lowest", {{"event-order", "warn"}, {"command-order", "warn"}}},
        FaultCase{"order-random", {{"event-stable", "fail"}}, "the same records in another order"},
        FaultCase{"same-identifier", {{"event-unique", "fail"}}},
        FaultCase{"command-same-identifier", {{"command-unique", "fail"}}}),
    testName);

#if __SIZEOF_POINTER__ == 8
INSTANTIATE_TEST_SUITE_P(WideTimes, DBLibCheckFault, testing::Values(FaultCase{"time-cut", {{"event-time", "fail"}}}),
                         testName);
#endif
