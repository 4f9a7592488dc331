// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "loadfeedback.h"

bool pointerWaitsAtOnce(int asked, const LastLoad &last)
{
    // So many may take long where fewer did not.
    constexpr int many = 100000;
    return last.milliseconds >= LongLoad || (asked >= many && asked > last.asked);
}

bool progressIsDue(int sinceStart, int sinceTold)
{
    // A number that changes more often cannot be read.
    constexpr int pause = 100;
    return sinceStart >= LongLoad && sinceTold >= pause;
}
