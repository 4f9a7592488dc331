// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Config.h"

#include <string>

/** The function-name map of the installation whose configuration directory is `config`. */
std::string nameMapIn(const std::string &config);

/** The function-name map of an installation: under which other names a DB library exports its functions. */
class NameMap
{
public:
    /** Reads the file at `path`. Without one, or when it cannot be read, there are no lines. */
    explicit NameMap(const std::string &path);

    /** The name that the map gives the function `key`, for both passes; empty for its usual one. */
    std::string configured(const char *key) const;
    /** The name under which the function `key` is looked up: the configured one, else `usual`. */
    std::string name(const char *key, const char *usual) const;

    bool exists() const
    {
        return m_exists;
    }
    int count() const
    {
        return m_count;
    }
    const char *line(int i) const
    {
        return m_lines[i];
    }

private:
    bool m_exists = false;
    int m_count = 0;
    char m_lines[MaxDefLines][ConfigLineSize] = {};
};
