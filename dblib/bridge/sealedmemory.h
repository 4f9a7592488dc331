// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "bytes.h"
#include "descriptor.h"

#include <cstddef>
#include <string_view>

/** Memory of its own file that is filled piece by piece and then never changes. */
class SealedMemory : public Calls::ByteSink
{
public:
    /** `size` zeros. Throws std::system_error. */
    explicit SealedMemory(std::size_t size);

    /** Throws std::system_error. */
    void put(std::uint64_t offset, const char *bytes, std::size_t size) override;
    /** From now on nobody can change it. Throws std::system_error. */
    void seal();

    int descriptor() const
    {
        return m_file.get();
    }
    std::size_t size() const
    {
        return m_size;
    }

private:
    Descriptor m_file;
    std::size_t m_size;
};

/** Sealed memory of another process, to be read. */
class MemoryMapping
{
public:
    /**
     * Maps `size` bytes of `file`, which this process can then read whatever
     * the other one does. Throws Calls::CorruptMessage when the file is not sealed or
     * has another size, and std::system_error.
     */
    MemoryMapping(const Descriptor &file, std::size_t size);
    ~MemoryMapping();
    MemoryMapping(MemoryMapping &&other) noexcept;
    MemoryMapping &operator=(MemoryMapping &&) = delete;
    MemoryMapping(const MemoryMapping &) = delete;
    MemoryMapping &operator=(const MemoryMapping &) = delete;

    std::string_view bytes() const
    {
        return {static_cast<const char *>(m_memory), m_size};
    }

private:
    void *m_memory;
    std::size_t m_size;
};
