// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "sensorsdatabase.h"

#include "opensqlitestore.h"
#include "postgresstore.h"

#include <utility>

std::unique_ptr<Store> openDatabase(const Settings &settings)
{
    if (!settings.connection.empty())
        return std::make_unique<PostgresStore>(settings);
    return openSqliteStore(settings.database, Sqlite::Durability::Crash);
}

SensorsDatabase::SensorsDatabase(Settings settings)
    : m_settings(std::move(settings))
{
}

Store &SensorsDatabase::store()
{
    if (m_store && !m_store->serves(m_settings)) {
        m_store->leave();
        m_store.reset();
    }
    if (!m_store)
        open();
    return *m_store;
}

void SensorsDatabase::open()
{
    m_lock.reset();
    m_lock.emplace();
    std::unique_ptr<Store> opened = openDatabase(m_settings);
    // A program that was just killed may need a moment to end; later on, the next round will try again.
    if (m_settings.connection.empty())
        m_lock->take(m_settings.database, m_generation == 0 ? SensorsLock::Patience : 0);
    m_store = std::move(opened);
    ++m_generation;
}
