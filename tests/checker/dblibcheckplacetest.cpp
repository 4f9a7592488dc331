// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
//
// Where the checker lets a library write, and what it leaves behind itself.
#include "checkerrun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

namespace
{
/** Sets a variable of the environment for as long as it lives. */
class Variable
{
public:
    Variable(const char *name, const std::string &value)
        : m_name(name)
    {
        setenv(name, value.c_str(), 1);
    }
    ~Variable()
    {
        unsetenv(m_name);
    }
    Variable(const Variable &) = delete;
    Variable &operator=(const Variable &) = delete;

private:
    const char *m_name;
};

/** Whether this kernel lets the checker see what a library writes. Without it these tests have nothing to look at. */
bool canWatch()
{
    return run(library("good") + " --only size-query").output.find("note    this kernel") == std::string::npos;
}

#define REQUIRE_WATCH()                                                                                                \
    if (!canWatch())                                                                                                   \
    GTEST_SKIP() << "this kernel has no notifications of system calls"

// Nothing is left in the installation.

TEST(DBLibCheckPlace, theInstallationIsNotTouchedByWriting)
{
    const Installation installation(libraryFile("persistent"));
    fs::create_directories(installation.path / "tmp");
    ASSERT_EQ(mkfifo((installation.config() / "pipe").c_str(), 0600), 0);
    const auto before = filesBelow(installation.path);
    const Variable temporary("TMPDIR", installation.path / "tmp");
    const CheckerRun result = run(installation.library() + " --write" + Brief);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_EQ(filesBelow(installation.path), before);
}

TEST(DBLibCheckPlace, anEmptyInstallationStaysEmptyWithoutWrite)
{
    for (const std::string &file : {std::string(DBLIB_SQLITE), libraryFile("persistent")}) {
        const Installation installation(file);
        const auto before = filesBelow(installation.path);
        const CheckerRun result = run(installation.library() + Brief);
        EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
        EXPECT_EQ(filesBelow(installation.path), before);
    }
}

TEST(DBLibCheckPlace, theOperatorsFilesMustStayAsTheyAre)
{
    for (const auto &[folder, file] :
         {std::pair("config-rewritten", "Site.def"), std::pair("config-removed", "DebugInitEvents.txt")}) {
        const Installation installation(libraryFile(folder));
        write(installation.config() / "Site.def", "Site=here\n");
        write(installation.config() / "DebugInitEvents.txt", "{\nSENSOR_ID=a\n}\n");
        const auto before = filesBelow(installation.path);
        const CheckerRun result = run(installation.library() + Brief);
        EXPECT_EQ(result.complaints(), (Verdicts{{"config-files", "fail"}})) << result.output;
        EXPECT_THAT(result.output, HasSubstr(std::string("Config/") + file + " was "));
        EXPECT_EQ(filesBelow(installation.path), before);
    }
}

// Stores that lie elsewhere.

TEST(DBLibCheckPlace, aLibraryWithAPlaceOfItsOwnPutsNothingThere)
{
    REQUIRE_WATCH();
    const Installation installation(libraryFile("fixed-place"));
    const auto before = filesBelow(installation.path);
    const CheckerRun result = run(installation.library() + " --write" + Brief);
    EXPECT_EQ(result.complaints(), (Verdicts{{"separate-copy", "fail"}})) << result.output;
    EXPECT_THAT(result.output, HasSubstr("the library writes outside of the copy of the installation: " +
                                         (installation.path / "Libs/DBLib.a.log").string()));
    EXPECT_EQ(result.verdicts.at("event-put"), "skip");
    EXPECT_EQ(filesBelow(installation.path), before);
}

TEST(DBLibCheckPlace, anAbsoluteDatabaseIsToldBeforeTheFirstPut)
{
    REQUIRE_WATCH();
    const Directory elsewhere;
    const Installation installation(DBLIB_SQLITE);
    write(installation.config() / "DBLib.def", "Database=" + (elsewhere.path / "far.db").string() + "\n");
    const CheckerRun result = run(installation.library() + " --write" + Brief);
    EXPECT_EQ(result.verdicts.at("separate-copy"), "fail") << result.output;
    EXPECT_THAT(result.output, HasSubstr((elsewhere.path / "far.db").string()));
    EXPECT_TRUE(fs::is_empty(elsewhere.path));
}

TEST(DBLibCheckPlace, aLinkedDataFolderIsToldBeforeTheFirstPut)
{
    REQUIRE_WATCH();
    const Directory elsewhere;
    const Installation installation(DBLIB_SQLITE);
    fs::create_directory_symlink(elsewhere.path, installation.path / "Data");
    ASSERT_EQ(std::system(("'" SENSOR_SIM "' --config '" + installation.config().string() +
                           "' --fill 300 --seed 5 > /dev/null 2>&1")
                              .c_str()),
              0);
    const auto before = filesBelow(elsewhere.path);
    ASSERT_FALSE(before.empty());
    const CheckerRun result = run(installation.library() + " --write" + Brief);
    EXPECT_EQ(result.verdicts.at("separate-copy"), "fail") << result.output;
    EXPECT_THAT(result.output, HasSubstr((elsewhere.path / "installation.db").string()));
    EXPECT_EQ(result.verdicts.at("event-put"), "skip");
    EXPECT_EQ(filesBelow(elsewhere.path), before);
}

TEST(DBLibCheckPlace, aLinkedDataFolderIsAskedWithoutWrite)
{
    REQUIRE_WATCH();
    const Directory elsewhere;
    const Installation installation(DBLIB_SQLITE);
    fs::create_directory_symlink(elsewhere.path, installation.path / "Data");
    ASSERT_EQ(std::system(("'" SENSOR_SIM "' --config '" + installation.config().string() +
                           "' --fill 300 --seed 5 > /dev/null 2>&1")
                              .c_str()),
              0);
    const std::string before = contentsOf(elsewhere.path / "installation.db");
    const CheckerRun result = run(installation.library() + Brief);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_EQ(result.verdicts.at("event-paging"), "pass");
    EXPECT_EQ(contentsOf(elsewhere.path / "installation.db"), before);
}

TEST(DBLibCheckPlace, aDatabaseElsewhereIsNotMadeWithoutWrite)
{
    REQUIRE_WATCH();
    const Directory elsewhere;
    const Installation installation(DBLIB_SQLITE);
    write(installation.config() / "DBLib.def", "Database=" + (elsewhere.path / "far.db").string() + "\n");
    const CheckerRun result = run(installation.library() + Brief);
    EXPECT_EQ(result.verdicts.at("initialise"), "warn") << result.output;
    EXPECT_EQ(result.verdicts.at("event-paging"), "skip");
    EXPECT_THAT(result.output, HasSubstr("which the checker kept it from making"));
    EXPECT_TRUE(fs::is_empty(elsewhere.path));
}

TEST(DBLibCheckPlace, aServerIsToldBeforeTheFirstPut)
{
    REQUIRE_WATCH();
    const CheckerRun result = run(library("server") + " --write" + Brief);
    EXPECT_EQ(result.complaints(), (Verdicts{{"separate-copy", "fail"}})) << result.output;
    EXPECT_THAT(result.output, HasSubstr("the library keeps records on a server: 127.0.0.1 port 9"));
    EXPECT_EQ(run(library("server") + Brief).complaints(), Verdicts());
}

TEST(DBLibCheckPlace, inPlaceWritesWhereTheConfigurationSays)
{
    const Installation installation(libraryFile("persistent"));
    const CheckerRun result = run(installation.library() + " --write --in-place" + Brief);
    EXPECT_EQ(result.complaints(), Verdicts()) << result.output;
    EXPECT_EQ(result.verdicts.count("separate-copy"), 0U);
    EXPECT_THAT(contentsOf(installation.config() / "records.log"), HasSubstr("E 61 "));
}

TEST(DBLibCheckPlace, withoutTheKernelsHelpWhatIsPutIsLookedForInTheInstallation)
{
    const Installation installation(libraryFile("persistent"));
    const std::string checks = " --write --only separate-copy --only event-put" + std::string(Brief);
    const CheckerRun good = run(installation.library() + checks, UNWATCHED);
    EXPECT_EQ(good.verdicts, (Verdicts{{"separate-copy", "pass"}, {"event-put", "pass"}})) << good.output;
    EXPECT_THAT(good.output, HasSubstr("note    this kernel does not let the checker see"));
    const Installation fixed(libraryFile("fixed-place"));
    const CheckerRun bad = run(fixed.library() + checks, UNWATCHED);
    EXPECT_EQ(bad.verdicts, (Verdicts{{"separate-copy", "fail"}, {"event-put", "skip"}})) << bad.output;
    EXPECT_THAT(bad.output, HasSubstr("appeared in"));
}

// Hostile libraries.

TEST(DBLibCheckHostile, theCheckersOwnProcessIsOutOfReach)
{
    REQUIRE_WATCH();
    for (const auto &[folder, sentence] :
         {std::pair("stops-checker", "hostile: it tried to send SIGSTOP to the checker's process"),
          std::pair("kills-checker", "hostile: it tried to send SIGKILL to the checker's process"),
          std::pair("writes-checker", "hostile: it tried to write to /proc/")}) {
        const CheckerRun result = run(library(folder) + Brief);
        EXPECT_EQ(result.complaints(), (Verdicts{{"size-query", "fail"}})) << result.output;
        EXPECT_THAT(result.output, HasSubstr(sentence));
        EXPECT_THAT(result.output, HasSubstr("the library is hostile, see size-query"));
        EXPECT_EQ(result.status, 1);
    }
}

// Processes.

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

TEST(DBLibCheckProcess, noneOfALibraryOutlivesTheRun)
{
    for (const char *fault : {"fork-daemon", "fork"}) {
        // A file of this test's own: others run these libraries at the same time.
        const Directory directory;
        const std::string copy = (directory.path / "DBLib.a").string();
        fs::copy_file(libraryFile(fault), copy);
        const CheckerRun result = run("'" + copy + "' --only processes --only texts" + Patient);
        EXPECT_EQ(result.verdicts, (Verdicts{{"processes", "fail"}, {"texts", "pass"}}));
        EXPECT_FALSE(inUse(copy));
    }
}

TEST(DBLibCheckProcess, theSearchForProcessesFindsOne)
{
    const std::string self = fs::read_symlink("/proc/self/exe").string();
    EXPECT_TRUE(inUse(self));
}

/** Starts an endless check, interrupts it once it runs, and returns how the checker ended. */
int statusAfter(int signal, const fs::path &temporary)
{
    int ends[2];
    if (pipe(ends) != 0)
        return -1;
    const pid_t child = fork();
    if (child == 0) {
        setenv("TMPDIR", temporary.c_str(), 1);
        dup2(ends[1], STDOUT_FILENO);
        execl(DBLIB_CHECK, DBLIB_CHECK, "--timeout", "86400", "--write", "--only", "size-query", "--only", "event-nmax",
              libraryFile("ignores-sigterm").c_str(), static_cast<char *>(nullptr));
        _exit(127);
    }
    close(ends[1]);
    std::string output;
    // Once the check before the endless one is told, the endless one runs or is about to.
    for (char c = 0; output.find("size-query") == std::string::npos && read(ends[0], &c, 1) == 1;)
        output += c;
    kill(child, signal);
    int status = 0;
    waitpid(child, &status, 0);
    close(ends[0]);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(DBLibCheckProcess, noSignalThatCanBeCaughtLeavesACopyBehind)
{
    for (int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGUSR1, SIGUSR2, SIGXCPU, SIGXFSZ, SIGALRM, SIGVTALRM,
                       SIGPROF, SIGIO, SIGPWR, SIGRTMIN + 3}) {
        const Directory directory;
        EXPECT_EQ(statusAfter(signal, directory.path), 1) << strsignal(signal);
        EXPECT_TRUE(fs::is_empty(directory.path)) << strsignal(signal);
    }
}
} // namespace
