// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Runs the test data source with the first, the second, ... file operation
// failing: once, and from then on. The linker leads the program's file
// operations through the functions here (see CMakeLists.txt).
#include "DBFunsDebug.h"
#include "Messages.h"
#include "recordtext.h"

#include <QString>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace
{
bool armed = false;
bool fromThenOn = false;
int operationsLeft = 0;
bool refused = false;

bool failsNow()
{
    if (!armed || operationsLeft-- > 0)
        return false;
    refused = true;
    armed = fromThenOn;
    operationsLeft = 0;
    errno = EIO;
    return true;
}

/** Runs `action` with its file operation number `n` (from 0) failing; false when it did not need so many. */
template <typename Action> bool runFailing(int n, bool onwards, Action action)
{
    armed = true;
    fromThenOn = onwards;
    operationsLeft = n;
    refused = false;
    action();
    armed = false;
    return refused;
}
} // namespace

extern "C" {
int __real_open64(const char *path, int flags, ...);
int __wrap_open64(const char *path, int flags, int mode)
{
    return failsNow() ? -1 : __real_open64(path, flags, mode);
}
int __real_fstat64(int descriptor, struct stat64 *status);
int __wrap_fstat64(int descriptor, struct stat64 *status)
{
    return failsNow() ? -1 : __real_fstat64(descriptor, status);
}
std::FILE *__real_fdopen(int descriptor, const char *mode);
std::FILE *__wrap_fdopen(int descriptor, const char *mode)
{
    return failsNow() ? nullptr : __real_fdopen(descriptor, mode);
}
char *__real_fgets(char *line, int size, std::FILE *f);
char *__wrap_fgets(char *line, int size, std::FILE *f)
{
    return failsNow() ? nullptr : __real_fgets(line, size, f);
}
}

namespace
{
using Names = std::vector<std::string>;

template <typename Record> Names namesIn(const Record *records, int count)
{
    Names names;
    for (int i = 0; i < count; ++i)
        names.push_back(recordText(records[i].SensorID, records[i].LSensorID).toStdString());
    return names;
}

/** Fetches with `fetch`; the names, or "failed". */
template <typename Record, int Capacity, typename Fetch> Names fetched(Fetch fetch)
{
    const auto records = std::make_unique<Record[]>(Capacity);
    int count = -1;
    return fetch(&count, records.get()) == 0 ? namesIn(records.get(), count) : Names({"failed"});
}

Names sensors(const QString &dir)
{
    EXPECT_EQ(InitDBSensorsDebug(dir), 0);
    return fetched<CSensor, DebugSensorCapacity>(DBGetSensorsDebug);
}

Names events(const QString &)
{
    return fetched<CMessageEvent, DebugEventCapacity>(
        [](int *n, CMessageEvent *records) { return DBGetEventsDebug(n, records, nullptr); });
}

Names commands(const QString &)
{
    return fetched<CMessageCommand, DebugCommandCapacity>(
        [](int *n, CMessageCommand *records) { return DBGetCommandsDebug(n, records, nullptr); });
}

int openDescriptors()
{
    int count = 0;
    for (int i = 0; i < 256; ++i) {
        const int copy = dup(i);
        if (copy >= 0) {
            close(copy);
            ++count;
        }
    }
    return count;
}

bool startsWith(const Names &all, const Names &some)
{
    return some.size() <= all.size() && std::equal(some.begin(), some.end(), all.begin());
}
} // namespace

TEST(FailingFileOperation, WhatCouldBeReadIsShownAndTheNextFetchGetsAll)
{
    char name[] = "/tmp/obrim-operations-XXXXXX";
    const std::string path = mkdtemp(name);
    for (const char *file : {"DebugInitSensor.txt", "DebugInitEvents.txt", "DebugInitCommands.txt"})
        std::ofstream(path + '/' + file) << "{\nID=a\nSENSOR_ID=a\n}\n{\nID=b\nSENSOR_ID=b\n}\n";
    const QString dir = QString::fromStdString(path);
    ASSERT_EQ(InitDBEventsDebug(dir), 0);
    ASSERT_EQ(InitDBCommandsDebug(dir), 0);
    const Names all = {"a", "b"};
    const int descriptors = openDescriptors();
    for (Names (*fetch)(const QString &) : {sensors, events, commands}) {
        for (const bool onwards : {false, true}) {
            int failures = 0;
            Names got;
            for (int n = 0; runFailing(n, onwards, [&] { got = fetch(dir); }); ++n) {
                EXPECT_TRUE(startsWith(all, got)) << "operation " << n << ": " << ::testing::PrintToString(got);
                EXPECT_EQ(fetch(dir), all) << "after operation " << n;
                ++failures;
            }
            EXPECT_EQ(got, all);
            // Opening, its state, the stream, eight lines and the end of the file.
            EXPECT_EQ(failures, 12);
        }
    }
    EXPECT_EQ(openDescriptors(), descriptors);
    std::filesystem::remove_all(path);
}
