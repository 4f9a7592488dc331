// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checkerrun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <elf.h>
#include <fstream>
#include <sys/stat.h>

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace
{
// Files that are no library.

TEST(DBLibCheckFile, aTextIsNoLibrary)
{
    const Directory directory;
    std::ofstream(directory.path / "DBLib.a") << "no library\n";
    const CheckerRun result = run((directory.path / "DBLib.a").string());
    EXPECT_EQ(result.complaints(), (Verdicts{{"file", "fail"}}));
    EXPECT_EQ(result.verdicts.at("event-paging"), "skip");
    EXPECT_THAT(result.output, HasSubstr("is not an ELF file"));
    EXPECT_EQ(result.status, 1);
}

TEST(DBLibCheckFile, aStaticArchiveIsNamedAsOne)
{
    const Directory directory;
    std::ofstream(directory.path / "DBLib.a") << "!<arch>\n";
    const CheckerRun result = run((directory.path / "DBLib.a").string());
    EXPECT_EQ(result.complaints(), (Verdicts{{"file", "fail"}}));
    EXPECT_THAT(result.output, HasSubstr("is a static archive"));
}

TEST(DBLibCheckFile, aLibraryOfAnotherWordWidthIsNamedAsOne)
{
    const Directory directory;
    constexpr bool wide = sizeof(void *) == 8;
    std::string header = {'\x7f', 'E', 'L', 'F', char(wide ? ELFCLASS32 : ELFCLASS64), ELFDATA2LSB, EV_CURRENT};
    header.resize(100, '\0');
    std::ofstream(directory.path / "DBLib.a") << header;
    const CheckerRun result = run((directory.path / "DBLib.a").string());
    EXPECT_EQ(result.complaints(), (Verdicts{{"file", "fail"}}));
    EXPECT_THAT(result.output, HasSubstr(wide ? "is a 32-bit library, this program is 64-bit"
                                              : "is a 64-bit library, this program is 32-bit"));
}

TEST(DBLibCheckFile, aLibraryThatNeedsOneWhichIsNotThereIsRefusedByTheLoader)
{
    const Directory directory;
    std::string bytes = contentsOf(libraryFile("good"));
    const std::string needed = "libstdc++.so.6";
    const std::string missing = "libmissing.so6";
    ASSERT_EQ(needed.size(), missing.size());
    ASSERT_NE(bytes.find(needed), std::string::npos);
    for (std::size_t at = 0; (at = bytes.find(needed, at)) != std::string::npos;)
        bytes.replace(at, needed.size(), missing);
    std::ofstream(directory.path / "DBLib.a") << bytes;
    const CheckerRun result = run((directory.path / "DBLib.a").string());
    EXPECT_EQ(result.complaints(), (Verdicts{{"load", "fail"}})) << result.output;
    EXPECT_THAT(result.output, HasSubstr(missing));
}

TEST(DBLibCheckFile, aPipeDoesNotBlock)
{
    const Directory directory;
    ASSERT_EQ(mkfifo((directory.path / "DBLib.a").c_str(), 0600), 0);
    const CheckerRun result = run((directory.path / "DBLib.a").string());
    EXPECT_EQ(result.complaints(), (Verdicts{{"file", "fail"}}));
}

// Libraries that keep the contract.

TEST(DBLibCheckGood, aGoodLibraryPassesEveryCheck)
{
    const CheckerRun result = run(library("good") + " --fetches 20000" + Patient);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_EQ(result.status, 0);
    EXPECT_GT(result.verdicts.size(), 60U);
}

TEST(DBLibCheckGood, aGoodLibraryPassesEveryCheckThatWrites)
{
    const CheckerRun result = run(library("good") + " --write --fetches 5000 --records 200000" + Patient);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.verdicts.at("event-new-identifier"), "pass");
}

TEST(DBLibCheckGood, aLibraryThatKeepsItsRecordsPassesEveryCheckThatWrites)
{
    const CheckerRun result = run(library("persistent") + " --write" + Brief);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    for (const char *check : {"separate-copy", "event-restart", "command-restart"})
        EXPECT_EQ(result.verdicts.at(check), "pass") << check;
}

TEST(DBLibCheckGood, aStoreInMemoryIsNotBlamedForARestart)
{
    const CheckerRun result = run(library("good") + " --write --only event-restart --only command-restart" + Patient);
    EXPECT_EQ(result.verdicts, (Verdicts{{"event-restart", "skip"}, {"command-restart", "skip"}})) << result.output;
    EXPECT_THAT(result.output, HasSubstr("a store in memory"));
}

TEST(DBLibCheckGood, aLibraryThatRefusesLargeAnswersHonestlyPasses)
{
    const CheckerRun result = run(library("large-refused") + " --write" + Brief);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_THAT(result.output, HasSubstr("1000 were refused with the result -12"));
    EXPECT_EQ(result.verdicts.at("many-records"), "pass");
}

TEST(DBLibCheckGood, aLongCheckMayTakeMoreThanTheLimitWhileItGetsOn)
{
    const std::string checked = library("put-pauses") + " --write --only many-put";
    const CheckerRun result = run(checked + " --timeout 20 --records 2260");
    EXPECT_EQ(result.verdicts.at("many-put"), "pass") << result.output;
}

TEST(DBLibCheckGood, aLongCheckSaysHowFarItCameWithoutGettingOn)
{
    const std::string checked = library("put-crawls") + " --write --only many-put";
    const CheckerRun result = run(checked + " --timeout 10 --records 1000000");
    EXPECT_EQ(result.verdicts.at("many-put"), "skip") << result.output;
    EXPECT_THAT(result.output, HasSubstr("events could be put, and all came"));
}

TEST(DBLibCheckGood, identifiersMayBeginAnywhereAndLeaveGaps)
{
    for (const char *folder : {"ids-negative", "ids-sparse"}) {
        const CheckerRun result = run(library(folder) + " --write" + Brief);
        EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
        EXPECT_EQ(result.verdicts.at("event-delete"), "pass");
    }
}

TEST(DBLibCheckGood, aCacheThatStopsGrowingIsNoLeak)
{
    const CheckerRun result = run(library("cache-that-stops") + Brief + "--fetches 2000");
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_EQ(result.verdicts.at("endurance"), "pass");
}

TEST(DBLibCheckGood, aLibraryThatTakesFirstAndLastByTimeIsWarnedOfItOnce)
{
    const CheckerRun result = run(library("takes-by-time") + " --write" + Brief);
    EXPECT_EQ(result.complaints(), (Verdicts{{"by-identifier", "warn"}})) << result.output;
    EXPECT_EQ(result.verdicts.at("event-put"), "pass");
    EXPECT_EQ(result.status, 0);
}

TEST(DBLibCheckGood, aCLibraryPassesWithoutPutEventAndDeletes)
{
    const CheckerRun result = run(library("good-c") + " --write" + Brief);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_EQ(result.verdicts.at("event-put"), "skip");
    EXPECT_EQ(result.verdicts.at("command-put"), "pass");
    EXPECT_THAT(result.output, HasSubstr("a C library"));
}

TEST(DBLibCheckGood, aRenamedLibraryPassesByItsMap)
{
    const CheckerRun result = run(library("good-renamed") + " --write" + Brief);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_THAT(result.output, HasSubstr("all ten functions"));
}

TEST(DBLibCheckGood, theExampleOfTheAuthorsPagePassesEveryCheckThatWrites)
{
    const CheckerRun result = run(std::string("'") + DBLIB_EXAMPLE + "' --write" + Brief);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_EQ(result.verdicts.at("event-combined"), "pass");
    EXPECT_EQ(result.verdicts.at("command-paging"), "pass");
}

TEST(DBLibCheckSqlite, anEmptyInstallationPassesEveryCheckThatWrites)
{
    const Installation installation(DBLIB_SQLITE);
    const CheckerRun result = run(installation.library() + " --write" + Brief);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_EQ(result.verdicts.at("event-new-identifier"), "pass");
    EXPECT_EQ(result.verdicts.at("command-combined"), "pass");
}

/** Writes history into the store. */
bool fillStore(const Installation &installation, int events)
{
    const std::string command = std::string("'") + SENSOR_SIM + "' --config '" + installation.config().string() +
                                "' --fill " + std::to_string(events) + " --seed 5 > /dev/null 2>&1";
    return std::system(command.c_str()) == 0;
}

TEST(DBLibCheckSqlite, aFilledInstallationPassesEveryCheck)
{
    const Installation installation(DBLIB_SQLITE);
    ASSERT_TRUE(fillStore(installation, 2000));
    const CheckerRun result = run(installation.library() + Brief);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_EQ(result.verdicts.at("event-combined"), "pass");
    EXPECT_EQ(result.verdicts.at("many-records"), "pass");
}

TEST(DBLibCheckSqlite, aStoreWithMoreRecordsThanAreComparedPasses)
{
    const Installation installation(DBLIB_SQLITE);
    ASSERT_TRUE(fillStore(installation, 25000));
    const CheckerRun result =
        run(installation.library() +
            " --records 25000 --only event-identifier --only event-nmax --only event-first-last --only event-order "
            "--only event-paging --only many-records" +
            Patient);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_EQ(result.verdicts.at("event-paging"), "pass");
    EXPECT_THAT(result.output, HasSubstr("25000 events"));
}
} // namespace
