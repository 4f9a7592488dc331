// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "newmessage.h"
#include "sensors.h"
#include "sqlite.h"

#include <cstdint>
#include <string>
#include <vector>

/** The table of sensors. Call all of it inside transactions. */
class SensorTable
{
public:
    explicit SensorTable(Sqlite::Connection &connection);

    /** All sensors by name. */
    std::vector<StoredSensor> all();
    /** Adds a sensor or changes the type and description of the one with its name. */
    void add(const std::string &name, int type, const std::string &description);
    /** Notes the time of an event at its sensor, which is added when it is new. */
    void noteMessage(const NewMessage &event);
    /** Notes a heartbeat. */
    void keepAlive(const std::string &name, std::int64_t time);
    void setState(const std::string &name, SensorState state);
    /** Notes that a sensor has read the commands up to this identifier; false when it had before. */
    bool readCommands(const std::string &name, int commandId);

private:
    Sqlite::Connection &m_db;
    Sqlite::Statement m_all;
    Sqlite::Statement m_noteMessage;
    Sqlite::Statement m_add;
    Sqlite::Statement m_keepAlive;
    Sqlite::Statement m_setState;
    Sqlite::Statement m_readCommands;
};
