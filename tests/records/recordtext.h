// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "parametertext.h"

#include <QString>

/** A record's text as a window shows it: what recordBytes() gives, read as Latin-1. */
inline QString recordText(const char *text, int length)
{
    const std::string_view bytes = recordBytes(text, length);
    return QString::fromLatin1(bytes.data(), int(bytes.size()));
}
