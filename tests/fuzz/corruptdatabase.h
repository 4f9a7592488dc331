// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/**
 * Bytes of a database's header that SQLite leaves free and sets to 0. In an
 * input they say what the store is asked; all 0, as in real files: everything.
 */
enum FreeByte : std::size_t {
    QuestionByte = 72, ///< the question, counted from 1
    ChangeByte = 73,   ///< the change that is made then, counted from 1, before the question is asked again; 0: none
    OpenByte = 74      ///< odd: a store is opened on the file, though one that is open already would do
};

/**
 * A database without rows, in pages as small as SQLite takes them. Inputs that
 * define the same tables at the same places are quick: a store that has opened
 * this one is given their file.
 */
class EmptyDatabase
{
public:
    /** The only one; memoryFiles() must be in use. */
    static const EmptyDatabase &get();

    const std::string &bytes() const
    {
        return m_content;
    }
    std::size_t pageSize() const
    {
        return m_sizeOfPage;
    }
    /** True for the pages, from 0, that say which tables there are. */
    bool isDefinition(std::size_t page) const;
    /** True when `file` defines the same tables at the same places. */
    bool hasSameDefinitions(std::string_view file) const;
    /** Gives a file these definitions, and what it lacks of them; returns its size, which is within `maxSize`. */
    std::size_t define(std::uint8_t *file, std::size_t size, std::size_t maxSize) const;

private:
    EmptyDatabase();
    template <class Action> void forEachDefinition(Action action) const;

    std::string m_content;
    std::size_t m_sizeOfPage = 0;
    std::string m_definitions; ///< a byte for each page: 1 or 0
};
