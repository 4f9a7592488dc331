// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checkerrun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace
{
// The program itself.

TEST(DBLibCheckProgram, listNamesEveryCheckOfARun)
{
    const CheckerRun list = run("--list");
    EXPECT_EQ(list.status, 0);
    for (const auto &[name, verdict] : run(library("good") + " --write" + Brief).verdicts)
        EXPECT_THAT(list.output, HasSubstr(name + " "));
}

TEST(DBLibCheckProgram, thePageForAuthorsDescribesEveryCheck)
{
    const std::string page = contentsOf(CHECKER_PAGE);
    const std::vector<Listed> checks = listedChecks();
    for (const Listed &check : checks) {
        // Not the whole page in a message for each.
        const bool described = page.find("`" + check.name + "`") != std::string::npos;
        EXPECT_TRUE(described) << check.name;
        const bool explained = page.find("| " + check.consequence + " |") != std::string::npos;
        EXPECT_TRUE(explained) << check.name << ": " << check.consequence;
    }
    EXPECT_GT(checks.size(), 80U);
}

TEST(DBLibCheckProgram, helpNamesEveryOption)
{
    const CheckerRun help = run("--help");
    EXPECT_EQ(help.status, 0);
    for (const char *option :
         {"--config", "--list", "--only ", "--only-failed", "--write", "--in-place", "--report", "--seed", "--timeout",
          "--memory", "--fetches", "--records", "--version", "Exit status:"})
        EXPECT_THAT(help.output, HasSubstr(option));
}

TEST(DBLibCheckProgram, versionIsTheProjects)
{
    const CheckerRun version = run("--version");
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.output, "dblib-check " PROJECT_VERSION "\n");
}

TEST(DBLibCheckProgram, whatFollowsFromAnEarlierFindingIsNoFindingOfItsOwn)
{
    const std::string checks = " --only event-identifier --only event-paging";
    const CheckerRun both = run(library("event-id0") + checks + Patient);
    EXPECT_EQ(both.verdicts, (Verdicts{{"event-identifier", "fail"}, {"event-paging", "skip"}}));
    EXPECT_THAT(both.output, HasSubstr("may follow from event-identifier: events page by page"));
    const CheckerRun alone = run(library("event-id0") + " --only event-paging" + Patient);
    EXPECT_EQ(alone.verdicts, (Verdicts{{"event-paging", "fail"}}));
}

TEST(DBLibCheckProgram, aWrongCommandLineIsToldWithStatus2)
{
    const std::string good = library("good") + " ";
    for (const std::string &arguments :
         {std::string(), std::string("/no/such/DBLib.a"), good + "--only no-such-check", good + "--config /no/such/dir",
          good + "--timeout 0", good + "--timeout x", good + "--memory -5", good + "--no-such-option", good + good}) {
        const CheckerRun result = run(arguments);
        EXPECT_EQ(result.status, 2) << arguments;
        EXPECT_THAT(result.output, HasSubstr("dblib-check: ")) << arguments;
    }
}

TEST(DBLibCheckProgram, onlyRunsWhatIsNamed)
{
    const CheckerRun result = run(library("good") + " --only size-query --only texts");
    EXPECT_EQ(result.verdicts, (Verdicts{{"size-query", "pass"}, {"texts", "pass"}}));
}

TEST(DBLibCheckProgram, onlyFailedPrintsNothingThatPassed)
{
    const CheckerRun result = run(library("print") + " --only-failed --only silent --only texts");
    EXPECT_EQ(result.verdicts, (Verdicts{{"silent", "warn"}}));
    EXPECT_THAT(result.output, HasSubstr("for the operator: "));
    EXPECT_THAT(result.output, HasSubstr("fetching"));
}

TEST(DBLibCheckProgram, aCrashIsToldWithItsSignalAndWhatWasCalled)
{
    const CheckerRun result = run(library("segfault") + " --only event-nmax");
    EXPECT_THAT(result.output, HasSubstr("SIGSEGV while fetching the first 2147483647 events"));
}

TEST(DBLibCheckProgram, aSeedRepeatsARun)
{
    const std::string arguments = library("event-mask-swapped") + " --only event-combined --seed ";
    const CheckerRun first = run(arguments + "11");
    EXPECT_THAT(first.output, HasSubstr("seed    11"));
    EXPECT_EQ(first.output, run(arguments + "11").output);
}

TEST(DBLibCheckProgram, theReportHoldsEveryVerdict)
{
    const Directory directory;
    const fs::path report = directory.path / "report.xml";
    const CheckerRun result =
        run(library("print") + " --only silent --only texts --only load --report " + report.string());
    EXPECT_EQ(result.status, 0) << result.output;
    const std::string text = contentsOf(report);
    EXPECT_THAT(text,
                HasSubstr("<testsuite name=\"dblib-check\" tests=\"3\" failures=\"0\" errors=\"0\" skipped=\"0\""));
    EXPECT_THAT(text, HasSubstr("name=\"silent\""));
    EXPECT_THAT(text, HasSubstr("warning: it printed"));
    const std::string crashed = library("segfault") + " --only event-nmax --report " + report.string();
    EXPECT_EQ(run(crashed).status, 1);
    EXPECT_THAT(contentsOf(report), HasSubstr("<error type=\"crash\" message=\"SIGSEGV"));
    EXPECT_EQ(run(library("good") + " --only load --report /no/such/report.xml").status, 2);
}
} // namespace
