// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#include "recordparts.h"

#include "MessageEventParam.h"
#include "WCompare.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace
{
/** A record's text as a NUL-terminated one: the buffer itself where it is terminated or has no length. */
class TerminatedText
{
public:
    TerminatedText(const char *buffer, int length)
        : m_text(buffer)
    {
        if (!buffer || length <= 0 || std::memchr(buffer, '\0', std::size_t(length)))
            return;
        const std::size_t copied = std::min(std::size_t(length), sizeof(m_copy) - 1);
        std::copy_n(buffer, copied, m_copy);
        m_copy[copied] = '\0';
        m_text = m_copy;
    }
    TerminatedText(const TerminatedText &) = delete;
    TerminatedText &operator=(const TerminatedText &) = delete;

    operator const char *() const
    {
        return m_text;
    }

private:
    char m_copy[1025]; // 1024 bytes are beyond the matcher's bounds, as the whole text is
    const char *m_text;
};
} // namespace

namespace RecordParts
{
void release(char *&text)
{
    delete[] text;
    text = nullptr;
}

void allocate(char *&text, int length)
{
    release(text);
    text = new char[std::size_t(length > 0 ? length : 0) + 1];
}

void allocateIfAny(char *&text, int length)
{
    release(text);
    if (length > 0)
        allocate(text, length);
}

void releaseParameters(CMessageEventParam *&par, int &count)
{
    delete[] par;
    par = nullptr;
    count = 0;
}

void createParameters(CMessageEventParam *&par, int count)
{
    delete[] par;
    par = nullptr;
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
    return !mask || WCompareNoCase(TerminatedText(mask, maskLength), TerminatedText(text, textLength)) != 0;
}
} // namespace RecordParts
