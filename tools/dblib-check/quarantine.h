// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <atomic>
#include <cstddef>

extern "C" void __libc_free(void *p);

/**
 * Blocks that were freed lately. They are kept from being used again, so that
 * a second free and a use afterwards meet the marks of a freed block.
 */
class Quarantine
{
public:
    void take(void *raw, std::size_t size)
    {
        while (m_lock.test_and_set(std::memory_order_acquire)) {
        }
        m_bytes += size;
        while (m_count >= m_most || (m_bytes > m_mostBytes && m_count > 0)) {
            const Entry &oldest = m_entries[m_first];
            m_first = (m_first + 1) % Places;
            --m_count;
            m_bytes -= oldest.size;
            __libc_free(oldest.raw);
        }
        m_entries[(m_first + m_count++) % Places] = {raw, size};
        m_lock.clear(std::memory_order_release);
    }
    void keepFew()
    {
        m_most = Places / 16;
        m_mostBytes = MaxBytes / 32;
    }

private:
    struct Entry {
        void *raw;
        std::size_t size;
    };
    static constexpr std::size_t Places = 8192;
    static constexpr std::size_t MaxBytes = 4 << 20;
    std::atomic<std::size_t> m_most{Places};
    std::atomic<std::size_t> m_mostBytes{MaxBytes};
    Entry m_entries[Places] = {};
    std::size_t m_first = 0;
    std::size_t m_count = 0;
    std::size_t m_bytes = 0;
    std::atomic_flag m_lock = ATOMIC_FLAG_INIT;
};
