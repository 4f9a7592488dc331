// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

/**
 * A process with the DB library of an installation, as a console is one. It does
 * what it is told, one thing after the other, and goes on until it is destroyed.
 */
class LibraryAgent
{
public:
    /** What a call gave: its result, what it fetched and what the library said on standard error. */
    struct Answer {
        int result = -1;
        std::vector<std::string> records; ///< "ID SENSOR NAME TIME" of an event, "SENSOR" of a sensor
        std::string said;
    };

    /** Starts the process on `config`, the configuration directory; it is not initialised yet. */
    explicit LibraryAgent(const std::string &config);
    LibraryAgent(const LibraryAgent &) = delete;
    LibraryAgent &operator=(const LibraryAgent &) = delete;
    /** Ends the process as a console ends. */
    ~LibraryAgent();

    Answer initialise()
    {
        return ask("initialise");
    }
    /** All events, the oldest first. */
    Answer events()
    {
        return ask("events");
    }
    Answer sensors()
    {
        return ask("sensors");
    }
    Answer put(const std::string &sensor, const std::string &name)
    {
        return ask("put " + sensor + " " + name);
    }
    /** Kills the process without a warning. */
    void kill();

private:
    Answer ask(const std::string &command);
    std::string readLine();

    pid_t m_process;
    int m_commands = -1;
    int m_answers = -1;
    std::string m_read;
};
