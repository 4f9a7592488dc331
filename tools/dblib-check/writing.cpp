// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "writing.h"

#include <csignal>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
/** Waits for a process that has done its work; one that does not end is ended. */
void awaitLeaving(pid_t process)
{
    constexpr timespec patience = {10, 0};
    sigset_t ended;
    sigemptyset(&ended);
    sigaddset(&ended, SIGCHLD);
    // The signal is blocked, so that none is missed before the wait.
    while (waitpid(process, nullptr, WNOHANG) == 0) {
        if (sigtimedwait(&ended, nullptr, &patience) < 0) {
            kill(process, SIGKILL);
            waitpid(process, nullptr, 0);
            return;
        }
    }
}

[[noreturn]] void actAndLeave(const std::function<void()> &act, bool &done)
{
    try {
        act();
        done = true;
    } catch (const Outcome &) {
        _exit(1);
    }
    std::exit(0);
}

template <class Kind> void writeAndDeleteSome(const Library &library, std::mt19937 &random)
{
    for (int number = 0; number < 50; ++number) {
        put<Kind>(library, Kind::sample(number, random));
        if (number % 3 == 0 && library.has(Kind::Remove))
            for (int id : askIds<Kind>(library, plain<Kind>(1, false)))
                remove<Kind>(library, id);
    }
}
} // namespace

void writeAndDelete(const Library &library, const Target &target)
{
    std::mt19937 random(target.seed);
    forEachPut(library, [&](auto kind) { writeAndDeleteSome<decltype(kind)>(library, random); });
}

void setId(CMessageEvent &event, int id)
{
    event.MessageID = id;
}

void setId(CMessageCommand &command, int id)
{
    command.CommandID = id;
}

bool inAnotherProcess(const std::function<void()> &act)
{
    const SharedValue<bool> done;
    sigset_t children;
    sigset_t before;
    sigemptyset(&children);
    sigaddset(&children, SIGCHLD);
    pthread_sigmask(SIG_BLOCK, &children, &before);
    const pid_t process = fork();
    if (process == 0) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        actAndLeave(act, *done);
    }
    if (process > 0)
        awaitLeaving(process);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return *done;
}
