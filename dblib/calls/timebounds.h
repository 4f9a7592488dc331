// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>

namespace Calls
{
/** Of when a request wants records, in seconds since the Unix epoch; a bound counts when its switch is not 0. */
struct TimeBounds {
    std::int64_t first;
    std::int32_t usesFirst;
    std::int64_t last;
    std::int32_t usesLast;

    bool operator==(const TimeBounds &other) const
    {
        return first == other.first && usesFirst == other.usesFirst && last == other.last && usesLast == other.usesLast;
    }
};

/**
 * Bounds that lie from `least` to `most` and that the same times among these
 * meet. Where none of them does, the bounds stand in the wrong order.
 */
TimeBounds within(std::int64_t least, std::int64_t most, const TimeBounds &bounds);
} // namespace Calls
