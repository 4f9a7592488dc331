// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

namespace Sqlite
{
class Connection;
}

/** @file The definitions of the tables, and whether those in a file are the same. `table` is "event" or "command". */
namespace Schema
{
/** Makes the tables of version 1, without zones, and the views for other tools. */
void createTables(Sqlite::Connection &connection);
/** Makes the zones of a table and fills them. */
void createZones(Sqlite::Connection &connection, const std::string &table);
/** Takes away what zones a table has. */
void dropZones(Sqlite::Connection &connection, const std::string &table);

/** Throws Sqlite::Error unless the tables that all versions have are defined as this program defines them. */
void requireOwnTables(Sqlite::Connection &connection);

/**
 * Throws Sqlite::Error unless tables and zones are defined as this program
 * defines them and nothing else in the file is run when they are read and
 * written. A trigger, an expression in an index or a default is a program in
 * the file, which may run for ever, and a view can stand where a table should.
 * Tables, views and indexes of others are left alone.
 */
void requireOwnDefinitions(Sqlite::Connection &connection);
} // namespace Schema
