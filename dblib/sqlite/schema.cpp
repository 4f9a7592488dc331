// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "schema.h"

#include "schemadefinitions.h"
#include "sqlite.h"

#include <string>

namespace
{
/** What bringing a file up to date may take of each MB of it: an old one is slow, but none is endless. */
constexpr auto LongestUpgradePerMegabyte = std::chrono::seconds(1);

void upgradeTo(Sqlite::Connection &connection, int version)
{
    const std::int64_t from = connection.number("PRAGMA user_version");
    if (from < 1) {
        Schema::createTables(connection);
        connection.run(("PRAGMA application_id=" + std::to_string(Schema::ApplicationId)).c_str());
    }
    if (version >= Schema::ZonesSince) {
        for (const char *table : {"event", "command"}) {
            Schema::dropZones(connection, table);
            Schema::createZones(connection, table);
        }
    }
    connection.run(("PRAGMA user_version=" + std::to_string(version)).c_str());
}

void requireKnown(const Sqlite::Connection &connection, std::int64_t version, std::int64_t application)
{
    if (application != Schema::ApplicationId || version < 1)
        throw Sqlite::Error(connection.path(), "this is another program's database");
    if (version > Schema::Version) {
        throw Sqlite::Error(connection.path(), "the database has version " + std::to_string(version) +
                                                   ", this program knows versions up to " +
                                                   std::to_string(Schema::Version));
    }
}

/** The version of the tables in the file, 0 when it is empty. Throws for what this program does not know. */
int versionOf(Sqlite::Connection &connection)
{
    const std::int64_t version = connection.number("PRAGMA user_version");
    const std::int64_t application = connection.number("PRAGMA application_id");
    if (application == 0 && version == 0 && connection.number("SELECT count(*) FROM sqlite_schema") == 0)
        return 0;
    requireKnown(connection, version, application);
    return int(version);
}

/** Lets the steps of an upgrade take as long as the size of the file makes them. */
class UpgradeTime
{
public:
    explicit UpgradeTime(Sqlite::Connection &connection)
        : m_db(connection)
    {
        const std::int64_t bytes = m_db.number("PRAGMA page_count") * m_db.number("PRAGMA page_size");
        m_db.limitSteps(Sqlite::Connection::LongestStep + (bytes >> 20) * LongestUpgradePerMegabyte);
    }
    UpgradeTime(const UpgradeTime &) = delete;
    UpgradeTime &operator=(const UpgradeTime &) = delete;
    ~UpgradeTime()
    {
        m_db.limitSteps(Sqlite::Connection::LongestStep);
    }

private:
    Sqlite::Connection &m_db;
};

std::int64_t valueOf(Sqlite::Statement &statement)
{
    const Sqlite::Resetter reset(statement);
    statement.step();
    return statement.number(0);
}
} // namespace

namespace Schema
{
void prepare(Sqlite::Connection &connection, bool mayMake)
{
    {
        // Another program may be making the tables: both marks come from one view.
        const Sqlite::Transaction view(connection, Sqlite::Transaction::Read);
        if (versionOf(connection) == Version)
            return;
    }
    // It may have finished since, so the question is asked again.
    Sqlite::Transaction transaction(connection, Sqlite::Transaction::Write);
    const int version = versionOf(connection);
    if (version == 0 && !mayMake)
        throw Sqlite::Error(connection.path(), "the database is empty");
    if (version > 0)
        requireOwnTables(connection);
    if (version < Version) {
        const UpgradeTime time(connection);
        upgradeTo(connection, Version);
    }
    requireOwnDefinitions(connection);
    transaction.commit();
}

Watch::Watch(Sqlite::Connection &connection)
    : m_db(connection)
    , m_cookie(std::make_unique<Sqlite::Statement>(connection, "PRAGMA schema_version"))
    , m_version(std::make_unique<Sqlite::Statement>(connection, "PRAGMA user_version"))
    , m_application(std::make_unique<Sqlite::Statement>(connection, "PRAGMA application_id"))
{
}

Watch::~Watch() = default;

Change Watch::look()
{
    const std::int64_t cookie = valueOf(*m_cookie);
    const unsigned data = m_db.dataVersion();
    if (m_cookieSeen && data == m_dataSeen)
        return Change::None;
    const std::int64_t version = valueOf(*m_version);
    requireKnown(m_db, version, valueOf(*m_application));
    if (version < Version)
        throw Outdated(m_db.path(), "an older version of the database was restored");
    // SQLite counts up the schema's version also when it writes another state over this one.
    const bool mayBeAnother = cookie != m_cookieSeen;
    if (mayBeAnother)
        requireOwnDefinitions(m_db);
    m_cookieSeen = cookie;
    m_dataSeen = data;
    return mayBeAnother ? Change::Anything : Change::Rows;
}

void Watch::passOver()
{
    m_dataSeen = m_db.dataVersion();
}

void createOlder(Sqlite::Connection &connection, int version)
{
    Sqlite::Transaction transaction(connection, Sqlite::Transaction::Write);
    upgradeTo(connection, version);
    transaction.commit();
}
} // namespace Schema
