// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "sqlite.h"

#include <new>
#include <sqlite3.h>

namespace
{
/** A text that SQLite had no memory for looks like one that is not there. */
void requireMemory(bool had)
{
    if (!had)
        throw std::bad_alloc();
}
} // namespace

namespace Sqlite
{
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

void Statement::Finalizer::operator()(sqlite3_stmt *prepared) const
{
    sqlite3_finalize(prepared);
}

Statement::Statement(Connection &connection, const std::string &sql)
    : m_owner(&connection)
{
    ++m_owner->m_steps;
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
    ++m_owner->m_steps;
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
    if (kind == Read)
        m_db.beginReading();
    else
        m_db.beginWriting();
}

Transaction::~Transaction()
{
    if (m_open)
        m_db.rollBack();
}

void Transaction::commit()
{
    m_db.commit();
    m_open = false;
}
} // namespace Sqlite
