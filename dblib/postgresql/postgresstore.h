// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "connection.h"
#include "connector.h"
#include "rowselector.h"
#include "settings.h"
#include "store.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/**
 * An installation's database on a PostgreSQL server. It connects when it is used,
 * and anew when a connection was lost: what only reads is then asked again, and so
 * is a put, under a number by which the server knows whether it has stored it.
 */
class PostgresStore final : public Store
{
public:
    explicit PostgresStore(Settings settings);
    ~PostgresStore() override;

    void open() override;
    bool serves(const Settings &settings) const override;
    std::unique_ptr<Records<CMessageEvent>> events(const CMessageEventRequest &request) override;
    std::unique_ptr<Records<CMessageCommand>> commands(const CMessageCommandRequest &request) override;
    int putEvent(const NewMessage &event) override;
    int putCommand(const NewMessage &command) override;
    int putEvents(const std::vector<NewMessage> &events) override;
    bool deleteEvent(int id) override;
    bool deleteCommand(int id) override;
    void registerSensor(const std::string &name, int type, const std::string &description) override;
    std::vector<StoredSensor> storedSensors() override;
    void keepAlive(const std::vector<std::string> &names, std::int64_t time) override;
    void setState(const std::string &name, SensorState state) override;
    int readCommands(const std::vector<std::string> &names, int commandId) override;

    /** The server in words, as messages name it. */
    const std::string &server() const
    {
        return m_connector.server();
    }
    /** The connection, for tests and tools that look at the database. */
    Postgres::Connection &connection();
    /** Collects the statements that are sent from now on; NULL: no longer. */
    void watch(std::vector<std::string> *sent);

private:
    /** A put without an answer: whether it was stored is known when it is tried again. */
    struct Unanswered {
        std::string content;
        std::int64_t number;
    };

    void begin() override;
    void commit() override;
    void rollBack() noexcept override;
    void warnOfPassword() const;
    void setUp(Postgres::Connection &made);
    template <class Action> auto perform(Action action);
    template <class Record>
    static void reserveFor(const Postgres::RowSelector &selector, const Selection &selection, Records<Record> &result);
    template <class Record>
    std::unique_ptr<Records<Record>> read(Postgres::RowSelector &selector, const Selection &selection, bool ascending);
    Postgres::Result call(const std::string &function, const Postgres::Parameters &parameters);
    int seriesOf(Postgres::RowSelector &selector, const SeriesKey &key);
    int putOnce(const std::string &function, const Postgres::Parameters &what);
    bool remove(const char *table, int id);

    Settings m_settings;
    Postgres::Connector m_connector;
    std::unique_ptr<Postgres::Connection> m_connection;
    Postgres::RowSelector m_events{"event"};
    Postgres::RowSelector m_commands{"command"};
    std::string m_writer; ///< identifies this store to the server
    std::int64_t m_number = 0;
    std::optional<Unanswered> m_unanswered;
    std::vector<std::string> *m_watched = nullptr;
};
