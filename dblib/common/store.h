// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"
#include "newmessage.h"
#include "parameters.h"
#include "records.h"
#include "sensors.h"
#include "storeerror.h"

#include <memory>
#include <string>
#include <vector>

struct Settings;

/**
 * An installation's database: events, commands and sensors, which several
 * programs may use at once. Not for two threads at a time.
 *
 * Every function is a transaction of its own, unless a Batch is open: then all
 * up to its end are one. Every function throws StoreError, which names the
 * database and the reason, and std::bad_alloc; nothing of it has then happened.
 */
class Store
{
public:
    Store() = default;
    Store(const Store &) = delete;
    Store &operator=(const Store &) = delete;
    virtual ~Store();

    /** Makes sure that the database can be used; a store may be there before its database is. */
    virtual void open() {}
    /** True while this is the database that the settings name, and it is still there. */
    virtual bool serves(const Settings &settings) const = 0;
    /** To be called before it is closed to open another one in its place; while this throws, none may be opened. */
    virtual void leave() {}

    /**
     * The records that `request` selects: the newest first when the last are
     * asked for, the oldest first when the first are, and always by ascending
     * identifier when there is a lowest one, so that a list can go on from it.
     */
    virtual std::unique_ptr<Records<CMessageEvent>> events(const CMessageEventRequest &request) = 0;
    virtual std::unique_ptr<Records<CMessageCommand>> commands(const CMessageCommandRequest &request) = 0;
    /** All sensors by name, those silent for `deadAfter` seconds as dead. */
    std::unique_ptr<Records<CSensor>> sensors(int deadAfter);

    /** Stores a record under a new identifier, which is returned; the record's own does not matter. */
    int put(const CMessageEvent &event);
    int put(const CMessageCommand &command);
    virtual int putEvent(const NewMessage &event) = 0;
    virtual int putCommand(const NewMessage &command) = 0;
    /** As putEvent for many; returns the first identifier, the others follow it. */
    virtual int putEvents(const std::vector<NewMessage> &events) = 0;
    /** Says that more will be written than a living installation does. */
    virtual void expectMany() {}
    /** False when there is no such record. */
    virtual bool deleteEvent(int id) = 0;
    virtual bool deleteCommand(int id) = 0;

    /**
     * Adds a sensor or changes the type and description of the one with its name.
     * A sensor that is added, here or by its first event, has read the commands up to now.
     */
    virtual void registerSensor(const std::string &name, int type, const std::string &description) = 0;
    /** All sensors by name. */
    virtual std::vector<StoredSensor> storedSensors() = 0;
    /** Notes a heartbeat of sensors. */
    virtual void keepAlive(const std::vector<std::string> &names, std::int64_t time) = 0;
    virtual void setState(const std::string &name, SensorState state) = 0;
    /**
     * Notes that sensors have read the commands up to this identifier, which never goes back.
     * Returns how many of them had not: 0 for a sensor whose command another program takes care of.
     */
    virtual int readCommands(const std::vector<std::string> &names, int commandId) = 0;

    /** Several changes as one transaction, undone unless committed. One inside another is a part of it. */
    class Batch
    {
    public:
        explicit Batch(Store &changed);
        Batch(const Batch &) = delete;
        Batch &operator=(const Batch &) = delete;
        ~Batch();
        void commit();

    private:
        Store &m_store;
        bool m_outermost;
        bool m_committed = false;
    };

protected:
    bool isInBatch() const
    {
        return m_inBatch;
    }

private:
    virtual void begin() = 0;
    /** When this throws, the transaction is still to be rolled back. */
    virtual void commit() = 0;
    virtual void rollBack() noexcept = 0;

    ParameterWriter m_writer;
    bool m_inBatch = false;
};
