// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "configvalue.h"

QString GetConfigValue(char lines[][ConfigLineSize], int &n, const char *key)
{
    std::string value;
    findConfigValue(lines, n, key, value);
    return QString::fromLatin1(value.data(), int(value.size()));
}
