// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "isolate.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <iostream>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace
{
/**
 * Where the child leaves its verdict. It is memory shared with the parent and
 * not a pipe, because a library may close every descriptor that it finds.
 */
struct Board {
    std::atomic<bool> settled;
    std::atomic<unsigned> progress; ///< grows with each step of a long work
    Verdict verdict;
    char finding[4096];
    char stage[1024];
};

Board *board = nullptr;
bool inChild = false;
volatile std::sig_atomic_t interruption = 0;

template <std::size_t Size> void store(char (&to)[Size], const char *text)
{
    const std::size_t length = std::min(std::strlen(text), Size - 1);
    std::memcpy(to, text, length);
    to[length] = '\0';
}

void settleOnBoard(Verdict verdict, const char *finding)
{
    board->verdict = verdict;
    store(board->finding, finding);
    board->settled = true;
}

std::string signalName(int number)
{
    const char *name = sigabbrev_np(number);
    return name ? std::string("SIG") + name : "signal " + std::to_string(number);
}

void redirectOutput(int output)
{
    const int input = open("/dev/null", O_RDONLY);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    // Nothing of the checker's own may be among what the library finds open.
    for (int descriptor : {input, output})
        if (descriptor > STDERR_FILENO)
            close(descriptor);
}

void limit(int resource, rlim_t value)
{
    const rlimit both = {value, value};
    setrlimit(__rlimit_resource_t(resource), &both);
}

void applyLimits([[maybe_unused]] const Limits &limits)
{
    limit(RLIMIT_CORE, 0);
#ifndef __SANITIZE_ADDRESS__
    limit(RLIMIT_AS, rlim_t(limits.megabytes) << 20);
#endif
}

void restoreSignals()
{
    for (int number : {SIGINT, SIGTERM, SIGHUP, SIGCHLD, SIGPIPE})
        std::signal(number, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

Outcome outcomeOf(const std::function<Outcome()> &body)
{
    try {
        return body();
    } catch (const Outcome &early) {
        return early;
    } catch (const std::exception &error) {
        return failed(std::string("the check could not go on: ") + error.what());
    }
}

[[noreturn]] void runChild(const std::function<Outcome()> &body, const Limits &limits, Leave leave, int output,
                           pid_t parent)
{
    inChild = true;
    setsid();
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(1);
    restoreSignals();
    redirectOutput(output);
    applyLimits(limits);
    const Outcome outcome = outcomeOf(body);
    std::cout.flush();
    std::fflush(nullptr);
    if (leave == Leave::AtOnce)
        settle(outcome.verdict, outcome.finding.c_str());
    stage("leaving the program");
    settleOnBoard(outcome.verdict, outcome.finding.c_str());
    std::exit(0);
}

double since(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/** Takes what the child printed, without waiting. */
void drain(int input, IsolatedRun &run)
{
    constexpr std::size_t kept = 4096;
    char buffer[4096];
    ssize_t got = 0;
    while ((got = read(input, buffer, sizeof(buffer))) > 0) {
        run.printedBytes += std::size_t(got);
        run.printed.append(buffer, std::min(std::size_t(got), kept - std::min(kept, run.printed.size())));
    }
}

/** Waits for output or for a signal, SIGCHLD among them, at most `seconds`. */
void await(int input, double seconds)
{
    pollfd waiting = {input, POLLIN, 0};
    const double whole = std::max(0.0, seconds);
    timespec span = {std::time_t(whole), long((whole - double(std::time_t(whole))) * 1e9)};
    sigset_t open;
    sigemptyset(&open);
    ppoll(&waiting, 1, &span, &open);
}

/** Waits for the child's end. False when the time was over or the user wants to stop; it is then killed. */
bool awaitEnd(pid_t child, int input, double seconds, IsolatedRun &run, int &status)
{
    auto start = std::chrono::steady_clock::now();
    unsigned progress = 0;
    while (waitpid(child, &status, WNOHANG) != child) {
        if (board->progress != progress) {
            progress = board->progress;
            start = std::chrono::steady_clock::now();
        }
        if (since(start) >= seconds || interrupted()) {
            kill(-child, SIGKILL);
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            return false;
        }
        await(input, seconds - since(start));
        drain(input, run);
    }
    return true;
}

/** The process whose parent is `parent`, from its line in /proc; false for any other. */
bool isChildOf(pid_t parent, const std::string &process)
{
    std::FILE *file = std::fopen(("/proc/" + process + "/stat").c_str(), "re");
    if (!file)
        return false;
    char line[512] = {};
    const bool got = std::fgets(line, sizeof(line), file) != nullptr;
    std::fclose(file);
    const char *name = got ? std::strrchr(line, ')') : nullptr;
    char state = 0;
    int found = 0;
    return name && std::sscanf(name + 1, " %c %d", &state, &found) == 2 && found == parent;
}

void killChildren()
{
    DIR *processes = opendir("/proc");
    while (const dirent *entry = processes ? readdir(processes) : nullptr) {
        const int id = std::atoi(entry->d_name);
        if (id > 0 && isChildOf(getpid(), entry->d_name))
            kill(id, SIGKILL);
    }
    if (processes)
        closedir(processes);
}

/** Ends what the library forked: it has become a child of this process, the nearest subreaper. */
void reapLeftovers()
{
    pid_t reaped = 0;
    while ((reaped = waitpid(-1, nullptr, WNOHANG)) >= 0) {
        if (reaped == 0) {
            killChildren();
            waitpid(-1, nullptr, 0);
        }
    }
}

std::string atStage()
{
    return board->stage[0] ? std::string(" while ") + board->stage : std::string();
}

Outcome judge(int status)
{
    if (WIFSIGNALED(status))
        return {Verdict::Crash, signalName(WTERMSIG(status)) + atStage()};
    if (!board->settled || WEXITSTATUS(status) != 0) {
        return {Verdict::Crash,
                "the library ended the program with exit status " + std::to_string(WEXITSTATUS(status)) + atStage()};
    }
    return {board->verdict, board->finding};
}

Board *newBoard()
{
    void *memory = mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw std::system_error(errno, std::generic_category(), "mmap");
    return static_cast<Board *>(memory);
}

void ignoreSignal(int) {}

void prepareParent()
{
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    struct sigaction action = {};
    action.sa_handler = ignoreSignal;
    sigaction(SIGCHLD, &action, nullptr);
    // Held back but while waiting, so that none is missed between the test and the wait.
    sigset_t held;
    sigemptyset(&held);
    for (int number : {SIGCHLD, SIGINT, SIGTERM, SIGHUP})
        sigaddset(&held, number);
    sigprocmask(SIG_BLOCK, &held, nullptr);
}

void noteInterruption(int number)
{
    interruption = number;
}
} // namespace

#ifdef __SANITIZE_ADDRESS__
extern "C" const char *__asan_default_options()
{
    // Faults of a library are to be told as those of any other build: by their signal.
    return "abort_on_error=1:handle_segv=0:handle_sigbus=0:handle_abort=0:allocator_may_return_null=1:"
           "detect_odr_violation=0:symbolize=0";
}

extern "C" int __lsan_is_turned_off()
{
    return inChild;
}
#endif

IsolatedRun runIsolated(const std::function<Outcome()> &body, const Limits &limits, Leave leave)
{
    prepareParent();
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe");
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    board = newBoard();
    std::fflush(nullptr);
    IsolatedRun run;
    const auto start = std::chrono::steady_clock::now();
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child < 0)
        throw std::system_error(errno, std::generic_category(), "fork");
    if (child == 0) {
        close(ends[0]);
        runChild(body, limits, leave, ends[1], parent);
    }
    close(ends[1]);
    int status = 0;
    const bool ended = awaitEnd(child, ends[0], limits.seconds, run, status);
    kill(-child, SIGKILL);
    reapLeftovers();
    drain(ends[0], run);
    close(ends[0]);
    run.seconds = since(start);
    if (ended)
        run.outcome = judge(status);
    else if (interrupted())
        run.outcome = skipped("interrupted");
    else
        run.outcome = {Verdict::Timeout, "not back after " + std::to_string(limits.seconds) + " s" + atStage()};
    munmap(board, sizeof(Board));
    board = nullptr;
    return run;
}

void stage(const std::string &what)
{
    if (board)
        store(board->stage, what.c_str());
}

void progress()
{
    if (board)
        ++board->progress;
}

void settle(Verdict verdict, const char *finding)
{
    settleOnBoard(verdict, finding);
    _exit(0);
}

void catchInterruptions()
{
    struct sigaction action = {};
    action.sa_handler = noteInterruption;
    for (int number : {SIGINT, SIGTERM, SIGHUP})
        sigaction(number, &action, nullptr);
    // A reader that goes away (a pager, head) must not keep the copy from being removed.
    std::signal(SIGPIPE, SIG_IGN);
}

bool interrupted()
{
    return interruption != 0;
}
