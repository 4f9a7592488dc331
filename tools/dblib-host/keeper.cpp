// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "keeper.h"

#include "hostprotocol.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{
using namespace std::chrono_literals;

/** How long processes that were killed are waited for: the system can hold one back. */
constexpr auto EndPatience = 400ms;

/** The children of this process, those that lost their own parent among them. */
std::vector<pid_t> children()
{
    std::ifstream file("/proc/self/task/" + std::to_string(getpid()) + "/children");
    return {std::istream_iterator<pid_t>(file), std::istream_iterator<pid_t>()};
}

/** False once there is no child any more. */
bool reap()
{
    pid_t reaped = 0;
    do
        reaped = waitpid(-1, nullptr, WNOHANG);
    while (reaped > 0);
    return reaped == 0;
}

/** The children of what is killed become children of this process, and are killed in the next round. */
void killDescendants()
{
    const auto end = std::chrono::steady_clock::now() + EndPatience;
    while (reap() && std::chrono::steady_clock::now() < end) {
        for (const pid_t child : children())
            kill(child, SIGKILL);
        std::this_thread::sleep_for(1ms);
    }
}

/** Whoever started this process sees what came of the child. */
[[noreturn]] void endAs(int status)
{
    if (WIFSIGNALED(status)) {
        const rlimit none = {0, 0};
        setrlimit(RLIMIT_CORE, &none); // the child has left one if it was wanted
        sigset_t its;
        sigemptyset(&its);
        sigaddset(&its, WTERMSIG(status));
        sigprocmask(SIG_UNBLOCK, &its, nullptr);
        std::raise(WTERMSIG(status));
    }
    _exit(WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILURE);
}

[[noreturn]] void keep(pid_t child, pid_t starter, const sigset_t &signals)
{
    while (getppid() == starter) {
        if (sigwaitinfo(&signals, nullptr) == SIGTERM)
            break;
        int status = 0;
        for (pid_t ended = 0; (ended = waitpid(-1, &status, WNOHANG)) > 0;) {
            if (ended == child) {
                killDescendants();
                endAs(status);
            }
        }
    }
    killDescendants();
    _exit(EXIT_FAILURE);
}

/** The child has nothing of the keeper's, and ends with it. */
void beginAnew(pid_t keeper, const sigset_t &signals)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != keeper)
        _exit(EXIT_FAILURE);
    setsid();
    sigprocmask(SIG_UNBLOCK, &signals, nullptr);
}
} // namespace

void leaveToKeeper(pid_t starter)
{
    sigset_t signals;
    sigemptyset(&signals);
    // SIGCONT tells of the starter's end, as it wakes a process that was stopped.
    for (const int signal : {SIGCHLD, SIGCONT, SIGTERM})
        sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    prctl(PR_SET_PDEATHSIG, SIGCONT);
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const pid_t keeper = getpid();
    const pid_t child = fork();
    if (child == 0)
        return beginAnew(keeper, signals);
    close(HostDescriptor);
    if (child < 0)
        _exit(EXIT_FAILURE);
    keep(child, starter, signals);
}
