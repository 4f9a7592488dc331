// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checks.h"

#include <array>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
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

// Processes and the state of this one.

Outcome checkProcesses(const Target &target)
{
    const pid_t self = getpid();
    // Processes that a started one leaves behind come to this one, too.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const Session session(target);
    useAsConsole(session.library);
    if (getpid() != self)
        _exit(0); // a copy that came back from the library; the first one tells
    int status = 0;
    const pid_t child = waitpid(-1, &status, WNOHANG);
    return child < 0 && errno == ECHILD ? passed() : failed("it started a process and left it behind");
}

using Handler = void (*)(int);
constexpr int SignalCount = 32;

/** What a library shares with the whole program and must leave alone. */
struct ProcessState {
    std::string directory;
    std::string locale;
    mode_t mask = 0;
    std::array<Handler, SignalCount> handlers = {};
    std::array<bool, SignalCount> blocked = {};

    ProcessState()
    {
        char path[4096] = {};
        directory = getcwd(path, sizeof(path)) ? path : "";
        locale = std::setlocale(LC_ALL, nullptr);
        mask = umask(0);
        umask(mask);
        sigset_t set;
        sigprocmask(SIG_BLOCK, nullptr, &set);
        for (int i = 1; i < SignalCount; ++i) {
            struct sigaction action = {};
            sigaction(i, nullptr, &action);
            handlers[std::size_t(i)] = action.sa_handler;
            blocked[std::size_t(i)] = sigismember(&set, i) == 1;
        }
    }
};

std::string changedSignal(const ProcessState &before, const ProcessState &after)
{
    for (std::size_t i = 1; i < SignalCount; ++i) {
        if (before.handlers[i] != after.handlers[i])
            return std::string("the handling of SIG") + sigabbrev_np(int(i)) + " was changed";
        if (before.blocked[i] != after.blocked[i])
            return std::string("SIG") + sigabbrev_np(int(i)) + (after.blocked[i] ? " was blocked" : " was unblocked");
    }
    return {};
}

Outcome checkProcessState(const Target &target)
{
    const ProcessState before;
    const Session session(target);
    useAsConsole(session.library);
    const ProcessState after;
    if (before.directory != after.directory)
        return failed("the working directory became " + after.directory);
    if (before.locale != after.locale)
        return failed("the locale became " + after.locale);
    if (before.mask != after.mask)
        return failed("the mask for the rights of new files was changed");
    const std::string signal = changedSignal(before, after);
    return signal.empty() ? passed() : failed(signal);
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
    const View once = look(session.library);
    session.initialise(target.config);
    const View first = look(session.library);
    // What a further initialisation changes in one thread already is judged elsewhere.
    const bool settled = once == first;
    View other;
    Outcome outcome;
    std::thread([&] {
        try {
            other = look(session.library);
            if (settled)
                session.initialise(target.config);
        } catch (const Outcome &early) {
            outcome = early;
        }
    }).join();
    if (outcome.verdict != Verdict::Pass)
        return outcome;
    if (!(other == first))
        return failed("a second thread got other answers than the first");
    return look(session.library) == first ? passed() : failed("the first thread got other answers after a second one");
}
} // namespace

std::vector<Check> processChecks()
{
    Check silent = {"silent", "the library prints nothing while it works",
                    "Its lines mix with the console's trace and fill the journal.", checkSilent};
    silent.silent = true;
    Check leaving = {"exit", "the program ends normally after the library was used",
                     "The console goes down or hangs when the operator leaves it.", checkExit};
    leaving.leave = Leave::Normally;
    return {
        silent,
        {"descriptors", "open files of the program stay open and the same",
         "The console loses its connection to the screen, or its files are written over.", checkDescriptors},
        {"processes", "no process is started and left behind", "Processes pile up while the console runs.",
         checkProcesses},
        {"process-state", "working directory, locale, file mask and signal handling stay as they are",
         "The console shows numbers wrongly, does not find its files, or does not end with the session.",
         checkProcessState},
        {"thread", "calls from another thread than the first give the same answers",
         "A console that fetches in the background shows nothing, or goes down.", checkThread},
        leaving,
    };
}
