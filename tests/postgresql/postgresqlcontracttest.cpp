// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/** @file The contract suite on the PostgreSQL library. */
#include "databaseundertest.h"
#include "postgresstore.h"
#include "settings.h"
#include "testserver.h"

#include <fstream>
#include <memory>

namespace
{
class PostgresqlUnderTest : public DatabaseUnderTest
{
public:
    std::string library() const override
    {
        return DBLIB_POSTGRESQL;
    }
    void nameFreshDatabase(const std::string &configDir) override
    {
        if (!m_server.isRunning())
            m_server.start();
        std::ofstream(configDir + "/DBLib.def")
            << "Connection=" << m_server.connection(m_server.freshDatabase()) << "\n";
    }
    std::unique_ptr<Store> open(const std::string &configDir) override
    {
        auto store = std::make_unique<PostgresStore>(readSettings(configDir));
        store->open();
        return store;
    }
    void skipIdentifiers(Store &store, const std::string &table, std::int64_t count) override
    {
        dynamic_cast<PostgresStore &>(store).connection().run("UPDATE obrim.newest SET id = id + " +
                                                              std::to_string(count) + " WHERE kind = '" + table + "'");
    }

private:
    TestServer m_server;
};
} // namespace

DatabaseUnderTest &databaseUnderTest()
{
    static PostgresqlUnderTest postgresql;
    return postgresql;
}
