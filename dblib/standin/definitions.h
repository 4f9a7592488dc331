// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Config.h"

#include <string>

/** The settings of an installation's DB library: Config/DBLib.def. */
class Definitions
{
public:
    /**
     * Reads `configDir`/DBLib.def; a missing file has no settings. Throws
     * std::runtime_error when there is one that cannot be read.
     */
    explicit Definitions(const std::string &configDir);

    /** Empty when it is not set. */
    std::string text(const char *key) const;
    /** A path that counts from the configuration directory; empty when it is not set. */
    std::string path(const char *key) const;
    /** A whole number of `least` to `most`. Throws std::runtime_error for anything else. */
    int number(const char *key, int otherwise, int least, int most) const;
    /** "yes" or "no". Throws std::runtime_error for anything else. */
    bool flag(const char *key, bool otherwise) const;
    /** The path that must be set. Throws std::runtime_error when it is not. */
    std::string requiredPath(const char *key) const;

private:
    [[noreturn]] void refuse(const char *key, const std::string &reason) const;

    std::string m_configDir;
    std::string m_path;
    int m_count = 0;
    char m_lines[MaxDefLines][ConfigLineSize];
};

/** The file that holds the function at `address`, links followed; empty when the system does not say. */
std::string fileOf(const void *address);

/** Whether both paths lead to one file. */
bool areOneFile(const std::string &path, const std::string &other);
