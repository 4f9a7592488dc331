// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "recordsizes.h"

#include "Messages.h"

int sizesFor(DBFunction function, unsigned bits)
{
    if (function == DBFunctionGetSensors)
        return bits == 32 ? 32 : 56;
    if (function == DBFunctionGetEvents)
        return bits == 32 ? 40 | 80 << 16 : 72 | 104 << 16;
    return bits == 32 ? 32 | 68 << 16 : 56 | 88 << 16;
}

int ownSizes(DBFunction function)
{
    return function == DBFunctionGetSensors ? SensorSize : function == DBFunctionGetEvents ? EventSizes : CommandSizes;
}

int translatedSizes(DBFunction function, int sizes, unsigned bits)
{
    if (sizes == sizesFor(function, bits))
        return ownSizes(function);
    return sizes == ownSizes(function) ? 0 : sizes;
}
