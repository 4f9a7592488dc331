// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "sensorsdatabase.h"

#include "opensqlitestore.h"

#include <utility>

SensorsDatabase::SensorsDatabase(std::string path)
    : m_path(std::move(path))
{
}

SqliteStore &SensorsDatabase::store()
{
    if (m_store && !m_store->isInPlace()) {
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
    std::unique_ptr<SqliteStore> opened = openSqliteStore(m_path, Sqlite::Durability::Crash);
    // A program that was just killed may need a moment to end; later on, the next round will try again.
    m_lock->take(m_path, m_generation == 0 ? SensorsLock::Patience : 0);
    m_store = std::move(opened);
    ++m_generation;
}
