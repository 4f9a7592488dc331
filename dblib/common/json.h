// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/** @file RapidJSON for texts that are bytes, with memory that fails by throwing. */

#include <cstddef>
#include <cstdlib>
#include <new>

#if defined(__SSE2__)
#define RAPIDJSON_SSE2
#endif
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace Json
{
/** The library's own allocators do not look whether there was memory. */
struct Allocator {
    static constexpr bool kNeedFree = true; // NOLINT(readability-identifier-naming): RapidJSON asks for these names
    static void *Malloc(std::size_t size)   // NOLINT(readability-identifier-naming)
    {
        return size ? ::operator new(size) : nullptr;
    }
    static void *Realloc(void *old, std::size_t oldSize, std::size_t size) // NOLINT(readability-identifier-naming)
    {
        void *larger = Malloc(size);
        if (old && larger)
            std::memcpy(larger, old, oldSize < size ? oldSize : size);
        Free(old);
        return larger;
    }
    static void Free(void *block) // NOLINT(readability-identifier-naming)
    {
        ::operator delete(block);
    }
};

/** Bytes pass as they are; what an escape names beyond them becomes '?'. */
struct Latin1 : rapidjson::UTF8<> {
    template <class Stream> static void Encode(Stream &stream, unsigned codepoint) // NOLINT
    {
        stream.Put(codepoint <= 0xff ? char(codepoint) : '?');
    }
};

using Buffer = rapidjson::GenericStringBuffer<rapidjson::UTF8<>, Allocator>;
using Writer = rapidjson::Writer<Buffer, rapidjson::UTF8<>, rapidjson::UTF8<>, Allocator>;
using Reader = rapidjson::GenericReader<Latin1, Latin1, Allocator>;
} // namespace Json
