// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>
#include <vector>

namespace Postgres
{
class Connection;

/** The statements that lead to each version of the tables from the one before; the first makes version 1. */
const std::vector<std::string> &schemaSteps();

/**
 * Makes the tables in a database without them and brings those of an older
 * version up to date, each in one transaction. Throws Error for a newer version,
 * another program's schema, another encoding than UTF-8, and when they cannot be
 * made; the database is then as it was. `server` is named in messages.
 */
void prepareSchema(Connection &connection, const std::string &server,
                   const std::vector<std::string> &steps = schemaSteps());
} // namespace Postgres
