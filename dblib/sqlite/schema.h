// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "sqlite.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

/**
 * @file
 * The tables of an installation's database. docs/sqlite.md explains them to
 * those who read them with other tools.
 */
namespace Schema
{
/** The version that this program writes, kept in the file's user_version. */
constexpr int Version = 3;
/** Versions before have no zones, or other ones. */
constexpr int ZonesSince = 3;
/** Marks the file as an installation's database: "obrm" in the file's application_id. */
constexpr int ApplicationId = 0x6f62726d;

/** Identifiers per zone, as a power of two, from the finest level. */
constexpr int ZoneShifts[] = {8, 14, 20};
constexpr int ZoneLevels = int(sizeof ZoneShifts / sizeof ZoneShifts[0]);

/**
 * Makes the tables in an empty file, if that is wanted, and brings those of an
 * older version up to date, in one transaction. Throws Sqlite::Error for a newer
 * version, for another program's database, for one whose tables are not as this
 * program makes them or that holds foreign triggers or virtual tables, and when
 * it cannot be written; the file is then as it was.
 */
void prepare(Sqlite::Connection &connection, bool mayMake = true);

/** A file that was prepared has tables of an older version now: it has to be prepared again. */
class Outdated : public StoreError
{
public:
    using StoreError::StoreError;
};

/** What other programs may have done to a file. */
enum class Change {
    None,
    Rows,    ///< written in it
    Anything ///< changed its tables, or restored another state into it
};

/**
 * Watches a prepared file: another program may change its tables at any time,
 * or restore another state into it.
 */
class Watch
{
public:
    explicit Watch(Sqlite::Connection &connection);
    Watch(const Watch &) = delete;
    Watch &operator=(const Watch &) = delete;
    ~Watch();

    /**
     * To be called at the beginning of each transaction: what may have changed
     * since the last call. Throws what prepare throws, and Outdated, as long as
     * there is a reason.
     */
    Change look();
    /** To be called after a transaction of this connection, whose changes are no news. */
    void passOver();

private:
    Sqlite::Connection &m_db;
    std::unique_ptr<Sqlite::Statement> m_cookie;
    std::unique_ptr<Sqlite::Statement> m_version;
    std::unique_ptr<Sqlite::Statement> m_application;
    std::optional<std::int64_t> m_cookieSeen;
    unsigned m_dataSeen = 0;
};

/**
 * Takes away the trigger that widens the zones, and puts it back: for many
 * inserts in one transaction, which widen the zones beforehand. With the
 * trigger SQLite has to be able to undo each row alone, which halves the speed.
 * Other programs never see the table without it.
 */
void unwatchInserts(Sqlite::Connection &connection, const std::string &table);
void watchInserts(Sqlite::Connection &connection, const std::string &table);

/** Makes the tables as `version` had them, in a file without tables: what prepare has to cope with. */
void createOlder(Sqlite::Connection &connection, int version);
} // namespace Schema
