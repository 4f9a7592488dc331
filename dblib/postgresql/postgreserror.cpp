// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "postgreserror.h"

namespace Postgres
{
std::string oneLine(const char *message)
{
    std::string line;
    for (const char *at = message ? message : ""; *at; ++at) {
        const auto byte = static_cast<unsigned char>(*at);
        if (byte == '\n' || byte == '\t' || byte == ' ')
            line += line.empty() || line.back() == ' ' ? "" : " ";
        else
            line += byte < ' ' || byte == 0x7f ? '?' : *at;
    }
    while (!line.empty() && line.back() == ' ')
        line.pop_back();
    return line;
}
} // namespace Postgres
