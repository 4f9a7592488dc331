// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checks.h"

#include "translation.h"
#include "usage.h"

#include <chrono>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{
Outcome checkSilent(const Target &target)
{
    const Session session(target);
    useAsConsole(session.library);
    return passed();
}

// Descriptors.

/** Which file a descriptor stands for; two of the same are equal. */
struct OpenFile {
    int descriptor;
    dev_t device = 0;
    ino_t inode = 0;
    bool open = false;

    explicit OpenFile(int d)
        : descriptor(d)
    {
        struct stat status;
        open = fstat(d, &status) == 0;
        if (open) {
            device = status.st_dev;
            inode = status.st_ino;
        }
    }
    bool unchanged() const
    {
        const OpenFile now(descriptor);
        return now.open == open && now.device == device && now.inode == inode;
    }
};

/** Files as the console has them open: the standard three, and some between and far above the library's own. */
std::vector<OpenFile> openFiles()
{
    std::vector<OpenFile> files = {OpenFile(0), OpenFile(1), OpenFile(2)};
    for (int place : {3, 4, 5, 17, 64, 200, 900}) {
        const int file = memfd_create("dblib-check", 0);
        const int moved = fcntl(file, F_DUPFD, place);
        if (moved >= 0)
            files.emplace_back(moved);
        close(file);
    }
    return files;
}

Outcome checkDescriptors(const Target &target)
{
    const std::vector<OpenFile> files = openFiles();
    const Session session(target);
    useAsConsole(session.library);
    for (const OpenFile &file : files)
        if (!file.unchanged())
            return failed("descriptor " + std::to_string(file.descriptor) + " was closed or became another file");
    return passed();
}

// What is left behind.

/** More threads after many uses than a library has for good: those that each use leaves. */
std::string threadFault(const Library &library)
{
    constexpr int rounds = 10;
    useAsConsole(library);
    const int before = entriesOf("/proc/self/task");
    for (int i = 0; i < rounds; ++i)
        useAsConsole(library);
    const int left = entriesOf("/proc/self/task") - before;
    return left < rounds / 2 ? std::string()
                             : std::to_string(left) + " threads were left behind by the fetches of " +
                                   std::to_string(rounds) + " rounds";
}

/** Children that have ended, or end within a moment, and that nobody waited for. */
bool hasUnreapedChildren()
{
    constexpr auto patience = std::chrono::seconds(1);
    const auto start = std::chrono::steady_clock::now();
    siginfo_t info = {};
    while (waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0) {
        if (info.si_pid != 0)
            return true;
        if (std::chrono::steady_clock::now() - start > patience)
            break; // a helper that is still at work
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

Outcome checkProcesses(const Target &target)
{
    const pid_t self = getpid();
    const Session session(target);
    useAsConsole(session.library);
    if (getpid() != self)
        _exit(0); // a copy that came back from the library; the first one tells
    const std::string fault = threadFault(session.library);
    if (!fault.empty())
        return failed(fault);
    // Those that are still there when this process has gone are seen by its parent.
    return hasUnreapedChildren() ? failed("it started a process and did not wait for its end") : passed();
}

Outcome checkExit(const Target &target)
{
    const Session session(target);
    useAsConsole(session.library);
    return passed();
}

// Threads.

Outcome checkThread(const Target &target)
{
    const Session session(target);
    const Snapshot once = takeSnapshot(session.library);
    session.initialise(target.config);
    const Snapshot first = takeSnapshot(session.library);
    // What a further initialisation changes in one thread already is judged elsewhere.
    const bool settled = change(once, first).empty();
    Snapshot other;
    Outcome outcome;
    std::thread([&] {
        try {
            other = takeSnapshot(session.library);
            if (settled)
                session.initialise(target.config);
        } catch (const Outcome &early) {
            outcome = early;
        }
    }).join();
    if (outcome.verdict != Verdict::Pass)
        return outcome;
    const std::string differs = change(first, other);
    if (!differs.empty())
        return failed("a second thread got other answers than the first: " + differs);
    const std::string changed = change(first, takeSnapshot(session.library));
    return changed.empty() ? passed() : failed("the first thread got other answers after a second one: " + changed);
}
} // namespace

std::vector<Check> processChecks()
{
    Check processes = {"processes", translatable("no process and no thread is started and left behind"),
                       translatable("Processes or threads pile up while the console runs."), checkProcesses};
    processes.basic = true;
    processes.mayNotOutlive = true;
    Check silent = {"silent", translatable("the library prints nothing while it works"),
                    translatable("Its lines mix with the console's trace and fill the journal."), checkSilent};
    silent.silent = true;
    Check exit = {"exit",
                  translatable("the program ends normally after the library was used, and nothing is printed then"),
                  translatable("The console goes down or hangs when the operator leaves it."),
                  checkExit,
                  {"silent"}};
    exit.leave = Leave::Normally;
    exit.silent = true;
    return {
        processes,
        silent,
        {"descriptors", translatable("open files of the program stay open and the same"),
         translatable("The console loses its connection to the screen, or its files are written over."),
         checkDescriptors},
        {"thread",
         translatable("calls from another thread than the first give the same answers"),
         translatable("A console that fetches in the background shows nothing, or goes down."),
         checkThread,
         {"initialise-twice"}},
        exit,
    };
}
