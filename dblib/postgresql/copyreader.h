// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "connection.h"

#include <string>
#include <string_view>

namespace Postgres
{
/** Reads what COPY sends in binary: a header, rows, an end. */
class CopyReader
{
public:
    CopyReader(const std::string &server, const RowSink &sink);
    /** Takes a message of the server's, which holds whole rows. Throws Error when it cannot be read. */
    void take(std::string_view message);

private:
    void skipHeader(std::string_view &message) const;
    /** False at the end of all rows. */
    bool takeRow(std::string_view &message);
    std::string_view cut(std::string_view &message, std::size_t length) const;

    const std::string &m_server;
    const RowSink &m_sink;
    CopiedRow m_row;
    bool m_started = false;
};
} // namespace Postgres
