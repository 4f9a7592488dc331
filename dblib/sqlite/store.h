// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"
#include "parameters.h"
#include "records.h"
#include "selector.h"
#include "seriestable.h"
#include "sqlite.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/** What a sensor does: the words in the database. */
enum class SensorState { Running, Stopped, Killed };

/** A sensor as it is kept. */
struct StoredSensor {
    std::string name;
    int type = 0;
    std::string description;
    SensorState state = SensorState::Running;
    std::optional<std::int64_t> keepAlive; ///< time of the last sign of life
    std::int64_t lastMessage = 0;
    int lastCommand = 0; ///< identifier of the last command that the sensor has read
};

/** A row to be written; texts and parameters must live until the call returns. */
struct NewMessage {
    SeriesKey series;
    std::int64_t time = 0;
    std::string_view params; ///< the stored form of parameters.h
};

/**
 * An installation's database: events, commands and sensors in one SQLite file
 * that several programs may use at once. Not for two threads at a time.
 *
 * Every function is a transaction of its own, unless a Batch is open: then all
 * up to its end are one. Every function throws Sqlite::Error, which names the
 * file and the reason, and std::bad_alloc; nothing of it has then happened.
 */
class Store
{
public:
    /** How long to wait for another program's lock, in milliseconds. */
    static constexpr int BusyTime = 3000;

    /** Opens `path`; makes the file and its folder when they are missing. */
    Store(const std::string &path, Sqlite::Durability durability, int busyMilliseconds = BusyTime);
    ~Store();

    const std::string &path() const;
    /** True while the file at the path is the one that is open. */
    bool isInPlace() const;

    /**
     * The records that `request` selects: the newest first when the last are
     * asked for, the oldest first when the first are, and always by rising
     * identifier when there is a lowest one, so that a list can go on from it.
     */
    std::unique_ptr<Records<CMessageEvent>> events(const CMessageEventRequest &request);
    std::unique_ptr<Records<CMessageCommand>> commands(const CMessageCommandRequest &request);
    /** All sensors by name. A sensor is dead when it was killed or gave no sign of life for `deadAfter` seconds. */
    std::unique_ptr<Records<CSensor>> sensors(int deadAfter);

    /** Stores a record under a new identifier, which is returned; the record's own does not matter. */
    int put(const CMessageEvent &event);
    int put(const CMessageCommand &command);
    int putEvent(const NewMessage &event);
    /** As putEvent for many; returns the first identifier, the others follow it. */
    int putEvents(const std::vector<NewMessage> &events);
    /** False when there is no such record. */
    bool deleteEvent(int id);
    bool deleteCommand(int id);

    /**
     * Adds a sensor or changes the type and description of the one with its name.
     * A sensor that is added, here or by its first event, has read the commands up to now.
     */
    void registerSensor(const std::string &name, int type, const std::string &description);
    std::vector<StoredSensor> storedSensors();
    /** Notes a sign of life. */
    void keepAlive(const std::string &name, std::int64_t time);
    void setState(const std::string &name, SensorState state);
    /** Notes that a sensor has read the commands up to this identifier; never goes back. */
    void setLastCommand(const std::string &name, int commandId);

    /** Several changes as one transaction, undone unless committed. */
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
        std::unique_ptr<Sqlite::Transaction> m_transaction;
        bool m_committed = false;
    };

    /** The connection, for tests and tools that look at the file. */
    Sqlite::Connection &connection();
    std::vector<std::string> statements() const;

private:
    struct Table;
    struct Statements;
    /** A table, made ready when it is first used: its statements are a good part of what opening a store costs. */
    class LazyTable
    {
    public:
        LazyTable(Sqlite::Connection &connection, const char *name);
        ~LazyTable();
        Table &operator*();
        Table *operator->();
        bool isReady() const
        {
            return m_table != nullptr;
        }

    private:
        Sqlite::Connection &m_db;
        const char *m_name;
        std::unique_ptr<Table> m_table;
    };
    template <class Record>
    std::unique_ptr<Records<Record>> read(Table &table, const Selection &selection, bool rising);
    template <class Record> void reserveFor(Table &table, const Selection &selection, Records<Record> &result);
    int insert(Table &table, const NewMessage &message);
    static std::vector<int> findSeries(Table &table, const std::vector<NewMessage> &messages);
    static void insertRows(Sqlite::Statement &statement, const NewMessage *messages, const int *series,
                           std::size_t count, int firstId);
    void widenZones(Table &table, const std::vector<NewMessage> &messages, int firstId);
    void noteMessage(const NewMessage &event);
    void noteMessages(const std::vector<NewMessage> &events, const std::vector<int> &series);
    bool remove(Table &table, int id);
    int newestIdentifier(Table &table);
    int checkedIdentifier(std::int64_t id) const;

    Sqlite::Connection m_db;
    std::unique_ptr<Statements> m_prepared;
    mutable LazyTable m_eventTable;
    mutable LazyTable m_commandTable;
    ParameterWriter m_writer;
    bool m_inBatch = false;
    std::uint64_t m_device = 0;
    std::uint64_t m_inode = 0;
};
