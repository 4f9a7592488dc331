// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "child.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
/** Only a test that fails waits so long. */
constexpr int PatienceSeconds = 120;

[[noreturn]] void become(std::vector<std::string> arguments, const std::string &directory,
                         const std::vector<std::string> &environment)
{
    setenv("TZ", "UTC", 1);
    setenv("LC_ALL", "C.UTF-8", 1);
    unsetenv("LANGUAGE");
    unsetenv("NO_COLOR");
    for (const std::string &variable : environment)
        putenv(const_cast<char *>(variable.c_str()));
    arguments.insert(arguments.begin(), OBRIMCTL);
    std::vector<char *> pointers;
    for (std::string &argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    if (chdir(directory.c_str()) == 0)
        execv(pointers[0], pointers.data());
    _exit(127);
}

int fileWithoutName()
{
    std::string pattern = "/tmp/obrimctl-errors-XXXXXX";
    const int file = mkstemp(pattern.data());
    unlink(pattern.c_str());
    return file;
}

std::string contents(int file)
{
    std::string text(std::size_t(lseek(file, 0, SEEK_END)), '\0');
    text.resize(std::size_t(std::max<ssize_t>(0, pread(file, text.data(), text.size(), 0))));
    return text;
}

int statusOf(pid_t process)
{
    int status = -1;
    waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

/** False at the end of the file, which on a terminal is an error. */
bool readMore(int descriptor, std::string &text)
{
    char bytes[4096];
    const ssize_t count = read(descriptor, bytes, sizeof(bytes));
    text.append(bytes, count > 0 ? std::size_t(count) : 0);
    return count > 0;
}
} // namespace

Child::Child(const std::vector<std::string> &arguments, const std::string &directory,
             const std::vector<std::string> &environment)
    : m_err(fileWithoutName())
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        std::abort();
    m_process = fork();
    if (m_process == 0) {
        dup2(ends[1], STDOUT_FILENO);
        dup2(m_err, STDERR_FILENO);
        alarm(PatienceSeconds);
        become(arguments, directory, environment);
    }
    close(ends[1]);
    m_out = ends[0];
}

Child::~Child()
{
    if (m_process > 0) {
        kill(m_process, SIGKILL);
        statusOf(m_process);
    }
    closeOutput();
    close(m_err);
}

std::string Child::line()
{
    std::size_t feed = 0;
    while ((feed = m_read.find('\n')) == std::string::npos)
        if (!readMore(m_out, m_read))
            return {};
    std::string found = m_read.substr(0, feed);
    m_read.erase(0, feed + 1);
    return found;
}

std::string Child::errors() const
{
    return contents(m_err);
}

bool Child::awaitError(const std::string &text) const
{
    for (int i = 0; i < PatienceSeconds * 100; ++i) {
        if (errors().find(text) != std::string::npos)
            return true;
        usleep(10000);
    }
    return false;
}

void Child::signal(int number) const
{
    kill(m_process, number);
}

void Child::closeOutput()
{
    if (m_out >= 0)
        close(m_out);
    m_out = -1;
}

Ended Child::end()
{
    while (m_out >= 0 && readMore(m_out, m_read)) {
    }
    const int status = statusOf(m_process);
    m_process = -1;
    return {status, m_read, errors()};
}

Ended runCtl(const std::vector<std::string> &arguments, const std::string &directory,
             const std::vector<std::string> &environment)
{
    return Child(arguments, directory, environment).end();
}

Ended runOnTerminal(const std::vector<std::string> &arguments, int width, bool errorsToo,
                    const std::vector<std::string> &environment)
{
    winsize size = {};
    size.ws_col = static_cast<unsigned short>(width);
    size.ws_row = 24;
    const int errors = fileWithoutName();
    int terminal = -1;
    const pid_t process = forkpty(&terminal, nullptr, nullptr, &size);
    if (process == 0) {
        if (!errorsToo)
            dup2(errors, STDERR_FILENO);
        setenv("TERM", "xterm", 1);
        alarm(PatienceSeconds);
        become(arguments, "/", environment);
    }
    Ended ended = {0, {}, {}};
    while (readMore(terminal, ended.out)) {
    }
    ended.status = statusOf(process);
    ended.err = contents(errors);
    close(terminal);
    close(errors);
    return ended;
}
