// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#include "Clock.h"

namespace
{
std::time_t (*replacement)() = nullptr;
}

std::time_t CurrentTime()
{
    return replacement ? replacement() : std::time(nullptr);
}

void SetClock(std::time_t (*clock)())
{
    replacement = clock;
}
