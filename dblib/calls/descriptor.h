// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <unistd.h>
#include <utility>

/** A file descriptor that is closed with its owner. */
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int number)
        : m_number(number)
    {
    }
    ~Descriptor()
    {
        reset();
    }
    Descriptor(Descriptor &&other) noexcept
        : m_number(std::exchange(other.m_number, -1))
    {
    }
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        reset(std::exchange(other.m_number, -1));
        return *this;
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    int get() const
    {
        return m_number;
    }
    /** Closes the descriptor, and takes another one over. */
    void reset(int number = -1)
    {
        if (m_number >= 0)
            close(m_number);
        m_number = number;
    }

private:
    int m_number = -1;
};
