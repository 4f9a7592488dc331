// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

/** What an installation may say about its database in Config/DBLib.def. */
struct Settings {
    std::string database;     ///< path of the database file
    int deadAfterSeconds = 0; ///< a sensor that gave no sign of life for longer counts as dead
};

/**
 * Reads `configDir`/DBLib.def; what it does not say, and a missing file, means
 * the default. Throws StoreError when there is a file that cannot be read,
 * and std::bad_alloc.
 */
Settings readSettings(const std::string &configDir);
