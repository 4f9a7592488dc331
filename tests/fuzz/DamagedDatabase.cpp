// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "DamagedDatabase.h"

#include "MemoryFiles.h"
#include "Store.h"

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
    Store(Name, Sqlite::Durability::Crash, 0)
        .connection()
        .run("PRAGMA journal_mode=DELETE; PRAGMA page_size=512; VACUUM; PRAGMA journal_mode=WAL");
    content = memoryFiles()[Name].bytes;
    {
        Sqlite::Connection db(Name, Sqlite::Durability::Crash, 0);
        sizeOfPage = std::size_t(db.number("PRAGMA page_size"));
        definitions.assign(content.size() / sizeOfPage, '\1');
        // Without rows each table has one page; all others hold the definitions.
        Sqlite::Statement tables(db, "SELECT rootpage FROM sqlite_schema WHERE rootpage > 0");
        while (tables.step()) {
            definitions[std::size_t(tables.number(0)) - 1] = '\0';
        }
    }
    memoryFiles().erase(Name);
}

bool EmptyDatabase::isDefinition(std::size_t page) const
{
    return page < definitions.size() && definitions[page] != '\0';
}

/** Calls action(start, length) for the parts of the file that count; the header's counters and free bytes do not. */
template <class Action> void EmptyDatabase::forEachDefinition(Action action) const
{
    action(std::size_t(0), std::size_t(24));
    action(std::size_t(40), std::size_t(QuestionByte - 40));
    action(std::size_t(100), sizeOfPage - 100);
    for (std::size_t page = 1; page < definitions.size(); ++page) {
        if (isDefinition(page)) {
            action(page * sizeOfPage, sizeOfPage);
        }
    }
}

bool EmptyDatabase::hasSameDefinitions(std::string_view file) const
{
    bool same = file.size() >= content.size();
    forEachDefinition([&](std::size_t start, std::size_t length) {
        same = same && std::memcmp(file.data() + start, content.data() + start, length) == 0;
    });
    return same;
}

std::size_t EmptyDatabase::define(std::uint8_t *file, std::size_t size, std::size_t maxSize) const
{
    if (maxSize < content.size()) {
        return size;
    }
    if (size < content.size()) {
        std::memcpy(file + size, content.data() + size, content.size() - size);
    }
    forEachDefinition(
        [&](std::size_t start, std::size_t length) { std::memcpy(file + start, content.data() + start, length); });
    size = std::max(size, content.size());
    // SQLite reads nothing when the header counts more pages than there are.
    std::size_t counted = 0;
    for (std::size_t place = 28; place < 32; ++place) {
        counted = counted << 8 | file[place];
    }
    for (std::size_t place = 28; counted > size / sizeOfPage && place < 32; ++place) {
        file[place] = std::uint8_t(size / sizeOfPage >> 8 * (31 - place));
    }
    return size;
}
