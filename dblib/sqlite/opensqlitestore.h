// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "sqlitestore.h"

#include <memory>
#include <string>

/**
 * Opens the database at `path`. It is made when it is missing, but only once in
 * a program's life: one that is gone later may come back, and a new one in its
 * place would hide what happened. Throws Sqlite::Error, std::bad_alloc. Not for
 * two threads at a time.
 */
std::unique_ptr<SqliteStore> openSqliteStore(const std::string &path, Sqlite::Durability durability);
