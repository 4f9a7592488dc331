// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

struct sqlite3;

namespace Sqlite
{
/** What SQLite's result `code` means for the file `path`, in words for whoever runs the installation; `db` may be NULL.
 */
std::string reasonOf(int code, sqlite3 *db, const std::string &path);
} // namespace Sqlite
