// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

/** A directory of the checker's own, removed with all that is in it at the end. */
class TemporaryDirectory
{
public:
    /** Throws std::system_error. */
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;

    const std::string &path() const
    {
        return m_path;
    }

private:
    std::string m_path;
};

/**
 * Copies the installation that `config` belongs to below `to` and returns the
 * copy's configuration directory. The installation is the directory above when
 * it has a `Libs` folder, else the configuration directory alone: what lies
 * beside it is then none of ours. Pipes, devices and sockets are left out.
 * Throws std::runtime_error that names what could not be copied.
 */
std::string copyInstallation(const std::string &config, const std::string &to);
