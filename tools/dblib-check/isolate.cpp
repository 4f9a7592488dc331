// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "isolate.h"

#include "faulthandler.h"
#include "processtree.h"
#include "signalname.h"
#include "verdictmemory.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace
{
VerdictMemory *memory = nullptr;
bool inChild = false;
volatile std::sig_atomic_t interruption = 0;

/** What the findings of a library that turns on the checker begin with. */
const std::string Hostile = "hostile: ";

/** Signals that end a program and can be caught, but those that tell of a fault of its own. */
sigset_t endingSignals()
{
    sigset_t signals;
    sigfillset(&signals);
    for (int number : {SIGKILL, SIGSTOP, SIGTSTP, SIGTTIN, SIGTTOU, SIGCONT, SIGCHLD, SIGURG, SIGWINCH, SIGPIPE,
                       SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS})
        sigdelset(&signals, number);
    return signals;
}

// The child.

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
    for (int number = 1; number < NSIG; ++number)
        std::signal(number, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

const char *explainVerdictMemory(const void *address)
{
    return memory->holds(address) ? "hostile: it wrote to the memory that the checker keeps its verdict in" : nullptr;
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

/** Makes the process one that a library may do its worst in. */
void confine(const Isolation &isolation, int output, int parentSocket)
{
    restoreSignals();
    redirectOutput(output);
    applyLimits(isolation.limits);
    FaultHandler::add(explainVerdictMemory);
    memory->protect();
    // Temporary files belong where all that the library makes is removed again.
    if (!isolation.sandbox.directory.empty())
        setenv("TMPDIR", isolation.sandbox.directory.c_str(), 1);
    const int listener = enterSandbox();
    sendDescriptor(parentSocket, listener);
    close(listener);
    close(parentSocket);
}

[[noreturn]] void runChild(const std::function<Outcome()> &body, const Isolation &isolation, int output,
                           int parentSocket, pid_t parent)
{
    inChild = true;
    // What is found depends on no locale, and no catalogue is opened between the library's calls.
    std::setlocale(LC_ALL, "C");
    setsid();
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(1);
    confine(isolation, output, parentSocket);
    const Outcome outcome = outcomeOf(body);
    std::cout.flush();
    std::fflush(nullptr);
    if (isolation.leave == Leave::AtOnce)
        settle(outcome.verdict, outcome.finding.c_str());
    stage("leaving the program");
    memory->settle(outcome.verdict, outcome.finding.c_str());
    std::exit(0);
}

// The parent.

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

/** How the child went. */
enum class Ending { ByItself, Stopped, TimeOver };

/** A running child, seen from its parent. */
class Child
{
public:
    Child(pid_t process, int output, int listener, const Isolation &isolation, IsolatedRun &run)
        : m_process(process)
        , m_output(output)
        , m_supervisor(listener, isolation.sandbox)
        , m_run(run)
    {
    }

    /** Waits for the end, which comes at the latest when `seconds` pass without progress, or the user wants it. */
    Ending awaitEnd(double seconds)
    {
        auto start = std::chrono::steady_clock::now();
        unsigned steps = 0;
        while (waitpid(m_process, &m_status, WNOHANG | WUNTRACED) != m_process) {
            if (memory->steps() != steps) {
                steps = memory->steps();
                start = std::chrono::steady_clock::now();
            }
            if (since(start) >= seconds || interrupted())
                return kill(Ending::TimeOver);
            serve(seconds - since(start));
        }
        return WIFSTOPPED(m_status) ? kill(Ending::Stopped) : Ending::ByItself;
    }

    /** Whether a process that it started is still there after a while. */
    bool isOutlived()
    {
        constexpr double patience = 2;
        const auto start = std::chrono::steady_clock::now();
        while (waitpid(-1, nullptr, WNOHANG) >= 0) {
            if (since(start) >= patience || interrupted())
                return true;
            serve(std::min(0.1, patience - since(start)));
        }
        return false;
    }

    /** Ends what it leaves behind: that has become a child of this process, the nearest subreaper. */
    void reapLeftovers()
    {
        ::kill(-m_process, SIGKILL);
        pid_t reaped = 0;
        while ((reaped = waitpid(-1, nullptr, WNOHANG)) >= 0) {
            if (reaped == 0) {
                for (pid_t child : childrenOf(getpid()))
                    ::kill(child, SIGKILL);
                waitpid(-1, nullptr, 0);
            }
        }
        drain(m_output, m_run);
    }

    int status() const
    {
        return m_status;
    }
    const SandboxReport &sandbox() const
    {
        return m_supervisor.report();
    }

private:
    Ending kill(Ending ending)
    {
        const int status = m_status;
        ::kill(-m_process, SIGKILL);
        ::kill(m_process, SIGKILL);
        waitpid(m_process, &m_status, 0);
        m_status = status;
        return ending;
    }

    /** Waits for output, for a call to be looked at, or for a signal, SIGCHLD among them; at most `seconds`. */
    void serve(double seconds)
    {
        pollfd waiting[] = {{m_outputClosed ? -1 : m_output, POLLIN, 0}, {m_supervisor.descriptor(), POLLIN, 0}};
        const double whole = std::max(0.0, seconds);
        const timespec span = {std::time_t(whole), long((whole - double(std::time_t(whole))) * 1e9)};
        sigset_t open;
        sigemptyset(&open);
        ppoll(waiting, 2, &span, &open);
        if (waiting[1].revents & POLLIN)
            m_supervisor.answer();
        else if (waiting[1].revents & POLLHUP)
            m_supervisor.end();
        drain(m_output, m_run);
        m_outputClosed = m_outputClosed || waiting[0].revents == POLLHUP;
    }

    pid_t m_process;
    int m_output;
    bool m_outputClosed = false; ///< by all who had it
    Supervisor m_supervisor;
    IsolatedRun &m_run;
    int m_status = 0;
};

std::string atStage()
{
    const std::string stage = memory->stage();
    return stage.empty() ? stage : " while " + stage;
}

Outcome outcomeOfEnd(int status)
{
    if (WIFSIGNALED(status))
        return {Verdict::Crash, signalName(WTERMSIG(status)) + atStage()};
    if (memory->isForged())
        return failed(Hostile + "it left a verdict of its own in the checker's memory" + atStage());
    if (!memory->isSettled() || WEXITSTATUS(status) != 0) {
        return {Verdict::Crash,
                "the library ended the program with exit status " + std::to_string(WEXITSTATUS(status)) + atStage()};
    }
    return memory->outcome();
}

Outcome outcomeOf(Ending ending, const Child &child, int seconds)
{
    if (!child.sandbox().attack.empty())
        return failed(Hostile + child.sandbox().attack);
    if (ending == Ending::ByItself)
        return outcomeOfEnd(child.status());
    if (interrupted())
        return skipped("interrupted");
    if (ending == Ending::Stopped) {
        return {Verdict::Crash,
                "the library stopped the program with " + signalName(WSTOPSIG(child.status())) + atStage()};
    }
    return {Verdict::Timeout, "not back after " + std::to_string(seconds) + " s" + atStage()};
}

void ignoreSignal(int) {}

void prepareParent()
{
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    struct sigaction action = {};
    action.sa_handler = ignoreSignal;
    sigaction(SIGCHLD, &action, nullptr);
    // Held back but while waiting, so that none is missed between the test and the wait.
    sigset_t held = endingSignals();
    sigaddset(&held, SIGCHLD);
    sigprocmask(SIG_BLOCK, &held, nullptr);
}

void noteInterruption(int number)
{
    interruption = number;
}

/** Two connected descriptors that close themselves when a program is started. */
struct Ends {
    int parent = -1;
    int child = -1;

    Ends(int made, const int (&pair)[2], const char *what)
        : parent(pair[0])
        , child(pair[1])
    {
        if (made != 0)
            throw std::system_error(errno, std::generic_category(), what);
    }
};

Ends newPipe()
{
    int pair[2] = {};
    const Ends ends(pipe2(pair, O_CLOEXEC), pair, "pipe");
    fcntl(ends.parent, F_SETFL, O_NONBLOCK);
    return ends;
}

Ends newSockets()
{
    int pair[2] = {};
    return Ends(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), pair, "socketpair");
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

IsolatedRun runIsolated(const std::function<Outcome()> &body, const Isolation &isolation)
{
    prepareParent();
    const Ends output = newPipe();
    const Ends sockets = newSockets();
    VerdictMemory verdict;
    memory = &verdict;
    std::fflush(nullptr);
    IsolatedRun run;
    const auto start = std::chrono::steady_clock::now();
    const pid_t parent = getpid();
    const pid_t process = fork();
    if (process < 0)
        throw std::system_error(errno, std::generic_category(), "fork");
    if (process == 0) {
        close(output.parent);
        close(sockets.parent);
        runChild(body, isolation, output.child, sockets.child, parent);
    }
    close(output.child);
    close(sockets.child);
    const int listener = receiveDescriptor(sockets.parent);
    close(sockets.parent);
    {
        Child child(process, output.parent, listener, isolation, run);
        const Ending ending = child.awaitEnd(isolation.limits.seconds);
        const bool outlived = isolation.mayNotOutlive && ending == Ending::ByItself && child.isOutlived();
        child.reapLeftovers();
        run.outcome = outcomeOf(ending, child, isolation.limits.seconds);
        if (outlived && run.outcome.verdict == Verdict::Pass)
            run.outcome = failed("it started a process that is still there after the program's end");
        run.sandbox = child.sandbox();
        run.hostile = run.outcome.finding.compare(0, Hostile.size(), Hostile) == 0;
    }
    close(output.parent);
    run.seconds = since(start);
    memory = nullptr;
    return run;
}

void stage(const std::string &what)
{
    if (memory)
        memory->setStage(what.c_str());
}

void progress()
{
    if (memory)
        memory->step();
}

void settle(Verdict verdict, const char *finding)
{
    memory->settle(verdict, finding);
    _exit(0);
}

void catchInterruptions()
{
    struct sigaction action = {};
    action.sa_handler = noteInterruption;
    const sigset_t signals = endingSignals();
    for (int number = 1; number < NSIG; ++number)
        if (sigismember(&signals, number) == 1)
            sigaction(number, &action, nullptr);
    // A reader that goes away (a pager, head) must not keep the copy from being removed.
    std::signal(SIGPIPE, SIG_IGN);
}

bool interrupted()
{
    return interruption != 0;
}
