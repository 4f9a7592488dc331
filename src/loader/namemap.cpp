// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "namemap.h"

#include <cstdio>

NameMap::NameMap(const std::string &config)
{
    if (std::FILE *file = openRegularFile((config + "/Funs.def").c_str())) {
        m_exists = true;
        GetDefs(file, m_lines, m_count);
        std::fclose(file);
    }
}

std::string NameMap::configured(const char *key) const
{
    std::string value;
    findConfigValue(m_lines, m_count, key, value);
    return value;
}

std::string NameMap::name(const char *key, const char *usual) const
{
    std::string value = configured(key);
    if (value.empty())
        value = usual;
    return value;
}
