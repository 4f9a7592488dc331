// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <elf.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

namespace
{
#ifdef __SANITIZE_ADDRESS__
constexpr bool sanitized = true;
#else
constexpr bool Sanitized = false;
#endif

/** Checks by name with their verdicts. */
using Verdicts = std::map<std::string, std::string>;

struct CheckerRun {
    int status = -1;
    std::string output;
    Verdicts verdicts;

    /** Those that are neither pass nor skip. */
    Verdicts complaints() const
    {
        Verdicts result;
        for (const auto &[name, verdict] : verdicts)
            if (verdict != "pass" && verdict != "skip")
                result[name] = verdict;
        return result;
    }
};

Verdicts readVerdicts(const std::string &output)
{
    static const std::vector<std::string> words = {"pass", "warn", "fail", "crash", "timeout", "skip"};
    Verdicts verdicts;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        std::string verdict;
        std::string name;
        fields >> verdict >> name;
        if (line[0] != ' ' && std::find(words.begin(), words.end(), verdict) != words.end())
            verdicts[name] = verdict;
    }
    return verdicts;
}

CheckerRun run(const std::string &arguments)
{
    CheckerRun result;
    std::FILE *pipe = popen((std::string("'") + DBLIB_CHECK + "' " + arguments + " 2>&1").c_str(), "r");
    std::array<char, 4096> buffer;
    for (std::size_t got = 0; pipe && (got = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;)
        result.output.append(buffer.data(), got);
    const int status = pipe ? pclose(pipe) : -1;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.verdicts = readVerdicts(result.output);
    return result;
}

std::string library(const std::string &folder)
{
    return std::string(CHECKER_LIBRARIES) + "/" + folder + "/Libs/DBLib.a";
}

/** Longer than any check takes on the busiest machine. */
const char *const Patient = " --seed 7 --timeout 600 ";

/** The same, and the checks whose length can be chosen are short. */
const char *const Brief = " --seed 7 --timeout 600 --fetches 2000 --records 1000 ";

class Directory
{
public:
    Directory()
    {
        std::string pattern = (fs::temp_directory_path() / "tst_dblibcheck-XXXXXX").string();
        path = mkdtemp(pattern.data());
    }
    ~Directory()
    {
        fs::remove_all(path);
    }
    fs::path path;
};

std::string contentsOf(const fs::path &path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// One fault each: who must speak, and who must not.

struct FaultCase {
    const char *folder;
    Verdicts complaints;
    const char *arguments = "";
    bool damagesMemory = false; ///< a sanitizer ends the process at once, in every check that meets the fault
    const char *hanging = "";   ///< the check in which the library does not come back
};

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

class DBLibCheckFault : public testing::TestWithParam<FaultCase>
{
};

/** What --list says of one check. */
struct Listed {
    std::string name;
    std::string consequence;
    bool writes = false;
};

std::vector<Listed> listedChecks()
{
    const std::string lead = "        for the operator: ";
    std::vector<Listed> checks;
    std::istringstream list(run("--list").output);
    for (std::string line; std::getline(list, line);)
        if (line.rfind(lead, 0) == 0 && !checks.empty())
            checks.back().consequence = line.substr(lead.size());
        else
            checks.push_back({line.substr(0, line.find(' ')), {}, line.find("(--write)") != std::string::npos});
    return checks;
}

/** The names of all checks that do not write but one, as arguments. */
std::string allBut(const std::string &check)
{
    std::string arguments;
    for (const Listed &listed : listedChecks())
        if (listed.name != check && !listed.writes)
            arguments += " --only " + listed.name;
    return arguments;
}

/** All checks; the one that hangs alone, as it would else be waited for as long as for the slowest of the others. */
CheckerRun runAll(const FaultCase &fault)
{
    const std::string checked = "'" + library(fault.folder) + "'";
    if (!*fault.hanging)
        return run(checked + Brief + fault.arguments);
    CheckerRun result = run(checked + Brief + allBut(fault.hanging));
    const CheckerRun hanging = run(checked + " --timeout 3 --only " + fault.hanging);
    result.status = hanging.status;
    result.output += hanging.output;
    result.verdicts.insert(hanging.verdicts.begin(), hanging.verdicts.end());
    return result;
}

TEST_P(DBLibCheckFault, isNamedByTheRightCheckAndNoOther)
{
    const FaultCase &fault = GetParam();
    const CheckerRun result = runAll(fault);
    SCOPED_TRACE(result.output);
    Verdicts complaints = result.complaints();
    EXPECT_GT(result.verdicts.size(), 50U);
    if (Sanitized && fault.damagesMemory) {
        for (const auto &[name, verdict] : fault.complaints) {
            EXPECT_EQ(complaints.count(name), 1U) << name;
            complaints.erase(name);
        }
        for (const auto &[name, verdict] : complaints) {
            // A crash where the console would not have called is a warning.
            EXPECT_EQ(verdict, name == "release-twice" ? "warn" : "crash") << name;
        }
        return;
    }
    EXPECT_EQ(complaints, fault.complaints);
    bool bad = false;
    for (const auto &[name, verdict] : fault.complaints)
        bad = bad || verdict != "warn";
    EXPECT_EQ(result.status, bad ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(
    Calls, DBLibCheckFault,
    testing::Values(
        FaultCase{"crash-at-load", {{"load", "crash"}}}, FaultCase{"missing-FDBGetEvents", {{"symbols", "fail"}}},
        FaultCase{"missing-FDBDeleteEvent", {{"symbols", "fail"}}},
        FaultCase{"missing-dependency", {{"dependencies", "fail"}}},
        FaultCase{"map-wrong", {{"symbols", "fail"}, {"name-map", "fail"}}},
        FaultCase{"map-strange", {{"name-map", "warn"}}}, FaultCase{"sensor-size", {{"size-query", "fail"}}},
        FaultCase{"size-half", {{"size-query", "fail"}}}, FaultCase{"command-size", {{"size-query", "fail"}}},
        FaultCase{"size-unstable", {{"size-query", "fail"}}}, FaultCase{"initialise-fails", {{"initialise", "warn"}}},
        FaultCase{"second-initialise", {{"initialise-twice", "fail"}}},
        FaultCase{"initialise-empties", {{"initialise-twice", "fail"}}},
        FaultCase{"sensor-again", {{"initialise-twice", "fail"}}},
        FaultCase{"crash-uninitialised", {{"before-initialise", "crash"}}},
        FaultCase{"crash-missing-directory", {{"missing-directory", "crash"}}},
        FaultCase{"result", {{"status", "fail"}}}, FaultCase{"count-null-array", {{"count", "fail"}}},
        FaultCase{"count-negative", {{"count", "fail"}}}, FaultCase{"count-too-high", {{"count", "fail"}}},
        FaultCase{"release-null-crash", {{"release-null", "crash"}, {"release-twice", "warn"}}},
        FaultCase{"release-ignored", {{"release-once", "fail"}, {"endurance", "fail"}}},
        FaultCase{"pointer-kept", {{"release-twice", "warn"}}}, FaultCase{"release-last", {{"release-order", "fail"}}},
        FaultCase{"static-array", {{"valid-until-release", "fail"}}},
        FaultCase{"request-changed", {{"request-unchanged", "fail"}}},
        FaultCase{"mask-lowered", {{"request-unchanged", "fail"}}},
        FaultCase{"mask-freed", {{"request-unchanged", "fail"}}, "", true}),
    testName);

INSTANTIATE_TEST_SUITE_P(Memory, DBLibCheckFault,
                         testing::Values(FaultCase{"overrun-count", {{"overrun", "fail"}}, "", true},
                                         FaultCase{"overrun-address", {{"overrun", "fail"}}, "", true},
                                         FaultCase{"overrun-request", {{"overrun", "fail"}}, "", true},
                                         FaultCase{"mask-overread", {{"overrun", "fail"}}, "", true},
                                         FaultCase{"overrun-block", {{"memory", "fail"}}, "", true},
                                         FaultCase{"array-overread", {{"memory", "fail"}}, "", true},
                                         FaultCase{"use-after-free", {{"memory", "fail"}}, "", true},
                                         FaultCase{"double-free", {{"memory", "fail"}}, "", true},
                                         FaultCase{"leak-memory", {{"endurance", "fail"}}, "--fetches 20000"},
                                         FaultCase{"leak-descriptor", {{"endurance", "fail"}}},
                                         FaultCase{"leak-thread", {{"endurance", "fail"}}}),
                         testName);

INSTANTIATE_TEST_SUITE_P(
    Process, DBLibCheckFault,
    testing::Values(
        FaultCase{"print", {{"silent", "warn"}}}, FaultCase{"print-error", {{"silent", "warn"}}},
        FaultCase{"print-at-load", {{"silent", "warn"}}}, FaultCase{"close-descriptors", {{"descriptors", "fail"}}},
        FaultCase{"close-output", {{"descriptors", "fail"}}}, FaultCase{"fork", {{"processes", "fail"}}},
        FaultCase{"fork-daemon", {{"processes", "fail"}}}, FaultCase{"change-directory", {{"process-state", "fail"}}},
        FaultCase{"change-locale", {{"process-state", "fail"}}}, FaultCase{"change-umask", {{"process-state", "fail"}}},
        FaultCase{"ignore-sigterm", {{"process-state", "fail"}}},
        FaultCase{"block-signals", {{"process-state", "fail"}}}, FaultCase{"first-thread-only", {{"thread", "fail"}}},
        FaultCase{"abort-at-exit", {{"exit", "crash"}}},
        FaultCase{"hang-at-exit", {{"exit", "timeout"}}, "", false, "exit"},
        FaultCase{"segfault", {{"event-nmax", "crash"}}}, FaultCase{"abort", {{"event-nmax", "crash"}}},
        FaultCase{"stack-overflow", {{"event-nmax", "crash"}}}, FaultCase{"exit", {{"event-nmax", "crash"}}},
        FaultCase{"quick-exit", {{"event-nmax", "crash"}}}, FaultCase{"throws", {{"event-nmax", "fail"}}},
        FaultCase{"throws-number", {{"event-nmax", "fail"}}},
        FaultCase{"huge-allocation", {{"event-nmax", "fail"}}, "", true},
        FaultCase{"endless-loop", {{"event-nmax", "timeout"}}, "", false, "event-nmax"},
        FaultCase{"ignores-sigterm", {{"event-nmax", "timeout"}}, "", false, "event-nmax"}),
    testName);

INSTANTIATE_TEST_SUITE_P(
    Answers, DBLibCheckFault,
    testing::Values(
        FaultCase{"text-unterminated", {{"texts", "fail"}}}, FaultCase{"text-null", {{"texts", "fail"}}},
        FaultCase{"length-too-long", {{"texts", "fail"}}}, FaultCase{"length-negative", {{"texts", "fail"}}},
        FaultCase{"length-padded", {{"texts", "warn"}}}, FaultCase{"command-text-open", {{"texts", "fail"}}},
        FaultCase{"parameters-missing", {{"texts", "fail"}}}, FaultCase{"value-short", {{"texts", "fail"}}},
        FaultCase{"sensor-twice", {{"sensors", "warn"}}}, FaultCase{"sensor-nameless", {{"sensors", "warn"}}},
        FaultCase{"sensor-order", {{"sensors", "warn"}}}, FaultCase{"slow", {{"speed", "warn"}}},
        FaultCase{"event-id0", {{"event-identifier", "fail"}, {"event-combined", "fail"}, {"event-paging", "fail"}}},
        FaultCase{"event-id1", {{"event-identifier", "fail"}, {"event-combined", "fail"}, {"event-paging", "fail"}}},
        FaultCase{"event-time0", {{"event-time", "fail"}, {"event-combined", "fail"}}},
        FaultCase{"event-time1", {{"event-time", "fail"}, {"event-combined", "fail"}}},
        FaultCase{"negative-time", {{"event-time", "fail"}, {"event-combined", "fail"}}},
        FaultCase{"event-mask-swapped", {{"event-sensor-mask", "fail"}, {"event-combined", "fail"}}},
        FaultCase{"mask-letter-case", {{"event-sensor-mask", "fail"}, {"event-combined", "fail"}}},
        FaultCase{"name-mask-swapped", {{"event-name-mask", "fail"}, {"event-combined", "fail"}}},
        FaultCase{"types-swapped", {{"event-type", "fail"}, {"event-combined", "fail"}}},
        FaultCase{"sensor-type-ignored", {{"event-type", "fail"}, {"event-combined", "fail"}}},
        FaultCase{"switch-ignored", {{"event-switch", "fail"}}},
        FaultCase{"command-switch-ignored", {{"command-switch", "fail"}}},
        FaultCase{"command-type-ignored", {{"command-type", "fail"}, {"command-combined", "fail"}}},
        FaultCase{"command-id0",
                  {{"command-identifier", "fail"}, {"command-combined", "fail"}, {"command-paging", "fail"}}},
        FaultCase{"command-id1",
                  {{"command-identifier", "fail"}, {"command-combined", "fail"}, {"command-paging", "fail"}}},
        FaultCase{"command-time0", {{"command-time", "fail"}, {"command-combined", "fail"}}},
        FaultCase{"command-time1", {{"command-time", "fail"}, {"command-combined", "fail"}}},
        FaultCase{"command-mask-swapped", {{"command-sensor-mask", "fail"}, {"command-combined", "fail"}}},
        FaultCase{"nmax-ignored", {{"event-nmax", "fail"}, {"command-nmax", "fail"}}},
        FaultCase{"nmax-negative", {{"event-nmax", "fail"}, {"command-nmax", "fail"}}},
        FaultCase{"count-short", {{"event-nmax", "fail"}, {"command-nmax", "fail"}}},
        FaultCase{"ends-swapped",
                  {{"event-first-last", "fail"},
                   {"event-paging", "fail"},
                   {"command-first-last", "fail"},
                   {"command-paging", "fail"}}},
        FaultCase{"order-ascending", {{"event-order", "warn"}, {"command-order", "warn"}}},
        FaultCase{"order-with-lowest", {{"event-order", "warn"}, {"command-order", "warn"}}},
        FaultCase{
            "order-random",
            {{"event-order", "warn"}, {"event-stable", "fail"}, {"command-order", "warn"}, {"command-stable", "fail"}}},
        FaultCase{"same-identifier", {{"event-unique", "fail"}}},
        FaultCase{"command-same-identifier", {{"command-unique", "fail"}}}),
    testName);

INSTANTIATE_TEST_SUITE_P(
    Writes, DBLibCheckFault,
    testing::Values(
        FaultCase{"fixed-place", {{"separate-copy", "fail"}}, "--write"},
        FaultCase{"bytes-lost", {{"event-put", "fail"}, {"event-bytes", "fail"}}, "--write"},
        FaultCase{"text-cut", {{"event-bytes", "fail"}}, "--write"},
        FaultCase{"command-text-cut", {{"command-bytes", "fail"}}, "--write"},
        FaultCase{"print-at-put", {{"write-silent", "warn"}}, "--write"},
        FaultCase{"put-overrun", {{"write-memory", "fail"}}, "--write", true},
        FaultCase{"large-cut", {{"many-put", "fail"}, {"many-records", "fail"}}, "--write"},
        FaultCase{"parameter-lost", {{"event-put", "fail"}}, "--write"},
        FaultCase{"command-time-lost", {{"command-put", "fail"}}, "--write"},
        FaultCase{"delete-ignored", {{"event-delete", "fail"}}, "--write"},
        FaultCase{"delete-neighbour", {{"event-delete", "fail"}, {"command-delete", "fail"}}, "--write"},
        FaultCase{"delete-unknown", {{"event-delete-unknown", "fail"}, {"command-delete-unknown", "fail"}}, "--write"},
        FaultCase{"delete-throws", {{"command-delete-unknown", "fail"}}, "--write"},
        FaultCase{
            "reused-identifier", {{"event-new-identifier", "fail"}, {"command-new-identifier", "fail"}}, "--write"},
        FaultCase{"reused-after-restart", {{"event-new-identifier", "fail"}}, "--write"},
        FaultCase{"put-takes-text", {{"put-unchanged", "fail"}}, "--write"},
        FaultCase{"put-ignored",
                  {{"event-put", "fail"},
                   {"event-bytes", "fail"},
                   {"event-delete", "fail"},
                   {"event-delete-unknown", "fail"},
                   {"event-new-identifier", "fail"},
                   {"many-put", "fail"}},
                  "--write"},
        FaultCase{"put-refused",
                  {{"event-put", "fail"},
                   {"event-bytes", "fail"},
                   {"event-delete", "fail"},
                   {"event-delete-unknown", "fail"},
                   {"event-new-identifier", "fail"},
                   {"many-put", "fail"}},
                  "--write"},
        FaultCase{"put-crashes",
                  {{"fill", "crash"},
                   {"event-put", "crash"},
                   {"event-bytes", "crash"},
                   {"event-delete", "crash"},
                   {"event-delete-unknown", "crash"},
                   {"event-new-identifier", "crash"},
                   {"put-unchanged", "crash"},
                   {"write-silent", "crash"},
                   {"write-memory", "crash"},
                   {"many-put", "crash"}},
                  "--write"}),
    testName);

#ifndef __SANITIZE_ADDRESS__ // a sanitizer's heap needs more than any limit allows
INSTANTIATE_TEST_SUITE_P(MemoryLimit, DBLibCheckFault,
                         testing::Values(FaultCase{"eats-memory", {{"event-nmax", "crash"}}, "--memory 512"}),
                         testName);
#endif

#if __SIZEOF_POINTER__ == 8
INSTANTIATE_TEST_SUITE_P(WideTimes, DBLibCheckFault,
                         testing::Values(FaultCase{"time-cut", {{"event-time", "fail"}, {"event-combined", "fail"}}}),
                         testName);
#endif

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
    std::string bytes = contentsOf(library("good"));
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
    const CheckerRun result = run("'" + library("good") + "'" + Patient);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_EQ(result.status, 0);
    EXPECT_GT(result.verdicts.size(), 50U);
}

TEST(DBLibCheckGood, aGoodLibraryPassesEveryCheckThatWrites)
{
    const CheckerRun result = run("'" + library("good") + "' --write --fetches 5000" + Patient);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.verdicts.at("event-new-identifier"), "pass");
}

TEST(DBLibCheckGood, aLibraryThatKeepsItsRecordsPassesEveryCheckThatWrites)
{
    const CheckerRun result = run("'" + library("persistent") + "' --write" + Brief);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_EQ(result.verdicts.at("separate-copy"), "pass");
}

TEST(DBLibCheckGood, aLibraryThatRefusesLargeAnswersHonestlyPasses)
{
    const CheckerRun result = run("'" + library("large-refused") + "' --write" + Brief);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_THAT(result.output, HasSubstr("1000 were refused with the result -12"));
    EXPECT_EQ(result.verdicts.at("many-records"), "pass");
}

TEST(DBLibCheckGood, aLongCheckMayTakeMoreThanTheLimitWhileItGetsOn)
{
    const std::string checked = "'" + library("put-pauses") + "' --write --only many-put";
    const CheckerRun result = run(checked + " --timeout 20 --records 2260");
    EXPECT_EQ(result.verdicts.at("many-put"), "pass") << result.output;
}

TEST(DBLibCheckGood, aLongCheckSaysHowFarItCameWithoutGettingOn)
{
    const std::string checked = "'" + library("put-crawls") + "' --write --only many-put";
    const CheckerRun result = run(checked + " --timeout 10 --records 1000000");
    EXPECT_EQ(result.verdicts.at("many-put"), "skip") << result.output;
    EXPECT_THAT(result.output, HasSubstr("events could be put, and all came"));
}

TEST(DBLibCheckGood, aCLibraryPassesWithoutPutEventAndDeletes)
{
    const CheckerRun result = run("'" + library("good-c") + "' --write" + Brief);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_EQ(result.verdicts.at("event-put"), "skip");
    EXPECT_EQ(result.verdicts.at("command-put"), "pass");
    EXPECT_THAT(result.output, HasSubstr("a C library"));
}

TEST(DBLibCheckGood, aRenamedLibraryPassesByItsMap)
{
    const CheckerRun result = run("'" + library("good-renamed") + "' --write" + Brief);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_THAT(result.output, HasSubstr("a C++ library"));
}

TEST(DBLibCheckGood, theExampleOfTheAuthorsPagePassesEveryCheckThatWrites)
{
    const CheckerRun result = run(std::string("'") + DBLIB_EXAMPLE + "' --write" + Brief);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_EQ(result.verdicts.at("event-combined"), "pass");
    EXPECT_EQ(result.verdicts.at("command-paging"), "pass");
}

/** An installation with the SQLite library. */
class SqliteInstallation : public Directory
{
public:
    SqliteInstallation()
    {
        fs::create_directories(path / "Libs");
        fs::create_directories(path / "Config");
        fs::copy_file(DBLIB_SQLITE, path / "Libs/DBLib.a");
    }
    std::string arguments() const
    {
        return "'" + (path / "Libs/DBLib.a").string() + "' ";
    }
};

TEST(DBLibCheckSqlite, anEmptyInstallationPassesEveryCheckThatWrites)
{
    const SqliteInstallation installation;
    const CheckerRun result = run(installation.arguments() + "--write" + Brief);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_EQ(result.verdicts.at("event-new-identifier"), "pass");
    EXPECT_EQ(result.verdicts.at("command-combined"), "pass");
}

/** Writes history into the store. */
bool fillStore(const SqliteInstallation &installation, int events)
{
    const std::string command = std::string("'") + SENSOR_SIM + "' --config '" +
                                (installation.path / "Config").string() + "' --fill " + std::to_string(events) +
                                " --seed 5 > /dev/null 2>&1";
    return std::system(command.c_str()) == 0;
}

TEST(DBLibCheckSqlite, aFilledInstallationPassesEveryCheck)
{
    const SqliteInstallation installation;
    ASSERT_TRUE(fillStore(installation, 2000));
    const CheckerRun result = run(installation.arguments() + Brief);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_EQ(result.verdicts.at("event-combined"), "pass");
    EXPECT_EQ(result.verdicts.at("many-records"), "pass");
}

TEST(DBLibCheckSqlite, aStoreWithMoreRecordsThanAreComparedPasses)
{
    const SqliteInstallation installation;
    ASSERT_TRUE(fillStore(installation, 25000));
    const CheckerRun result =
        run(installation.arguments() +
            "--records 25000 --only event-identifier --only event-nmax --only event-first-last --only event-order "
            "--only event-paging --only many-records" +
            Patient);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_EQ(result.verdicts.at("event-paging"), "pass");
    EXPECT_THAT(result.output, HasSubstr("25000 events"));
}

// The program itself.

TEST(DBLibCheckProgram, listNamesEveryCheckOfARun)
{
    const CheckerRun list = run("--list");
    EXPECT_EQ(list.status, 0);
    for (const auto &[name, verdict] : run("'" + library("good") + "' --write" + Brief).verdicts)
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
    EXPECT_GT(checks.size(), 60U);
}

TEST(DBLibCheckProgram, helpNamesEveryOption)
{
    const CheckerRun help = run("--help");
    EXPECT_EQ(help.status, 0);
    for (const char *option : {"--config", "--list", "--only ", "--only-failed", "--write", "--report", "--seed",
                               "--timeout", "--memory", "--fetches", "--records"})
        EXPECT_THAT(help.output, HasSubstr(option));
}

TEST(DBLibCheckProgram, aWrongCommandLineIsToldWithStatus2)
{
    const std::string good = "'" + library("good") + "' ";
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
    const CheckerRun result = run("'" + library("good") + "' --only size-query --only texts");
    EXPECT_EQ(result.verdicts, (Verdicts{{"size-query", "pass"}, {"texts", "pass"}}));
}

TEST(DBLibCheckProgram, onlyFailedPrintsNothingThatPassed)
{
    const CheckerRun result = run("'" + library("print") + "' --only-failed --only silent --only texts");
    EXPECT_EQ(result.verdicts, (Verdicts{{"silent", "warn"}}));
    EXPECT_THAT(result.output, HasSubstr("for the operator: "));
    EXPECT_THAT(result.output, HasSubstr("fetching"));
}

TEST(DBLibCheckProgram, aCrashIsToldWithItsSignalAndWhatWasCalled)
{
    const CheckerRun result = run("'" + library("segfault") + "' --only event-nmax");
    EXPECT_THAT(result.output, HasSubstr("SIGSEGV while fetching the first 2147483647 events"));
}

TEST(DBLibCheckProgram, aSeedRepeatsARun)
{
    const std::string arguments = "'" + library("event-mask-swapped") + "' --only event-combined --seed ";
    const CheckerRun first = run(arguments + "11");
    EXPECT_THAT(first.output, HasSubstr("seed    11"));
    EXPECT_EQ(first.output, run(arguments + "11").output);
}

TEST(DBLibCheckProgram, theReportHoldsEveryVerdict)
{
    const Directory directory;
    const fs::path report = directory.path / "report.xml";
    const CheckerRun result =
        run("'" + library("print") + "' --only silent --only texts --only load --report " + report.string());
    EXPECT_EQ(result.status, 0) << result.output;
    const std::string text = contentsOf(report);
    EXPECT_THAT(text,
                HasSubstr("<testsuite name=\"dblib-check\" tests=\"3\" failures=\"0\" errors=\"0\" skipped=\"0\""));
    EXPECT_THAT(text, HasSubstr("name=\"silent\""));
    EXPECT_THAT(text, HasSubstr("warning: it printed"));
    const std::string crashed = "'" + library("segfault") + "' --only event-nmax --report " + report.string();
    EXPECT_EQ(run(crashed).status, 1);
    EXPECT_THAT(contentsOf(report), HasSubstr("<error type=\"crash\" message=\"SIGSEGV"));
    EXPECT_EQ(run("'" + library("good") + "' --only load --report /no/such/report.xml").status, 2);
}

TEST(DBLibCheckProgram, theInstallationIsNotTouchedByWriting)
{
    const Directory directory;
    fs::create_directories(directory.path / "Libs");
    fs::create_directories(directory.path / "Config");
    fs::create_directories(directory.path / "tmp");
    fs::copy_file(library("persistent"), directory.path / "Libs/DBLib.a");
    ASSERT_EQ(mkfifo((directory.path / "Config/pipe").c_str(), 0600), 0);
    setenv("TMPDIR", (directory.path / "tmp").c_str(), 1);
    const CheckerRun result = run("'" + (directory.path / "Libs/DBLib.a").string() + "' --write" + Brief);
    unsetenv("TMPDIR");
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_FALSE(fs::exists(directory.path / "Config/events.log") &&
                 contentsOf(directory.path / "Config/events.log") != "");
    EXPECT_TRUE(fs::is_empty(directory.path / "tmp"));
}

/** What a process has mapped; nothing of one that is gone, which may come to pass while it is read. */
std::string mappingsOf(const fs::path &process)
{
    std::string text;
    if (std::FILE *file = std::fopen((process / "maps").c_str(), "re")) {
        std::array<char, 4096> buffer;
        for (std::size_t got = 0; (got = fread(buffer.data(), 1, buffer.size(), file)) > 0;)
            text.append(buffer.data(), got);
        std::fclose(file);
    }
    return text;
}

/** Whether any process has this file mapped. */
bool inUse(const std::string &file)
{
    for (const fs::directory_entry &entry : fs::directory_iterator("/proc"))
        if (mappingsOf(entry.path()).find(file) != std::string::npos)
            return true;
    return false;
}

TEST(DBLibCheckProgram, noProcessOfALibraryOutlivesTheRun)
{
    for (const char *fault : {"fork-daemon", "fork"}) {
        // A file of this test's own: others run these libraries at the same time.
        const Directory directory;
        const std::string copy = (directory.path / "DBLib.a").string();
        fs::copy_file(library(fault), copy);
        const CheckerRun result = run("'" + copy + "' --only processes --only texts" + Patient);
        EXPECT_EQ(result.verdicts, (Verdicts{{"processes", "fail"}, {"texts", "pass"}}));
        EXPECT_FALSE(inUse(copy));
    }
}

TEST(DBLibCheckProgram, theSearchForProcessesFindsOne)
{
    const std::string self = fs::read_symlink("/proc/self/exe").string();
    EXPECT_TRUE(inUse(self));
}

TEST(DBLibCheckProgram, anInterruptionEndsTheRunAndCleansUp)
{
    const Directory directory;
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        setenv("TMPDIR", directory.path.c_str(), 1);
        dup2(ends[1], STDOUT_FILENO);
        execl(DBLIB_CHECK, DBLIB_CHECK, "--timeout", "86400", "--only", "size-query", "--only", "event-nmax",
              library("ignores-sigterm").c_str(), static_cast<char *>(nullptr));
        _exit(127);
    }
    close(ends[1]);
    std::string output;
    // Once the check before the endless one is told, the endless one runs or is about to.
    for (char c = 0; output.find("size-query") == std::string::npos && read(ends[0], &c, 1) == 1;)
        output += c;
    kill(child, SIGTERM);
    int status = 0;
    waitpid(child, &status, 0);
    close(ends[0]);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_TRUE(fs::is_empty(directory.path));
}
} // namespace
