// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#include "clock.h"

namespace
{
std::time_t (*replacement)() = nullptr;
}

std::time_t currentTime()
{
    return replacement ? replacement() : std::time(nullptr);
}

void setClock(std::time_t (*clock)())
{
    replacement = clock;
}
