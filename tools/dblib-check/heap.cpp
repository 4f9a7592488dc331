// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "heap.h"

Heap::Faults Heap::Faults::operator-(const Faults &earlier) const
{
    return {overruns - earlier.overruns, doubleFrees - earlier.doubleFrees, invalidFrees - earlier.invalidFrees};
}

bool Heap::Faults::any() const
{
    return overruns + doubleFrees + invalidFrees > 0;
}

std::string Heap::Faults::text() const
{
    std::string text;
    const auto tell = [&text](unsigned count, const char *what) {
        if (count > 0)
            text += (text.empty() ? "" : "; ") + std::to_string(count) + " times " + what;
    };
    tell(overruns, "written past the end of a block of its own");
    tell(doubleFrees, "freed what was free already");
    tell(invalidFrees, "freed what was never allocated");
    return text;
}
