// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "comparison.h"

#include <iterator>

namespace
{
std::vector<int> without(const std::vector<int> &from, const std::vector<int> &what)
{
    std::vector<int> rest;
    std::set_difference(from.begin(), from.end(), what.begin(), what.end(), std::back_inserter(rest));
    return rest;
}
} // namespace

std::string difference(const std::string &what, const std::vector<int> &got, const std::vector<int> &expected)
{
    if (got == expected)
        return {};
    const std::vector<int> surplus = without(got, expected);
    const std::vector<int> lacking = without(expected, got);
    std::string text =
        what + ": " + std::to_string(got.size()) + " records, " + std::to_string(expected.size()) + " expected";
    if (!surplus.empty())
        text += "; not wanted: " + listed(surplus);
    if (!lacking.empty())
        text += "; missing: " + listed(lacking);
    return text;
}

std::vector<int> cutById(const std::vector<int> &sortedIds, int nMax, bool first)
{
    const auto wanted = std::ptrdiff_t(std::min(sortedIds.size(), std::size_t(std::max(nMax, 0))));
    return first ? std::vector<int>(sortedIds.begin(), sortedIds.begin() + wanted)
                 : std::vector<int>(sortedIds.end() - wanted, sortedIds.end());
}

std::string compared(int count)
{
    return std::to_string(count) + " requests compared";
}

Outcome comparedInTime(int count, int wanted)
{
    return warned("only " + compared(count) + " in the time, of " + std::to_string(wanted) +
                  "; a longer --timeout allows more");
}
