// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Config.h"

#include <QString>

/** The value that findConfigValue() finds, its bytes read as Latin-1; empty when no line has the key. */
inline QString GetConfigValue(char lines[][ConfigLineSize], int &n, const char *key)
{
    std::string value;
    findConfigValue(lines, n, key, value);
    return QString::fromLatin1(value.data(), int(value.size()));
}
