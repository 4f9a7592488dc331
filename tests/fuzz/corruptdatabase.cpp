// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "corruptdatabase.h"

#include "memoryfiles.h"
#include "sqlitestore.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr char Name[] = "empty.db";
} // namespace

const EmptyDatabase &EmptyDatabase::get()
{
    static const EmptyDatabase only;
    return only;
}

EmptyDatabase::EmptyDatabase()
{
    SqliteStore(Name, Sqlite::Durability::Crash, 0)
        .connection()
        .run("PRAGMA journal_mode=DELETE; PRAGMA page_size=512; VACUUM; PRAGMA journal_mode=WAL");
    m_content = memoryFiles()[Name].bytes;
    {
        Sqlite::Connection db(Name, Sqlite::Durability::Crash, 0);
        m_sizeOfPage = std::size_t(db.number("PRAGMA page_size"));
        m_definitions.assign(m_content.size() / m_sizeOfPage, '\1');
        // Without rows each table has one page; all others hold the definitions.
        Sqlite::Statement tables(db, "SELECT rootpage FROM sqlite_schema WHERE rootpage > 0");
        while (tables.step())
            m_definitions[std::size_t(tables.number(0)) - 1] = '\0';
    }
    memoryFiles().erase(Name);
}

bool EmptyDatabase::isDefinition(std::size_t page) const
{
    return page < m_definitions.size() && m_definitions[page] != '\0';
}

/** Calls action(start, length) for the parts of the file that count; the header's counters and free bytes do not. */
template <class Action> void EmptyDatabase::forEachDefinition(Action action) const
{
    action(std::size_t(0), std::size_t(24));
    action(std::size_t(40), std::size_t(QuestionByte - 40));
    action(std::size_t(100), m_sizeOfPage - 100);
    for (std::size_t page = 1; page < m_definitions.size(); ++page)
        if (isDefinition(page))
            action(page * m_sizeOfPage, m_sizeOfPage);
}

bool EmptyDatabase::hasSameDefinitions(std::string_view file) const
{
    bool same = file.size() >= m_content.size();
    forEachDefinition([&](std::size_t start, std::size_t length) {
        same = same && std::memcmp(file.data() + start, m_content.data() + start, length) == 0;
    });
    return same;
}

std::size_t EmptyDatabase::define(std::uint8_t *file, std::size_t size, std::size_t maxSize) const
{
    if (maxSize < m_content.size())
        return size;
    if (size < m_content.size())
        std::memcpy(file + size, m_content.data() + size, m_content.size() - size);
    forEachDefinition(
        [&](std::size_t start, std::size_t length) { std::memcpy(file + start, m_content.data() + start, length); });
    size = std::max(size, m_content.size());
    // SQLite reads nothing when the header counts more pages than there are.
    std::size_t counted = 0;
    for (std::size_t place = 28; place < 32; ++place)
        counted = counted << 8 | file[place];
    for (std::size_t place = 28; counted > size / m_sizeOfPage && place < 32; ++place)
        file[place] = std::uint8_t(size / m_sizeOfPage >> 8 * (31 - place));
    return size;
}
