// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "bytes.h"
#include "call.h"

#include <cstdint>
#include <vector>

/** @file Leaving out what texts say, but not how long they are: every byte that is not NUL becomes an x. */
namespace Recording
{
/** The same for the directory, the masks, or the record's texts and values of a call. */
Calls::Call withoutTexts(Calls::Call call);

/** Passes the bytes on, those from `textStart` on without what they say. */
class SinkWithoutTexts : public Calls::ByteSink
{
public:
    SinkWithoutTexts(Calls::ByteSink &sink, std::uint64_t textStart)
        : m_sink(sink)
        , m_textStart(textStart)
    {
    }
    void put(std::uint64_t offset, const char *bytes, std::size_t size) override;

private:
    Calls::ByteSink &m_sink;
    std::uint64_t m_textStart;
    std::vector<char> m_copy;
};
} // namespace Recording
