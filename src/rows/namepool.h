// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

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
    std::unordered_map<std::string_view, std::unique_ptr<const Name>> m_names; ///< by their own texts
};

/**
 * Finds the names of records that a library has lent: it mostly gives all records of one name the same bytes, which
 * are then looked up once. The bytes may not change as long as it lives.
 */
class LentNames
{
public:
    /** For so many records. The pool must outlive it. */
    LentNames(NamePool &pool, int records);

    /** The pool's name of a record's text. Throws std::bad_alloc. */
    const NamePool::Name *name(const char *text, int length);

private:
    struct Known {
        const char *text = nullptr;
        int length = 0;
        const NamePool::Name *name = nullptr;
    };

    NamePool &m_pool;
    std::vector<Known> m_known; ///< by the text's address
};
