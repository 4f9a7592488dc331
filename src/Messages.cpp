// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#include "Messages.h"

#include <obrim/recordlayout.h>

#include <cstring>

void CopyPtr(char **dst, int *dstLen, const char *src, int srcLen)
{
    char *copy = nullptr;
    if (srcLen > 0 && src) {
        copy = new char[std::size_t(srcLen)];
        std::memcpy(copy, src, std::size_t(srcLen));
    }
    // Released only now: src may be, or lie in, what *dst holds.
    delete[] *dst;
    *dst = copy;
    *dstLen = copy ? srcLen : 0;
}
