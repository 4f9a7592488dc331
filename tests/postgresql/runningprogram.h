// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <csignal>
#include <fcntl.h>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/** A program beside the test, which ends with it. What it prints is not shown. */
class RunningProgram
{
public:
    explicit RunningProgram(const std::vector<std::string> &command)
    {
        std::vector<char *> arguments;
        for (const std::string &word : command)
            arguments.push_back(const_cast<char *>(word.c_str()));
        arguments.push_back(nullptr);
        m_process = ::fork();
        if (m_process == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
            ::dup2(nowhere, STDOUT_FILENO);
            ::dup2(nowhere, STDERR_FILENO);
            ::execv(arguments[0], arguments.data());
            ::_exit(127);
        }
    }
    RunningProgram(const RunningProgram &) = delete;
    RunningProgram &operator=(const RunningProgram &) = delete;
    ~RunningProgram()
    {
        if (m_process > 0) {
            signal(SIGKILL);
            wait();
        }
    }
    void signal(int number) const
    {
        ::kill(m_process, number);
    }
    /** Waits for its end; returns its exit status, or -1 when a signal ended it. */
    int wait()
    {
        int status = 0;
        ::waitpid(m_process, &status, 0);
        m_process = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t m_process;
};
