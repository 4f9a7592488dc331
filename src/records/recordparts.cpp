// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#include "recordparts.h"

#include "MessageEventParam.h"
#include "WCompare.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace
{
/** Within how many bytes a text ends that has this length field. */
std::size_t roomOf(int length)
{
    return length > 0 ? std::size_t(length) : SIZE_MAX;
}
} // namespace

namespace RecordParts
{
void release(char *&text, int &length)
{
    delete[] text;
    text = nullptr;
    length = 0;
}

void allocate(char *&text, int length)
{
    delete[] std::exchange(text, nullptr);
    text = new char[std::size_t(std::max(length, 0)) + 1];
}

void allocateIfAny(char *&text, int length)
{
    if (length > 0)
        allocate(text, length);
    else
        delete[] std::exchange(text, nullptr);
}

void releaseParameters(CMessageEventParam *&par, int &count)
{
    delete[] par;
    par = nullptr;
    count = 0;
}

void createParameters(CMessageEventParam *&par, int count)
{
    delete[] std::exchange(par, nullptr);
    if (count > 0) {
        // The branch that coverage leaves out is the compiler's: a size that overflows, with 4-byte pointers only.
        par = new CMessageEventParam[std::size_t(count)]; // GCOVR_EXCL_BR_LINE
    }
}

void copyParameters(CMessageEventParam *&par, int &count, const CMessageEventParam *from, int fromCount)
{
    const int wanted = from && fromCount > 0 ? fromCount : 0;
    if (count != fromCount || !par || wanted == 0) {
        releaseParameters(par, count);
        createParameters(par, wanted);
        count = fromCount;
    }
    for (int i = 0; i < wanted; ++i)
        par[i] = from[i];
}

void allocateParameterStrings(CMessageEventParam *par, int count)
{
    for (int i = 0; par && i < count; ++i)
        par[i].AllocateStrings();
}

bool matches(const char *mask, int maskLength, const char *text, int textLength)
{
    return !mask || WCompareNoCase(mask, roomOf(maskLength), text, roomOf(textLength)) != 0;
}
} // namespace RecordParts
