// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>
#include <vector>

/** A database that an installation can be made on. */
struct Database {
    std::string name;
    std::string library;     ///< file of its DB library
    std::string settings;    ///< what DBLib.def begins with
    bool isInFolder = false; ///< it is kept in a folder Data beside the others, and can be made at once
};

/**
 * The database that a person names, as databaseWords() has them.
 * Throws UsageError for another name, and Failure when its library is not
 * there or cannot be loaded by this program.
 */
Database databaseNamed(const std::string &name);

/** How such names are written, for people: "sqlite, postgresql:CONNECTION or library:FILE". */
std::string databaseWords();
/** What they begin with: a name, and a colon where something must follow. */
std::vector<std::string> databaseBegins();
