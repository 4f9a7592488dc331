// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>

/**
 * Names that many rows of a list have in common, each kept once.
 *
 * A name stays where it is until clear() or the pool's end: no row that
 * refers to one may live longer.
 */
class NamePool
{
public:
    struct Name {
        std::string text;     ///< Latin-1
        std::uint32_t id = 0; ///< from 1 on; equal ids, equal texts
    };

    /** The pool's name of this text. Throws std::bad_alloc. */
    const Name *name(std::string_view text);
    void clear();

private:
    std::deque<Name> m_names;
    std::unordered_map<std::string_view, const Name *> m_byText;
};
