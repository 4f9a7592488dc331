// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "namemap.h"

#include <cstdio>

std::string nameMapIn(const std::string &config)
{
    return config + "/Funs.def";
}

NameMap::NameMap(const std::string &path)
{
    if (std::FILE *file = openRegularFile(path.c_str())) {
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
    const std::string value = configured(key);
    return value.empty() ? usual : value;
}
