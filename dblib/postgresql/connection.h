// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/**
 * @file
 * libpq's C interface with owners and with a bound on every wait. Statements
 * are sent and their answers read without blocking; a server that does not
 * answer in time loses its connection.
 */

#include "postgreserror.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

struct pg_conn;
struct pg_result;

namespace Postgres
{
struct ConnectionCloser {
    void operator()(pg_conn *connection) const;
};
using Handle = std::unique_ptr<pg_conn, ConnectionCloser>;

/** What a statement's $1, $2, ... stand for, in binary. */
class Parameters
{
public:
    Parameters &add(std::int32_t number);
    Parameters &addLong(std::int64_t number);
    Parameters &addTimestamp(std::int64_t seconds);
    /** A text in Latin-1; what is not set is NULL. */
    Parameters &addText(std::optional<std::string_view> text);
    Parameters &addTexts(const std::vector<std::string> &texts);
    /** A value of any type as the protocol carries it; what is not set is NULL. */
    Parameters &addBytes(unsigned type, std::optional<std::string> bytes);

    /** All of another list behind these. */
    Parameters &append(const Parameters &others);
    std::size_t count() const
    {
        return m_all.size();
    }
    /** All values, to be held against those of another statement. */
    std::string bytes() const;

private:
    friend class Connection;
    struct Parameter {
        unsigned type;
        std::optional<std::string> bytes;
    };
    std::vector<Parameter> m_all;
};

/** The rows that a statement gave, in binary. */
class Result
{
public:
    explicit Result(pg_result *taken);
    int rows() const;
    bool isNull(int row, int column) const;
    std::int32_t number(int row, int column) const;
    /** Bytes of a text, in UTF-8. */
    std::string_view text(int row, int column) const;
    /** Rows that the statement changed. */
    int changes() const;

private:
    struct Closer {
        void operator()(pg_result *result) const;
    };
    std::unique_ptr<pg_result, Closer> m_result;
};

/** The fields of a row that is being copied out; valid while it is handed over. */
class CopiedRow
{
public:
    static constexpr int MostFields = 8;

    int fields() const
    {
        return m_count;
    }
    bool isNull(int field) const
    {
        return m_bytes[field].data() == nullptr;
    }
    /** Bytes of the field; empty for NULL. */
    std::string_view bytes(int field) const
    {
        return m_bytes[field];
    }
    std::int32_t number(int field) const;
    /** Seconds since 1970 of a timestamp. */
    std::int64_t seconds(int field) const;

private:
    friend class CopyReader;
    int m_count = 0;
    std::string_view m_bytes[MostFields];
};
using RowSink = std::function<void(const CopiedRow &)>;

/** One connection to a server. Not for two threads at a time. */
class Connection
{
public:
    /** `statementTime`: the longest wait for the answer to what is sent at once. */
    Connection(Handle taken, std::string server, std::chrono::milliseconds statementTime);
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;
    ~Connection();

    /** False when it was lost or given up. */
    bool isUsable() const;
    /** Runs statements, separated by semicolons, for what they do. Throws Error. */
    void run(const std::string &sql);
    /** Runs one statement. Throws Error. */
    Result query(const std::string &sql, const Parameters &parameters = {});
    /** Calls a function of the schema obrim, in a statement that the server reads and plans once. Throws Error. */
    Result call(const std::string &function, const Parameters &parameters);
    /**
     * Runs statements in one round trip. Those that are COPY ... TO STDOUT (FORMAT
     * binary) hand their rows to the sinks in turn. Throws Error, and what a sink
     * throws; then the connection is given up.
     */
    void copy(const std::string &sql, const std::vector<RowSink> &sinks);
    bool isInTransaction() const;
    /** Makes a transaction last. Throws Error, also when a statement of it had failed. */
    void commit();
    /** Ends a transaction that failed; a connection that cannot do so is given up. */
    void rollBack() noexcept;
    /** Statements that were sent, for whoever looks at them; NULL: nobody does. */
    void watch(std::vector<std::string> *sent)
    {
        m_watched = sent;
    }

private:
    struct Arguments;

    void start(const std::string &sql);
    /** Has the server know the call of a function under the function's name. */
    void prepare(const std::string &function, const Arguments &arguments);
    Result onlyResult();
    void flush();
    void wait(short events);
    pg_result *next();
    /** Reads answers up to the end; throws the first fault among them. */
    void finish();
    void takeRows(const RowSink &sink);
    [[noreturn]] void throwFault(const pg_result *result);
    [[noreturn]] void throwLost();

    Handle m_connection;
    std::string m_server;
    std::chrono::milliseconds m_statementTime;
    std::chrono::steady_clock::time_point m_deadline;
    bool m_givenUp = false;
    std::set<std::string> m_prepared; ///< functions whose calls the server knows
    std::vector<std::string> *m_watched = nullptr;
};
} // namespace Postgres
