// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * The contract suite on the SQLite library behind the bridge.
 * OBRIM_BRIDGED_SQLITE names the file of a SQLite library of 32 bits to be
 * taken in its place.
 */
#include "databaseundertest.h"
#include "settings.h"
#include "sqlitestore.h"

#include <cstdlib>
#include <fstream>

namespace
{
/** The library and its host: the suite works with a copy of the bridge, which has no host beside it. */
std::string bridged()
{
    const char *other = std::getenv("OBRIM_BRIDGED_SQLITE");
    if (!other)
        return "Library=" DBLIB_SQLITE "\nHost=" DBLIB_HOST "\n";
    return std::string("Library=") + other + "\nHost=" DBLIB_HOST_32 "\n";
}

class BridgedSqlite : public DatabaseUnderTest
{
public:
    std::string library() const override
    {
        return DBLIB_BRIDGE;
    }
    void nameFreshDatabase(const std::string &configDir) override
    {
        const std::string database = "data/fresh" + std::to_string(++m_databases) + "/installation.db";
        std::ofstream(configDir + "/DBLib.def") << bridged() << "Database=" << database << '\n';
    }
    std::unique_ptr<Store> open(const std::string &configDir) override
    {
        return std::make_unique<SqliteStore>(readSettings(configDir).database, Sqlite::Durability::Crash);
    }
    void skipIdentifiers(Store &store, const std::string &table, std::int64_t count) override
    {
        const std::string sql =
            "UPDATE sqlite_sequence SET seq = seq + " + std::to_string(count) + " WHERE name = '" + table + "'";
        dynamic_cast<SqliteStore &>(store).connection().run(sql.c_str());
    }

private:
    int m_databases = 0;
};
} // namespace

DatabaseUnderTest &databaseUnderTest()
{
    static BridgedSqlite sqlite;
    return sqlite;
}
