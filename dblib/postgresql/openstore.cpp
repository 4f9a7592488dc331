// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "library.h"
#include "postgresstore.h"

std::unique_ptr<Store> openStore(const Settings &settings)
{
    if (settings.connection.empty())
        throw StoreError(settings.file, "there is no Connection=, and this is the library of PostgreSQL databases");
    return std::make_unique<PostgresStore>(settings);
}
