// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "postgresschema.h"

#include "connection.h"

namespace Postgres
{
namespace
{
/** What two programs that make the tables at once get: the name is taken, or was a moment ago. */
bool isTaken(const Error &error)
{
    return error.state() == "42P06" || error.state() == "23505";
}

void make(Connection &connection, const std::vector<std::string> &steps, std::size_t from)
{
    std::string sql = "BEGIN;";
    // Whoever waited for the lock finds the tables as they were left, and fails where they have changed meanwhile.
    if (from > 0)
        sql += "LOCK TABLE obrim.installation IN ACCESS EXCLUSIVE MODE;";
    for (std::size_t version = from; version < steps.size(); ++version) {
        if (version > 0)
            sql += "DO $$ BEGIN IF (SELECT version FROM obrim.installation) <> " + std::to_string(version) +
                   " THEN RAISE unique_violation USING MESSAGE = 'the tables have changed'; END IF; END $$;";
        sql += steps[version];
        sql += ";UPDATE obrim.installation SET version = " + std::to_string(version + 1) + ";";
    }
    connection.run(sql + "COMMIT");
}

/** The version of the tables; 0 without any. */
std::size_t currentVersion(Connection &connection, const std::string &server, std::size_t newest)
{
    const Result found = connection.query("SELECT current_setting('server_encoding')::text, "
                                          "(to_regnamespace('obrim') IS NOT NULL)::integer, "
                                          "(to_regclass('obrim.installation') IS NOT NULL)::integer");
    const std::string encoding(found.text(0, 0));
    if (encoding != "UTF8")
        throw Error(server, "the database has the encoding " + encoding + ", it has to be UTF8", Error::Refused);
    if (found.number(0, 1) == 0)
        return 0;
    if (found.number(0, 2) == 0)
        throw Error(server, "the schema obrim is another program's", Error::Refused);
    const Result version = connection.query("SELECT version FROM obrim.installation");
    const int number = version.rows() == 1 ? version.number(0, 0) : 0;
    if (number < 1)
        throw Error(server, "the schema obrim is another program's", Error::Refused);
    if (number > int(newest)) {
        throw Error(server,
                    "the database has version " + std::to_string(number) + ", this program knows versions up to " +
                        std::to_string(newest),
                    Error::Refused);
    }
    return std::size_t(number);
}
} // namespace

void prepareSchema(Connection &connection, const std::string &server, const std::vector<std::string> &steps)
{
    for (int tries = 0;; ++tries) {
        const std::size_t version = currentVersion(connection, server, steps.size());
        if (version == steps.size())
            return;
        try {
            return make(connection, steps, version);
        } catch (const Error &error) {
            connection.rollBack();
            if (error.kind() == Error::Refused && (!isTaken(error) || tries > 0)) {
                const std::string reason = std::string(error.what()).substr(server.size() + 2);
                throw Error(server,
                            (version == 0 ? "the tables cannot be made: " : "the tables cannot be renewed: ") + reason,
                            Error::Refused, error.state());
            }
            if (error.kind() != Error::Refused)
                throw;
        }
    }
}
} // namespace Postgres
