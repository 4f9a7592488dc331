// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

/** What a program that has ended left. */
struct Ended {
    int status; ///< of its end; the negative signal that it died of
    std::string out;
    std::string err;
};

/** obrimctl as a process of its own, killed at the end if it still runs. */
class Child
{
public:
    /** `directory` is what it is started in; of `environment`, "NAME=VALUE" is added to this process's own. */
    explicit Child(const std::vector<std::string> &arguments, const std::string &directory = "/",
                   const std::vector<std::string> &environment = {});
    ~Child();
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    /** Waits for the next line of standard output; empty when there is no further one. */
    std::string line();
    /** What it has written to standard error so far. */
    std::string errors() const;
    /** Waits until that holds a text; false when it never does. */
    bool awaitError(const std::string &text) const;
    void signal(int number) const;
    /** Nobody reads its output any more. */
    void closeOutput();
    /** Waits for its end. */
    Ended end();

private:
    pid_t m_process = -1;
    int m_out = -1;
    int m_err = -1;
    std::string m_read;
};

/** Runs obrimctl to its end. */
Ended runCtl(const std::vector<std::string> &arguments, const std::string &directory = "/",
             const std::vector<std::string> &environment = {});

/**
 * Runs obrimctl on a terminal that is `width` columns wide. What it writes there, with `errorsToo` standard error
 * among it, is the output, with CR LF.
 */
Ended runOnTerminal(const std::vector<std::string> &arguments, int width, bool errorsToo = false,
                    const std::vector<std::string> &environment = {});
