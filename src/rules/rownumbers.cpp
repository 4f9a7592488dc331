// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "rownumbers.h"

#include <algorithm>
#include <climits>

namespace
{
constexpr int MinDigits = 3;
}

int rowNumberDigits(int count)
{
    return std::max(int(QString::number(std::max(count, 0)).size()), MinDigits);
}

QString rowNumberText(int number, int digits)
{
    return QString::asprintf("%*.*d", digits, digits, number);
}

int rowNumber(int i, int count, bool first)
{
    return first ? i : count - 1 - i;
}

int addedRowNumber(int last, int i)
{
    return int(std::min<long long>((long long)last + i + 1, INT_MAX));
}
