// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "signalname.h"
#include "translation.h"
#include "usage.h"
#include "writing.h"

#include <cfenv>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <stdio_ext.h>
#include <strings.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{
/** What a library shares with the whole program and must leave alone: a sentence's end by its beginning. */
using ProcessState = std::map<std::string, std::string>;

std::string workingDirectory()
{
    char path[4096] = {};
    return getcwd(path, sizeof(path)) ? path : "";
}

std::string fileMask()
{
    const mode_t mask = umask(0);
    umask(mask);
    return std::to_string(mask);
}

std::string timeZone()
{
    tzset();
    return std::string(tzname[0]) + " " + tzname[1] + " " + std::to_string(timezone);
}

std::string roundingMode()
{
    return std::to_string(std::fegetround());
}

std::string timers()
{
    std::string text;
    for (auto which : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF}) {
        itimerval timer = {};
        getitimer(which, &timer);
        text += timer.it_value.tv_sec || timer.it_value.tv_usec ? "set " : "off ";
    }
    return text;
}

std::string buffering(std::FILE *stream)
{
    return std::to_string(__fbufsize(stream)) + (__flbf(stream) ? " line by line" : "");
}

void addEnvironment(ProcessState &state)
{
    for (char **variable = environ; variable && *variable; ++variable) {
        const std::string entry = *variable;
        const std::size_t equals = entry.find('=');
        state["the environment variable " + entry.substr(0, equals)] =
            equals == std::string::npos ? "" : entry.substr(equals + 1);
    }
}

void addSignals(ProcessState &state)
{
    constexpr int signalCount = 32;
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    for (int i = 1; i < signalCount; ++i) {
        const std::string name = signalName(i);
        struct sigaction action = {};
        sigaction(i, nullptr, &action);
        state["the handling of " + name] = std::to_string(reinterpret_cast<std::uintptr_t>(action.sa_handler));
        state["the blocking of " + name] = sigismember(&blocked, i) == 1 ? "on" : "off";
    }
}

ProcessState processState()
{
    ProcessState state = {
        {"the working directory", workingDirectory()},
        {"the locale", std::setlocale(LC_ALL, nullptr)},
        {"this thread's own locale", uselocale(nullptr) == LC_GLOBAL_LOCALE ? "none" : "set"},
        {"the mask for the rights of new files", fileMask()},
        {"the time zone", timeZone()},
        {"the rounding mode of floating point numbers", roundingMode()},
        {"an alarm or timer", timers()},
        {"the buffering of standard output", buffering(stdout)},
        {"the buffering of standard error", buffering(stderr)},
    };
    addEnvironment(state);
    addSignals(state);
    return state;
}

/** The first thing that became another; empty when none did. */
std::string changedState(const ProcessState &before, const ProcessState &after)
{
    for (const auto &[what, value] : before) {
        const auto now = after.find(what);
        if (now == after.end())
            return what + " was removed";
        // What a handler's address became says nothing to anybody.
        if (now->second != value)
            return what + " was changed" +
                   (what.find("handling") == std::string::npos ? " from \"" + value + "\" to \"" + now->second + "\""
                                                               : "");
    }
    for (const auto &[what, value] : after)
        if (before.count(what) == 0)
            return std::string(what).append(" was set to ").append(quoted(value.c_str()));
    return {};
}

/** Gives the streams their buffers now, which they would else take at the first output. */
void takeBuffers()
{
    static char buffer[BUFSIZ];
    std::setvbuf(stdout, buffer, _IOFBF, BUFSIZ);
    std::setvbuf(stderr, nullptr, _IONBF, 0);
}

Outcome checkProcessState(const Target &target)
{
    takeBuffers();
    const ProcessState before = processState();
    const Session session(target);
    useAsConsole(session.library);
    const std::string changed = changedState(before, processState());
    return changed.empty() ? passed() : failed(changed);
}

Outcome checkWriteState(const Target &target)
{
    takeBuffers();
    const ProcessState before = processState();
    const Session session(target);
    const Usage start = Usage::now();
    for (int round = 0; round < 2; ++round)
        writeAndDelete(session.library, target);
    const std::string pile = pileOf(start, Usage::now());
    if (!pile.empty())
        return failed(pile + " were left behind by a hundred puts and deletions");
    const std::string changed = changedState(before, processState());
    return changed.empty() ? passed() : failed(changed);
}

// Files of the configuration directory.

using Files = std::map<std::string, std::string>;

/** Its text files with what is in them. A file with a NUL is a store and changes as it likes. */
Files configurationOf(const std::string &config)
{
    constexpr std::uintmax_t largest = 1 << 20;
    Files files;
    std::error_code fault;
    for (const fs::directory_entry &entry : fs::directory_iterator(config, fault)) {
        if (!entry.is_regular_file(fault) || entry.file_size(fault) > largest)
            continue;
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        if (text.find('\0') == std::string::npos)
            files[entry.path().filename().string()] = text;
    }
    return files;
}

bool endsWith(const std::string &text, const char *end)
{
    const std::size_t length = std::char_traits<char>::length(end);
    return text.size() >= length && strcasecmp(text.c_str() + text.size() - length, end) == 0;
}

/** Whether the operator writes this file: a definition file, or one of the console's own. Others may be logs. */
bool isOperators(const std::string &name)
{
    return endsWith(name, ".def") || endsWith(name, ".conf") || endsWith(name, ".ini") ||
           name.compare(0, 9, "DebugInit") == 0;
}

/** The first file of `before` that is another now; empty when none is. */
template <class Counts> std::string changedFile(const Files &before, const Files &after, Counts counts)
{
    for (const auto &[name, text] : before) {
        const auto now = after.find(name);
        if (!counts(name))
            continue;
        if (now == after.end())
            return "Config/" + name + " was removed";
        const bool grew = now->second.compare(0, text.size(), text) == 0;
        if (isOperators(name) ? now->second != text : !grew)
            return "Config/" + name + " was changed";
    }
    return {};
}

Outcome checkConfigFiles(const Target &target)
{
    const Files original = configurationOf(target.original);
    const Files before = configurationOf(target.config);
    const Session session(target, Session::LoadedOnly);
    session.initialise(target.config);
    useAsConsole(session.library);
    const Files after = configurationOf(target.config);
    // An earlier check may have seen the change come. A store that is a text has changed with what was put meanwhile.
    std::string changed = changedFile(original, after, isOperators);
    if (changed.empty())
        changed = changedFile(before, after, [](const std::string &) { return true; });
    return changed.empty() ? passed(std::to_string(before.size()) + " files") : failed(changed);
}
} // namespace

std::vector<Check> stateChecks()
{
    return {
        {"process-state",
         translatable("working directory, locale, time zone, environment, file mask, signals, timers, rounding and "
                      "buffering stay as they are"),
         translatable(
             "The console shows numbers or times wrongly, does not find its files, or does not end with the session."),
         checkProcessState},
        {"config-files", translatable("the files of the configuration directory are only read"),
         translatable("The installation's settings or the console's test data are lost or become others."),
         checkConfigFiles},
    };
}

std::vector<Check> writeStateChecks()
{
    return asWriting({
        {"write-state",
         translatable("working directory, locale and the like, open files and threads stay as they are while records "
                      "are put and deleted"),
         translatable("The console shows numbers or times wrongly, or goes down after many commands."),
         checkWriteState,
         {"fill", "process-state", "processes", "event-put", "command-put"}},
    });
}
