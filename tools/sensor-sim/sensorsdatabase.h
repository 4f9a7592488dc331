// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "sensorslock.h"
#include "settings.h"
#include "store.h"

#include <memory>
#include <optional>

/** The database that the settings name, as those who write many events open it. Throws StoreError. */
std::unique_ptr<Store> openDatabase(const Settings &settings);

/**
 * The database whose sensors this program plays.
 *
 * Of a file: whichever stands at the path. One that was put there in place of
 * another is opened and its sensors are taken; while there is none, there is no
 * database. Of a server: several programs may play its sensors, as it sees to it
 * that each command is obeyed once.
 */
class SensorsDatabase
{
public:
    explicit SensorsDatabase(Settings settings);
    SensorsDatabase(const SensorsDatabase &) = delete;
    SensorsDatabase &operator=(const SensorsDatabase &) = delete;

    /**
     * The open store, valid until the next call. Throws StoreError: the
     * reason why there is none, or that another program plays its sensors.
     */
    Store &store();
    /** How many stores there were up to now. */
    int generation() const
    {
        return m_generation;
    }

private:
    void open();

    Settings m_settings;
    std::optional<SensorsLock> m_lock; ///< outlives the store
    std::unique_ptr<Store> m_store;
    int m_generation = 0;
};
