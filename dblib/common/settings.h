// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

/** What an installation may say about its database in Config/DBLib.def. */
struct Settings {
    std::string file;          ///< path of DBLib.def
    std::string database;      ///< path of the database file; empty with a connection
    std::string connection;    ///< libpq's words for a server and its database; empty: the database is a file
    int connectSeconds = 0;    ///< how long a call waits for a connection
    int statementSeconds = 0;  ///< how long it waits for the answer to a statement
    int deadAfterSeconds = 0;  ///< a sensor that sent no heartbeat for longer counts as dead
    bool isFileShared = false; ///< others than its owner may read DBLib.def
};

/**
 * Reads `configDir`/DBLib.def; what it does not say, and a missing file, means
 * the default. Throws StoreError when there is a file that cannot be read or
 * that names two databases, and std::bad_alloc.
 */
Settings readSettings(const std::string &configDir);
