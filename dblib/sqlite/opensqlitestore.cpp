// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "opensqlitestore.h"

#include <cerrno>
#include <set>
#include <sys/stat.h>

namespace
{
bool isMissing(const std::string &path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}
} // namespace

std::unique_ptr<SqliteStore> openSqliteStore(const std::string &path, Sqlite::Durability durability)
{
    static std::set<std::string> opened;
    const bool isKnown = opened.count(path) > 0;
    if (isKnown && isMissing(path))
        throw Sqlite::Error(path, "the database is gone");
    auto store = std::make_unique<SqliteStore>(path, durability, SqliteStore::BusyTime,
                                               isKnown ? Sqlite::WhenMissing::Refuse : Sqlite::WhenMissing::Make);
    opened.insert(path);
    return store;
}
