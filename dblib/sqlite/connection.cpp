// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "databasefiles.h"
#include "sqlite.h"
#include "sqlitereason.h"
#include "writerqueue.h"

#include <cerrno>
#include <filesystem>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <thread>
#include <utility>

namespace
{
using namespace std::chrono_literals;

constexpr auto PauseOfOpening = 5ms;
constexpr auto PauseOfQueue = 500us;
constexpr auto PauseOfHandingOver = 1ms;
/** So often whoever waits tries to write, whoever stands before: seldom, as one who is served in turn looks more often.
 */
constexpr auto PauseOfOvertaking = 100ms;
/** So many operations of SQLite's machine take well under a millisecond. */
constexpr int OperationsBetweenLooks = 10000;

/** What no installation's file comes near. */
constexpr std::pair<int, int> Limits[] = {
    {SQLITE_LIMIT_LENGTH, 64 << 20},
    {SQLITE_LIMIT_SQL_LENGTH, 1 << 20},
    {SQLITE_LIMIT_TRIGGER_DEPTH, 10},
    {SQLITE_LIMIT_EXPR_DEPTH, 100},
};

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
    // SQLite puts the log beside the file that a link leads to.
    std::error_code error;
    const std::string resolved = std::filesystem::canonical(path, error).string();
    return !error && (::stat((resolved + "-wal").c_str(), &log) == 0 ? log.st_size == 0 : errno == ENOENT);
}
} // namespace

namespace Sqlite
{
void Connection::Closer::operator()(sqlite3 *handle) const
{
    sqlite3_close_v2(handle);
}

Connection::Connection(const std::string &path, Durability durability, int busyMilliseconds, WhenMissing whenMissing)
    : m_file(path)
    , m_patience(busyMilliseconds)
{
    const Clock::time_point start = Clock::now();
    while (!connect(durability, whenMissing)) {
        if (Clock::now() - start >= m_patience)
            throw Error(m_file, "another program still has the file open that was here before");
        std::this_thread::sleep_for(PauseOfOpening);
    }
    m_beginReading = std::make_unique<Statement>(*this, "BEGIN");
    m_beginWriting = std::make_unique<Statement>(*this, "BEGIN IMMEDIATE");
    m_commit = std::make_unique<Statement>(*this, "COMMIT");
    // Beforehand, as what has to be undone may have failed for want of memory.
    m_undo = std::make_unique<Statement>(*this, "ROLLBACK");
}

Connection::~Connection()
{
    // SQLite would unlink whatever has the name of its log.
    keepLogWhenClosed(!isInPlace());
    try {
        handOver();
    } catch (const std::exception &) {
        // Others have the same files open, and will do it.
    }
}

/** False when the log at the file's name is in use for another file, which may let go of it soon. */
bool Connection::connect(Durability durability, WhenMissing whenMissing)
{
    m_db.reset();
    m_files.reset();
    open(whenMissing);
    keepLogWhenClosed(true);
    auto files = std::make_unique<DatabaseFiles>(m_file, handle());
    configure();
    if (!files->takeLog())
        return false;
    if (whenMissing == WhenMissing::Refuse && number("PRAGMA page_count") == 0)
        throw Error(m_file, "the database is empty");
    if (!readOnly()) {
        enterWriteAheadMode();
        run(durability == Durability::PowerLoss ? "PRAGMA synchronous=FULL" : "PRAGMA synchronous=NORMAL");
    }
    if (files->log() < 0 && !files->takeLog())
        return false;
    m_files = std::move(files);
    return true;
}

void Connection::open(WhenMissing whenMissing)
{
    const bool immutable = isImmutable(m_file);
    const int create = whenMissing == WhenMissing::Make ? SQLITE_OPEN_CREATE : 0;
    const int access = immutable ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | create;
    const std::string uri = uriOf(m_file) + (immutable ? "?immutable=1" : "");
    sqlite3 *handle = nullptr;
    const int code = sqlite3_open_v2(uri.c_str(), &handle, access | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX, nullptr);
    m_db.reset(handle);
    if (code != SQLITE_OK)
        fail(code);
}

void Connection::configure()
{
    sqlite3_extended_result_codes(handle(), 1);
    sqlite3_busy_timeout(handle(), int(m_patience.count()));
    sqlite3_progress_handler(handle(), OperationsBetweenLooks, &Connection::takesTooLong, this);
    // The file may come from anywhere: its schema must not reach beyond it.
    sqlite3_db_config(handle(), SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(handle(), SQLITE_DBCONFIG_ENABLE_FKEY, 0, nullptr);
    for (const auto &[limit, most] : Limits)
        sqlite3_limit(handle(), limit, most);
    run("PRAGMA cell_size_check=ON; PRAGMA cache_size=-16000; PRAGMA secure_delete=OFF; PRAGMA temp_store=MEMORY; "
        "PRAGMA journal_size_limit=4194304; PRAGMA schema_version");
}

void Connection::releaseCache()
{
    sqlite3_db_release_memory(handle());
}

void Connection::keepLogWhenClosed(bool keep)
{
    if (handle())
        sqlite3_db_config(handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, int(keep), nullptr);
}

void Connection::enterWriteAheadMode()
{
    // Two programs that make the file at once: SQLite refuses one of them
    // here without waiting, as waiting could be a deadlock.
    const Clock::time_point start = Clock::now();
    for (;;) {
        char *message = nullptr;
        const int code =
            sqlite3_exec(handle(), "PRAGMA journal_mode=WAL; PRAGMA schema_version", nullptr, nullptr, &message);
        sqlite3_free(message);
        if (code == SQLITE_OK)
            return;
        if ((code & 0xff) != SQLITE_BUSY || Clock::now() - start >= m_patience)
            fail(code);
        std::this_thread::sleep_for(PauseOfOpening);
    }
}

int Connection::takesTooLong(void *connection) noexcept
{
    auto *self = static_cast<Connection *>(connection);
    const Clock::time_point now = Clock::now();
    if (self->m_stepsLookedAt != self->m_steps) {
        self->m_stepsLookedAt = self->m_steps;
        self->m_stepSince = now;
    }
    return now - self->m_stepSince > self->m_longestStep ? 1 : 0;
}

void Connection::beginReading()
{
    m_beginReading->run();
}

void Connection::beginWriting()
{
    WriterQueue queue(m_files->log());
    const Clock::time_point start = Clock::now();
    Clock::time_point overtaking = start + PauseOfOvertaking;
    for (;;) {
        const Clock::time_point now = Clock::now();
        // One that stands still in the queue must not stop all behind it.
        const bool mayOvertake = now >= overtaking;
        if ((mayOvertake || queue.isFirst()) && tryToBeginWriting())
            return;
        if (now - start >= m_patience)
            fail(SQLITE_BUSY);
        overtaking = mayOvertake ? now + PauseOfOvertaking : overtaking;
        queue.join();
        std::this_thread::sleep_for(PauseOfQueue);
    }
}

/** False when another program is writing. */
bool Connection::tryToBeginWriting()
{
    const Resetter reset(*m_beginWriting);
    ++m_steps;
    sqlite3_busy_timeout(handle(), 0);
    const int code = sqlite3_step(m_beginWriting->handle());
    sqlite3_busy_timeout(handle(), int(m_patience.count()));
    if (code != SQLITE_DONE && (code & 0xff) != SQLITE_BUSY)
        fail(code);
    return code == SQLITE_DONE;
}

void Connection::commit()
{
    m_commit->run();
}

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

bool Connection::isInPlace() const
{
    return m_files->areInPlace();
}

void Connection::requireInPlace() const
{
    if (!isInPlace())
        throw Error(m_file, "the database was replaced meanwhile");
}

void Connection::handOver()
{
    const Clock::time_point start = Clock::now();
    while (!isInPlace() && !readOnly() && m_files->mayEmptyLog()) {
        const int code = emptyLog();
        // Others may be about the same, or in the midst of a transaction.
        if ((code & 0xff) != SQLITE_BUSY) {
            m_files->unlinkLog();
            return;
        }
        if (Clock::now() - start >= m_patience)
            fail(code);
        std::this_thread::sleep_for(PauseOfHandingOver);
    }
}

/** Writes all of the log into the file, unless another program is in the way: that is the result then. */
int Connection::emptyLog()
{
    sqlite3_busy_timeout(handle(), 0);
    const int code = sqlite3_wal_checkpoint_v2(handle(), "main", SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
    sqlite3_busy_timeout(handle(), int(m_patience.count()));
    // What is corrupt cannot be saved by keeping its log.
    const int primary = code & 0xff;
    if (code != SQLITE_OK && primary != SQLITE_BUSY && primary != SQLITE_CORRUPT && primary != SQLITE_NOTADB)
        fail(code);
    return code;
}

unsigned Connection::dataVersion() const
{
    unsigned version = 0;
    sqlite3_file_control(handle(), "main", SQLITE_FCNTL_DATA_VERSION, &version);
    return version;
}

void Connection::run(const char *sql)
{
    ++m_steps;
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
    if ((code & 0xff) == SQLITE_TOOBIG)
        throw TooLong(m_file, "a record is longer than 64 MB");
    throw Error(m_file, reasonOf(code, m_db.get(), m_file));
}
} // namespace Sqlite
