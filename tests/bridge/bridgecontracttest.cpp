// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/** @file The contract suite on the SQLite library behind the bridge. */
#include "databaseundertest.h"
#include "settings.h"
#include "sqlitestore.h"

#include <fstream>

namespace
{
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
        std::ofstream(configDir + "/DBLib.def")
            << "Library=" DBLIB_SQLITE "\nHost=" DBLIB_HOST "\nDatabase=" << database << '\n';
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
