// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "schema.h"
#include "selector.h"
#include "seriestable.h"
#include "sqlite.h"
#include "store.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class SensorTable;

/** An installation's database in one SQLite file. */
class SqliteStore final : public Store
{
public:
    /** How long to wait for another program's lock, in milliseconds. */
    static constexpr int BusyTime = 3000;

    /** Opens `path`; makes the file and its folder when they are missing, unless that is to be refused. */
    SqliteStore(const std::string &path, Sqlite::Durability durability, int busyMilliseconds = BusyTime,
                Sqlite::WhenMissing whenMissing = Sqlite::WhenMissing::Make);
    ~SqliteStore() override;

    const std::string &path() const;
    /** True while the file at the path, with its log, is the one that is open; nothing is written when it is not. */
    bool isInPlace() const;

    bool serves(const Settings &settings) const override;
    void leave() override;
    std::unique_ptr<Records<CMessageEvent>> events(const CMessageEventRequest &request) override;
    std::unique_ptr<Records<CMessageCommand>> commands(const CMessageCommandRequest &request) override;
    int putEvent(const NewMessage &event) override;
    int putCommand(const NewMessage &command) override;
    int putEvents(const std::vector<NewMessage> &events) override;
    void expectMany() override;
    bool deleteEvent(int id) override;
    bool deleteCommand(int id) override;
    void registerSensor(const std::string &name, int type, const std::string &description) override;
    std::vector<StoredSensor> storedSensors() override;
    void keepAlive(const std::vector<std::string> &names, std::int64_t time) override;
    void setState(const std::string &name, SensorState state) override;
    int readCommands(const std::vector<std::string> &names, int commandId) override;

    /** The connection, for tests and tools that look at the file. */
    Sqlite::Connection &connection();
    std::vector<std::string> statements() const;

private:
    struct Table;
    class View;
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
    void begin() override;
    void commit() override;
    void rollBack() noexcept override;
    template <class Record>
    std::unique_ptr<Records<Record>> read(Table &table, const Selection &selection, bool ascending);
    template <class Record> void reserveFor(Table &table, const Selection &selection, Records<Record> &result);
    int insert(Table &table, const NewMessage &message);
    static std::vector<int> findSeries(Table &table, const std::vector<NewMessage> &messages);
    static void insertRows(Sqlite::Statement &statement, const NewMessage *messages, const int *series,
                           std::size_t count, int firstId);
    void widenZones(Table &table, const std::vector<NewMessage> &messages, int firstId);
    void noteMessages(const std::vector<NewMessage> &events, const std::vector<int> &series);
    bool remove(Table &table, int id);
    void enter(std::optional<Sqlite::Transaction> &transaction, Sqlite::Transaction::Kind kind);
    void lookAtFile(Sqlite::Transaction::Kind kind);
    std::int64_t newestIdentifier(Table &table);
    int checkedIdentifier(std::int64_t id) const;

    Sqlite::Connection m_db;
    Schema::Watch m_watch;
    std::unique_ptr<SensorTable> m_sensors;
    mutable LazyTable m_eventTable;
    mutable LazyTable m_commandTable;
    std::optional<Sqlite::Transaction> m_transaction; ///< of the batch that is open
};
