// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "store.h"

#include <memory>
#include <string>

/**
 * What the contract suite has to know of the database behind a DB library.
 * Each program that links the suite defines one.
 */
class DatabaseUnderTest
{
public:
    DatabaseUnderTest() = default;
    DatabaseUnderTest(const DatabaseUnderTest &) = delete;
    DatabaseUnderTest &operator=(const DatabaseUnderTest &) = delete;
    virtual ~DatabaseUnderTest() = default;

    /** The file of the library. */
    virtual std::string library() const = 0;
    /** Writes the DBLib.def of a configuration folder, so that it names a database without records. */
    virtual void nameFreshDatabase(const std::string &configDir) = 0;
    /** The database that the folder's DBLib.def names, as another program opens it. */
    virtual std::unique_ptr<Store> open(const std::string &configDir) = 0;
    /** Lets the next identifier of "event" or "command" be `count` larger; inside a batch of the store. */
    virtual void skipIdentifiers(Store &store, const std::string &table, std::int64_t count) = 0;
};

DatabaseUnderTest &databaseUnderTest();
