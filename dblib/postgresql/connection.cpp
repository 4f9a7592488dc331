// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "connection.h"

#include "copyreader.h"

#include <cerrno>
#include <climits>
#include <libpq-fe.h>
#include <poll.h>

namespace
{
using Clock = std::chrono::steady_clock;

struct BufferCloser {
    void operator()(char *buffer) const
    {
        PQfreemem(buffer);
    }
};

std::string callOf(const std::string &function, int parameters)
{
    std::string sql = "SELECT obrim." + function + "(";
    for (int i = 1; i <= parameters; ++i)
        sql += (i > 1 ? ",$" : "$") + std::to_string(i);
    return sql + ")";
}

std::string stateOf(const PGresult *result)
{
    const char *state = PQresultErrorField(result, PG_DIAG_SQLSTATE);
    return state ? state : "";
}

std::string reasonOf(const PGresult *result)
{
    // The server's own words, without "ERROR:" and what comes behind for programmers.
    const char *primary = PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY);
    return Postgres::oneLine(primary ? primary : PQresultErrorMessage(result));
}
} // namespace

namespace Postgres
{
void ConnectionCloser::operator()(pg_conn *connection) const
{
    PQfinish(connection);
}

/** Parameters as libpq takes them. */
struct Connection::Arguments {
    explicit Arguments(const Parameters &parameters)
        : formats(parameters.count(), 1)
    {
        for (const Parameters::Parameter &parameter : parameters.m_all) {
            types.push_back(parameter.type);
            values.push_back(parameter.bytes ? parameter.bytes->data() : nullptr);
            lengths.push_back(parameter.bytes ? int(parameter.bytes->size()) : 0);
        }
    }
    int count() const
    {
        return int(types.size());
    }
    std::vector<Oid> types;
    std::vector<const char *> values;
    std::vector<int> lengths;
    std::vector<int> formats;
};

Connection::Connection(Handle taken, std::string server, std::chrono::milliseconds statementTime)
    : m_connection(std::move(taken))
    , m_server(std::move(server))
    , m_statementTime(statementTime)
{
    PQsetnonblocking(m_connection.get(), 1);
    // Notices are not for whoever starts the program.
    PQsetNoticeReceiver(
        m_connection.get(), [](void *, const PGresult *) {}, nullptr);
}

Connection::~Connection() = default;

bool Connection::isUsable() const
{
    return !m_givenUp && PQstatus(m_connection.get()) == CONNECTION_OK;
}

bool Connection::isInTransaction() const
{
    return PQtransactionStatus(m_connection.get()) != PQTRANS_IDLE;
}

void Connection::commit()
{
    if (PQtransactionStatus(m_connection.get()) != PQTRANS_INTRANS)
        throw Error(m_server, "the transaction has failed", Error::Refused);
    run("COMMIT");
}

void Connection::rollBack() noexcept
{
    if (!isUsable() || !isInTransaction())
        return;
    try {
        run("ROLLBACK");
    } catch (...) {
        m_givenUp = true;
    }
}

void Connection::start(const std::string &sql)
{
    m_deadline = Clock::now() + m_statementTime;
    if (m_watched)
        m_watched->push_back(sql);
}

void Connection::run(const std::string &sql)
{
    copy(sql, {});
}

Result Connection::query(const std::string &sql, const Parameters &parameters)
{
    const Arguments arguments(parameters);
    start(sql);
    if (!PQsendQueryParams(m_connection.get(), sql.c_str(), arguments.count(), arguments.types.data(),
                           arguments.values.data(), arguments.lengths.data(), arguments.formats.data(), 1))
        throwLost();
    return onlyResult();
}

Result Connection::call(const std::string &function, const Parameters &parameters)
{
    const Arguments arguments(parameters);
    start(function);
    prepare(function, arguments);
    if (!PQsendQueryPrepared(m_connection.get(), function.c_str(), arguments.count(), arguments.values.data(),
                             arguments.lengths.data(), arguments.formats.data(), 1))
        throwLost();
    return onlyResult();
}

void Connection::prepare(const std::string &function, const Arguments &arguments)
{
    if (m_prepared.count(function) > 0)
        return;
    const std::string sql = callOf(function, arguments.count());
    if (!PQsendPrepare(m_connection.get(), function.c_str(), sql.c_str(), arguments.count(), arguments.types.data()))
        throwLost();
    flush();
    finish();
    m_prepared.insert(function);
}

Result Connection::onlyResult()
{
    flush();
    Result result(next());
    finish();
    return result;
}

void Connection::copy(const std::string &sql, const std::vector<RowSink> &sinks)
{
    start(sql);
    if (!PQsendQuery(m_connection.get(), sql.c_str()))
        throwLost();
    flush();
    std::size_t copied = 0;
    while (PGresult *result = next()) {
        const Result owned(result);
        if (PQresultStatus(result) == PGRES_COPY_OUT)
            takeRows(sinks.at(copied++));
    }
}

void Connection::takeRows(const RowSink &sink)
{
    CopyReader reader(m_server, sink);
    for (;;) {
        char *bytes = nullptr;
        const int length = PQgetCopyData(m_connection.get(), &bytes, 1);
        const std::unique_ptr<char, BufferCloser> owned(bytes);
        if (length > 0) {
            try {
                reader.take({bytes, std::size_t(length)});
            } catch (...) {
                m_givenUp = true; // the rest of the answer is still to come
                throw;
            }
        } else if (length == 0) {
            wait(POLLIN);
            if (!PQconsumeInput(m_connection.get()))
                throwLost();
        } else if (length == -1) {
            return;
        } else {
            throwLost();
        }
    }
}

void Connection::flush()
{
    int unsent = 0;
    while ((unsent = PQflush(m_connection.get())) > 0) {
        // The server may have to get rid of an answer before it reads on.
        wait(POLLIN | POLLOUT);
        if (!PQconsumeInput(m_connection.get()))
            throwLost();
    }
    if (unsent < 0)
        throwLost();
}

void Connection::wait(short events)
{
    pollfd socket = {PQsocket(m_connection.get()), events, 0};
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_deadline - Clock::now()).count();
        const int ready = left > 0 ? ::poll(&socket, 1, int(std::min<std::int64_t>(left, INT_MAX))) : 0;
        if (ready > 0)
            return;
        if (ready == 0 && left <= 0) {
            m_givenUp = true;
            const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(m_statementTime).count();
            throw Error(m_server, "no answer within " + std::to_string(seconds) + " s", Error::Late);
        }
        if (ready < 0 && errno != EINTR)
            throwLost();
    }
}

PGresult *Connection::next()
{
    while (PQisBusy(m_connection.get())) {
        wait(POLLIN);
        if (!PQconsumeInput(m_connection.get()))
            throwLost();
    }
    PGresult *result = PQgetResult(m_connection.get());
    const ExecStatusType status = result ? PQresultStatus(result) : PGRES_COMMAND_OK;
    if (status == PGRES_FATAL_ERROR || status == PGRES_BAD_RESPONSE) {
        const Result owned(result);
        throwFault(result);
    }
    return result;
}

void Connection::finish()
{
    while (PGresult *result = next())
        const Result owned(result);
}

void Connection::throwFault(const PGresult *result)
{
    const std::string reason = reasonOf(result);
    const std::string state = stateOf(result);
    try {
        // What else the server says does not matter, but has to be read.
        finish();
    } catch (const Error &) {
        m_givenUp = true;
    }
    throw Error(m_server, reason, isUsable() ? Error::Refused : Error::Lost, state);
}

void Connection::throwLost()
{
    m_givenUp = true;
    throw Error(m_server, oneLine(PQerrorMessage(m_connection.get())), Error::Lost);
}
} // namespace Postgres
