// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "sqlite.h"

#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <utility>

namespace
{
/**
 * The system's error for a file that could not be opened. SQLite's own is that
 * of its last attempt, which says "No such file" where rights are missing.
 */
int openingError(const std::string &path, int otherwise)
{
    const auto error = [](const std::string &name, int access) {
        return ::faccessat(AT_FDCWD, name.c_str(), access, AT_EACCESS) == 0 ? 0 : errno;
    };
    int found = error(path, R_OK);
    if (found == ENOENT) {
        const std::size_t slash = path.rfind('/');
        const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
        found = error(folder, W_OK | X_OK);
    }
    return found ? found : otherwise;
}

bool isFull(int systemError)
{
    return systemError == ENOSPC || systemError == EDQUOT;
}

/** SQLite's messages quote names from the file, and end on a terminal: what would command it becomes '?'. */
std::string printable(std::string text)
{
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; };
    std::replace_if(text.begin(), text.end(), isControl, '?');
    return text;
}

std::string reasonOf(int code, sqlite3 *db, const std::string &path)
{
    const int primary = code & 0xff;
    int systemError = db ? sqlite3_system_errno(db) : 0;
    if (primary == SQLITE_CANTOPEN)
        systemError = openingError(path, systemError);
    const std::string system = systemError ? std::string(" (") + std::strerror(systemError) + ")" : std::string();
    if (primary == SQLITE_FULL || (primary == SQLITE_IOERR && isFull(systemError)))
        return "the disk is full";
    switch (primary) {
    case SQLITE_READONLY:
        return "the file or its folder cannot be written" + system;
    case SQLITE_NOTADB:
        return "this is not a database, or it is damaged at its beginning";
    case SQLITE_CORRUPT:
        return "the database is damaged";
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL: // SQLite's own waiting came to an end
        return "the database is locked by another program";
    case SQLITE_CANTOPEN:
        return "the file cannot be opened or made" + system;
    case SQLITE_IOERR:
        return "reading or writing failed" + system;
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return "access is not permitted" + system;
    case SQLITE_NOMEM:
        return "not enough memory";
    default:
        return printable(db ? sqlite3_errmsg(db) : sqlite3_errstr(code));
    }
}

/** The path as a URI, so that parameters can be passed with it. */
std::string uriOf(const std::string &path)
{
    static const char hex[] = "0123456789ABCDEF";
    std::string uri = "file:";
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '%' || c == '?' || c == '#') {
            uri += '%';
            uri += hex[byte >> 4];
            uri += hex[byte & 15];
        } else {
            uri += c;
        }
    }
    return uri;
}

/**
 * On a medium that nobody can write there is no place for the shared memory
 * that write-ahead mode needs, and no need of it. A log left beside the file
 * holds rows that only SQLite's ordinary road reads.
 */
bool isImmutable(const std::string &path)
{
    struct statvfs volume = {};
    struct stat log = {};
    if (::statvfs(path.c_str(), &volume) != 0 || (volume.f_flag & ST_RDONLY) == 0)
        return false;
    return ::stat((path + "-wal").c_str(), &log) == 0 ? log.st_size == 0 : errno == ENOENT;
}

/** A text that SQLite had no memory for looks like one that is not there. */
void requireMemory(bool had)
{
    if (!had)
        throw std::bad_alloc();
}
} // namespace

namespace Sqlite
{
void Connection::Closer::operator()(sqlite3 *handle) const
{
    sqlite3_close_v2(handle);
}

Connection::Connection(const std::string &path, Durability durability, int busyMilliseconds)
    : m_file(path)
{
    open();
    configure(durability, busyMilliseconds);
    // Beforehand, as what has to be undone may have failed for want of memory.
    m_undo = std::make_unique<Statement>(*this, "ROLLBACK");
}

Connection::~Connection() = default;

void Connection::rollBack() noexcept
{
    // A full disk or a failed write may have ended the transaction already.
    if (!sqlite3_get_autocommit(handle())) {
        m_leftOpen = sqlite3_step(m_undo->handle()) != SQLITE_DONE && !sqlite3_get_autocommit(handle());
        m_undo->reset();
    }
}

void Connection::rollBackWhatWasLeft() noexcept
{
    if (m_leftOpen)
        rollBack();
}

void Connection::open()
{
    const bool immutable = isImmutable(m_file);
    const int access = immutable ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    const std::string uri = uriOf(m_file) + (immutable ? "?immutable=1" : "");
    sqlite3 *handle = nullptr;
    const int code = sqlite3_open_v2(uri.c_str(), &handle, access | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX, nullptr);
    m_db.reset(handle);
    if (code != SQLITE_OK)
        fail(code);
}

void Connection::configure(Durability durability, int busyMilliseconds)
{
    sqlite3_extended_result_codes(handle(), 1);
    sqlite3_busy_timeout(handle(), busyMilliseconds);
    // The file may come from anywhere: its schema must not reach beyond it.
    sqlite3_db_config(handle(), SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    run("PRAGMA cell_size_check=ON; PRAGMA cache_size=-16000; PRAGMA secure_delete=OFF; PRAGMA temp_store=MEMORY");
    if (!readOnly()) {
        enterWriteAheadMode(busyMilliseconds);
        run(durability == Durability::PowerLoss ? "PRAGMA synchronous=FULL" : "PRAGMA synchronous=NORMAL");
    }
}

void Connection::enterWriteAheadMode(int busyMilliseconds)
{
    // Two programs that make the file at once: SQLite refuses one of them
    // here without waiting, as waiting could be a deadlock.
    for (int waited = 0;; waited += 10) {
        char *message = nullptr;
        const int code = sqlite3_exec(handle(), "PRAGMA journal_mode=WAL", nullptr, nullptr, &message);
        sqlite3_free(message);
        if (code == SQLITE_OK)
            return;
        if ((code & 0xff) != SQLITE_BUSY || waited >= busyMilliseconds)
            fail(code);
        sqlite3_sleep(10);
    }
}

void Connection::run(const char *sql)
{
    char *message = nullptr;
    const int code = sqlite3_exec(handle(), sql, nullptr, nullptr, &message);
    sqlite3_free(message);
    if (code != SQLITE_OK)
        fail(code);
}

std::int64_t Connection::number(const char *sql)
{
    Statement statement(*this, sql);
    return statement.step() ? statement.number(0) : 0;
}

void Connection::Function::call(sqlite3_context *context, int, sqlite3_value **values) noexcept
{
    auto *function = static_cast<Function *>(sqlite3_user_data(context));
    try {
        function->body(Arguments(values));
    } catch (...) {
        function->owner->m_thrown = std::current_exception();
        sqlite3_result_error(context, "interrupted", -1);
    }
}

void Connection::define(const std::string &name, int arguments, std::function<void(const Arguments &)> function)
{
    m_functions.push_back({this, std::move(function)});
    const int code = sqlite3_create_function_v2(handle(), name.c_str(), arguments, SQLITE_UTF8 | SQLITE_DIRECTONLY,
                                                &m_functions.back(), &Function::call, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK)
        fail(code);
}

std::int64_t Arguments::number(int index) const
{
    return sqlite3_value_int64(m_values[index]);
}

std::string_view Arguments::bytes(int index) const
{
    const bool isNull = sqlite3_value_type(m_values[index]) == SQLITE_NULL;
    const auto *text = reinterpret_cast<const char *>(sqlite3_value_text(m_values[index]));
    requireMemory(isNull || text);
    return text ? std::string_view(text, std::size_t(sqlite3_value_bytes(m_values[index]))) : std::string_view();
}

std::int64_t Connection::lastIdentifier() const
{
    return sqlite3_last_insert_rowid(handle());
}

int Connection::changes() const
{
    return sqlite3_changes(handle());
}

bool Connection::readOnly() const
{
    return sqlite3_db_readonly(handle(), "main") == 1;
}

void Connection::fail(int code)
{
    if (m_thrown)
        std::rethrow_exception(std::exchange(m_thrown, nullptr));
    throw Error(m_file, reasonOf(code, m_db.get(), m_file));
}

void Statement::Finalizer::operator()(sqlite3_stmt *prepared) const
{
    sqlite3_finalize(prepared);
}

Statement::Statement(Connection &connection, const std::string &sql)
    : m_owner(&connection)
{
    sqlite3_stmt *prepared = nullptr;
    const int code = sqlite3_prepare_v3(connection.handle(), sql.c_str(), int(sql.size()) + 1,
                                        SQLITE_PREPARE_PERSISTENT, &prepared, nullptr);
    m_statement.reset(prepared);
    check(code);
}

void Statement::check(int code)
{
    if (code != SQLITE_OK)
        m_owner->fail(code);
}

Statement &Statement::bind(int index, std::int64_t value)
{
    check(sqlite3_bind_int64(m_statement.get(), index, value));
    return *this;
}

Statement &Statement::bind(int index, std::string_view text)
{
    // A NULL pointer would bind SQL's NULL.
    const char *bytes = text.data() ? text.data() : "";
    check(sqlite3_bind_text64(m_statement.get(), index, bytes, text.size(), SQLITE_STATIC, SQLITE_UTF8));
    return *this;
}

Statement &Statement::bindNull(int index)
{
    check(sqlite3_bind_null(m_statement.get(), index));
    return *this;
}

bool Statement::step()
{
    const int code = sqlite3_step(m_statement.get());
    if (code == SQLITE_ROW)
        return true;
    if (code != SQLITE_DONE) {
        const Resetter resetter(*this);
        m_owner->fail(code);
    }
    return false;
}

void Statement::run()
{
    while (step()) {
    }
    reset();
}

void Statement::reset()
{
    sqlite3_reset(m_statement.get());
}

std::int64_t Statement::number(int column) const
{
    return sqlite3_column_int64(m_statement.get(), column);
}

bool Statement::isNull(int column) const
{
    return sqlite3_column_type(m_statement.get(), column) == SQLITE_NULL;
}

std::string_view Statement::bytes(int column) const
{
    // The type is another one after a failure.
    const bool wasNull = isNull(column);
    const auto *bytes = reinterpret_cast<const char *>(sqlite3_column_text(m_statement.get(), column));
    requireMemory(wasNull || bytes);
    return bytes ? std::string_view(bytes, std::size_t(sqlite3_column_bytes(m_statement.get(), column)))
                 : std::string_view();
}

std::string_view Statement::text(int column) const
{
    const std::string_view whole = bytes(column);
    return whole.substr(0, whole.find('\0'));
}

std::string Statement::sql() const
{
    return sqlite3_sql(m_statement.get());
}

Transaction::Transaction(Connection &connection, Kind kind)
    : m_db(connection)
{
    // Where even undoing failed, as it may when the tables have just been made, it is due now.
    m_db.rollBackWhatWasLeft();
    m_db.run(kind == Read ? "BEGIN" : "BEGIN IMMEDIATE");
}

Transaction::~Transaction()
{
    if (m_open)
        m_db.rollBack();
}

void Transaction::commit()
{
    m_db.run("COMMIT");
    m_open = false;
}
} // namespace Sqlite
