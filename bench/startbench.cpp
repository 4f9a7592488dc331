// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * The start of the console in an installation, until its panel is painted,
 * beside that of a program with the same libraries that shows an empty window,
 * or one with a word in it. All end themselves then; they start one after the other many times. What
 * counts is processor time: waiting for a processor is not the program's doing.
 */

#include "benchfolder.h"
#include "measuring.h"

#include <array>
#include <fcntl.h>
#include <fstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr int Runs = 41;

/** What a run took, in seconds. */
struct Taken {
    double processor;
    double wall;
};

double wallClock()
{
    std::timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return double(time.tv_sec) + 1e-9 * double(time.tv_nsec);
}

double inSeconds(const timeval &time)
{
    return double(time.tv_sec) + 1e-6 * double(time.tv_usec);
}

/** A program with one word as its argument, or none. */
struct Command {
    const char *program;
    const char *word;
};

[[noreturn]] void become(const Command &command, const std::string &folder)
{
    const int nothing = ::open("/dev/null", O_WRONLY);
    ::dup2(nothing, STDOUT_FILENO);
    ::dup2(nothing, STDERR_FILENO);
    if (::chdir(folder.c_str()) == 0)
        ::execl(command.program, command.program, command.word, static_cast<char *>(nullptr));
    ::_exit(127);
}

Taken run(const Command &command, const std::string &folder)
{
    const double start = wallClock();
    const pid_t child = ::fork();
    if (child == 0)
        become(command, folder);
    int status = -1;
    rusage usage{};
    if (::wait4(child, &status, 0, &usage) != child || status != 0) {
        std::fprintf(stderr, "%s did not show its window\n", command.program);
        std::exit(1);
    }
    return {inSeconds(usage.ru_utime) + inSeconds(usage.ru_stime), wallClock() - start};
}

/** An installation with the SQLite library; returns the folder to start in. */
std::string makeInstallation(const BenchFolder &folder)
{
    std::ofstream(folder.path("Pics/Red.bmp")) << "BM";
    std::ofstream(folder.path("Config/DBLib.def")) << "Database=../installation.db\n";
    std::filesystem::copy_file(DBLIB_SQLITE, folder.path("Libs/DBLib.a"));
    const std::string bin = folder.path("bin");
    std::filesystem::create_directory(bin);
    return bin;
}

} // namespace

int main()
{
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    const BenchFolder folder;
    const std::string bin = makeInstallation(folder);
    constexpr std::array<Command, 3> commands = {
        {{OBRIM_UNTIL_PAINTED, nullptr}, {EMPTY_UNTIL_PAINTED, nullptr}, {EMPTY_UNTIL_PAINTED, "Exit"}}};
    // The first run makes the database and brings both programs into memory.
    for (const Command &command : commands)
        run(command, bin);
    std::array<std::vector<double>, commands.size()> processor;
    std::array<std::vector<double>, commands.size()> wall;
    for (int i = 0; i < Runs; ++i) {
        for (std::size_t p = 0; p < commands.size(); ++p) {
            const Taken taken = run(commands[p], bin);
            processor[p].push_back(taken.processor);
            wall[p].push_back(taken.wall);
        }
    }
    Goals goals(stdout);
    goals.ratio("start to the painted panel", medianOf(processor[0]), medianOf(processor[1]), 1.15);
    std::printf("      beside a window with one word %.1f ms, %.2f x\n", 1e3 * medianOf(processor[2]),
                medianOf(processor[0]) / medianOf(processor[2]));
    std::printf("      wall-clock time %.1f ms : %.1f ms, %.2f x\n", 1e3 * medianOf(wall[0]), 1e3 * medianOf(wall[1]),
                medianOf(wall[0]) / medianOf(wall[1]));
    return goals.met() ? 0 : 1;
}
