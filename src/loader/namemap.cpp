// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "namemap.h"

std::string nameMapIn(const std::string &config)
{
    return config + "/Funs.def";
}

NameMap::NameMap(const std::string &path)
{
    const OwnedFile file(openRegularFile(path.c_str()), std::fclose);
    m_exists = GetDefs(file.get(), m_lines, m_count) == 0;
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
