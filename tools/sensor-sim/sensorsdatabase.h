// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "sensorslock.h"
#include "sqlitestore.h"

#include <memory>
#include <optional>
#include <string>

/**
 * The database whose sensors this program plays: whichever file stands at the
 * path. One that was put there in place of another is opened and its sensors
 * are taken; while there is none, there is no database.
 */
class SensorsDatabase
{
public:
    explicit SensorsDatabase(std::string path);
    SensorsDatabase(const SensorsDatabase &) = delete;
    SensorsDatabase &operator=(const SensorsDatabase &) = delete;

    /**
     * The open store, valid until the next call. Throws Sqlite::Error: the
     * reason why there is none, or that another program plays its sensors.
     */
    SqliteStore &store();
    /** How many stores there were up to now. */
    int generation() const
    {
        return m_generation;
    }

private:
    void open();

    std::string m_path;
    std::optional<SensorsLock> m_lock; ///< outlives the store
    std::unique_ptr<SqliteStore> m_store;
    int m_generation = 0;
};
