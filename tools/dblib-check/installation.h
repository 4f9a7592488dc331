// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>
#include <vector>

/** A directory of the checker's own, removed with all that is in it at the end. */
class TemporaryDirectory
{
public:
    /** Throws std::system_error. */
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;

    /** Absolute, no link in it. */
    const std::string &path() const
    {
        return m_path;
    }

private:
    std::string m_path;
};

/** A copy of an installation. */
struct InstallationCopy {
    std::string config;               ///< the copy's configuration directory
    std::vector<std::string> leftOut; ///< what could not be read, outside of the configuration directory
};

/**
 * Copies the installation that `config` belongs to below `to`. The installation
 * is the directory above when it has a `Libs` folder, else the configuration
 * directory alone: what lies beside it is then none of ours. Links stay links;
 * pipes, devices and sockets are left out. An installation that is at work is
 * copied again until it stood still meanwhile, a few times.
 * Throws std::runtime_error that names what could not be copied, also when the
 * user interrupts.
 */
InstallationCopy copyInstallation(const std::string &config, const std::string &to);
