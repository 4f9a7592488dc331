// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "timebounds.h"

#include <algorithm>

namespace Calls
{
TimeBounds within(std::int64_t least, std::int64_t most, const TimeBounds &bounds)
{
    // The nearest time would not do for these: the records of that very second would meet it.
    if (bounds.usesFirst != 0 && bounds.first > most)
        return {most, bounds.usesFirst, most - 1, 1};
    if (bounds.usesLast != 0 && bounds.last < least)
        return {least + 1, 1, least, bounds.usesLast};
    return {std::clamp(bounds.first, least, most), bounds.usesFirst, std::clamp(bounds.last, least, most),
            bounds.usesLast};
}
} // namespace Calls
