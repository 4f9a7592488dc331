// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "library.h"
#include "opensqlitestore.h"

std::unique_ptr<Store> openStore(const Settings &settings)
{
    if (!settings.connection.empty())
        throw StoreError(settings.file, "Connection= names a server, and this is the library of SQLite databases");
    return openSqliteStore(settings.database, Sqlite::Durability::PowerLoss);
}
