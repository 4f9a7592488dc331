// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/**
 * @file
 * SQLite's C interface with owners: a connection and a prepared statement that
 * release themselves, and an error that names the file and the reason.
 */

#include "storeerror.h"

#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_context;
struct sqlite3_stmt;
struct sqlite3_value;

namespace Sqlite
{
using Error = StoreError;

/** A row or a value is longer than SQLite was allowed to make it. */
class TooLong : public StoreError
{
public:
    using StoreError::StoreError;
};

/** How much a confirmed transaction withstands. */
enum class Durability {
    PowerLoss, ///< it is on the disk
    Crash      ///< it is with the operating system: a dead process loses nothing, a power cut the last ones
};

/** What a statement passes to a function of the program; texts are valid during the call. */
class Arguments
{
public:
    explicit Arguments(sqlite3_value **passed)
        : m_values(passed)
    {
    }
    std::int64_t number(int index) const;
    /** The bytes of a text as they are; empty for NULL. */
    std::string_view bytes(int index) const;

private:
    sqlite3_value **m_values;
};

class DatabaseFiles;
class Statement;

/** What becomes of a file that is not there. */
enum class WhenMissing { Make, Refuse };

/**
 * One connection to a database file in write-ahead mode. Not for two threads
 * at a time. The file's folder is not made.
 */
class Connection
{
public:
    /** How long a statement may take to its next row or its end, unless it is allowed more. */
    static constexpr std::chrono::milliseconds LongestStep{3000};

    /** Opens `path`; another program's lock is waited for up to `busyMilliseconds`. Throws Error. */
    Connection(const std::string &path, Durability durability, int busyMilliseconds,
               WhenMissing whenMissing = WhenMissing::Make);
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;
    ~Connection();

    const std::string &path() const
    {
        return m_file;
    }
    sqlite3 *handle() const
    {
        return m_db.get();
    }
    /** Runs statements without results. Throws Error. */
    void run(const char *sql);
    /** Runs a statement for the integer in its first row and column; 0 without a row. */
    std::int64_t number(const char *sql);
    /**
     * Makes a function known to this connection's statements: a row that a
     * statement hands to it costs half of what asking the statement for each
     * column does. What it throws, the statement's step throws.
     */
    void define(const std::string &name, int arguments, std::function<void(const Arguments &)> function);
    /** Identifier of the row inserted last. */
    std::int64_t lastIdentifier() const;
    /** Rows that the last statement changed. */
    int changes() const;
    /** True when nothing can be written, because of the file's rights or its medium. */
    bool readOnly() const;
    /** Inside a transaction: another number than before when the file has changed, whoever did it. */
    unsigned dataVersion() const;
    /** Sets how long a statement may take to its next row or its end; what takes longer throws Error. */
    void limitSteps(std::chrono::milliseconds longest)
    {
        m_longestStep = longest;
    }

    /** True while the files at the database's names are the ones that are open. */
    bool isInPlace() const;
    /** Throws Error when they are not. */
    void requireInPlace() const;
    /**
     * When the database is no longer at its path: brings all that was written
     * into it, and leaves nothing behind that would be taken for part of the
     * one that comes in its place. Throws Error when that is not possible yet.
     */
    void handOver();

    /** Gives back the memory of pages that were read; what is asked for next comes from the system's file cache. */
    void releaseCache();
    /** Begins one consistent view for several statements. */
    void beginReading();
    /** Takes the writer's place at once, in turn with other programs, so that no later step fails on a lock. */
    void beginWriting();
    void commit();
    /** Undoes the transaction that is open, if any; needs no memory as long as no table was made since. */
    void rollBack() noexcept;
    /** Tries again what rollBack had no memory for. */
    void rollBackWhatWasLeft() noexcept;
    /** Throws what SQLite's result `code` means for this file, or what a function has thrown. */
    [[noreturn]] void fail(int code);

private:
    friend class Statement;
    using Clock = std::chrono::steady_clock;

    bool connect(Durability durability, WhenMissing whenMissing);
    void open(WhenMissing whenMissing);
    void configure();
    void enterWriteAheadMode();
    void keepLogWhenClosed(bool keep);
    bool tryToBeginWriting();
    int emptyLog();
    static int takesTooLong(void *connection) noexcept;

    struct Closer {
        void operator()(sqlite3 *handle) const;
    };
    struct Function {
        Connection *owner;
        std::function<void(const Arguments &)> body;
        static void call(sqlite3_context *context, int count, sqlite3_value **values) noexcept;
    };
    std::string m_file;
    std::chrono::milliseconds m_patience;
    std::chrono::milliseconds m_longestStep = LongestStep;
    std::list<Function> m_functions;
    std::exception_ptr m_thrown; ///< by a function, on its way out of the statement
    std::uint64_t m_steps = 0;   ///< of all statements: how many rows were asked for
    std::uint64_t m_stepsLookedAt = 0;
    Clock::time_point m_stepSince;
    std::unique_ptr<DatabaseFiles> m_files; ///< given up after the connection is closed
    std::unique_ptr<sqlite3, Closer> m_db;
    std::unique_ptr<Statement> m_beginReading;
    std::unique_ptr<Statement> m_beginWriting;
    std::unique_ptr<Statement> m_commit;
    std::unique_ptr<Statement> m_undo;
    bool m_leftOpen = false; ///< a transaction that could not be undone is still open
};

/** A prepared statement. Texts that it hands out are valid until the next step or reset. */
class Statement
{
public:
    Statement(Connection &connection, const std::string &sql);

    /** Binds parameter `index` (from 1). Bound texts must live until the statement has run. */
    Statement &bind(int index, std::int64_t value);
    Statement &bind(int index, std::string_view text);
    Statement &bindNull(int index);

    /** True when there is a row. Throws Error, reset. */
    bool step();
    /** Runs to the end and resets. */
    void run();
    void reset();

    std::int64_t number(int column) const;
    bool isNull(int column) const;
    /** Text of a column, cut at the first NUL; empty for NULL. */
    std::string_view text(int column) const;
    /** A column's bytes as they are. */
    std::string_view bytes(int column) const;
    std::string sql() const;
    sqlite3_stmt *handle() const
    {
        return m_statement.get();
    }

private:
    void check(int code);

    struct Finalizer {
        void operator()(sqlite3_stmt *statement) const;
    };
    Connection *m_owner;
    std::unique_ptr<sqlite3_stmt, Finalizer> m_statement;
};

/** Resets a statement at the end of a scope, however that is left. */
class Resetter
{
public:
    explicit Resetter(Statement &used)
        : m_statement(used)
    {
    }
    Resetter(const Resetter &) = delete;
    Resetter &operator=(const Resetter &) = delete;
    ~Resetter()
    {
        m_statement.reset();
    }

private:
    Statement &m_statement;
};

/** A transaction that is undone unless it was committed; one at a time. */
class Transaction
{
public:
    enum Kind {
        Read, ///< one consistent view for several statements
        Write ///< takes the writer's place at once, so that no later step fails on a lock
    };
    Transaction(Connection &connection, Kind kind);
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;
    ~Transaction();
    /** Makes it last; when this throws, nothing of it has happened. */
    void commit();

private:
    Connection &m_db;
    bool m_open = true;
};
} // namespace Sqlite
