// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

/** What the fuzzer calls with each input. A fault ends the process. */
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

/** Ends the process when `holds` is false, so that the fuzzer keeps the input. */
inline void require(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

/** A memory file to be read; none without bytes. Only one may be open at a time. */
inline std::FILE *openInMemory(const void *content, std::size_t size)
{
    std::FILE *f = size > 0 ? fmemopen(const_cast<void *>(content), size, "r") : nullptr;
    if (f) {
        // The library would allocate a far larger buffer for each file, which takes most of a short run's time.
        static char buffer[512];
        std::setvbuf(f, buffer, _IOFBF, sizeof(buffer));
    }
    return f;
}

/** Hands out an input's bytes piece by piece; zeros and empty texts when it has run out. */
class Input
{
public:
    Input(const std::uint8_t *data, std::size_t size)
        : m_next(reinterpret_cast<const char *>(data))
        , m_left(size)
    {
    }

    std::string bytes(std::size_t wanted)
    {
        const std::string result(m_next, std::min(wanted, m_left));
        m_next += result.size();
        m_left -= result.size();
        return result;
    }

    /** All bytes that are left. */
    std::string rest()
    {
        return bytes(m_left);
    }

    std::uint8_t byte()
    {
        const std::string one = bytes(1);
        return one.empty() ? 0 : std::uint8_t(one[0]);
    }

    int integer()
    {
        int number = 0;
        const std::string four = bytes(sizeof(number));
        std::memcpy(&number, four.data(), four.size());
        return number;
    }

private:
    const char *m_next;
    std::size_t m_left;
};
