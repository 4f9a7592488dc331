// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "storeerror.h"

#include <string>

namespace Postgres
{
/** What went wrong with which server: "SERVER: REASON". */
class Error : public StoreError
{
public:
    enum Kind {
        Refused, ///< the server answered that it did not do it
        Lost,    ///< the connection ended before an answer: it may have done it
        Late     ///< no answer came in time, and the connection was given up: it may do it yet
    };
    Error(const std::string &server, const std::string &reason, Kind kind, std::string state = {})
        : StoreError(server, reason)
        , m_kind(kind)
        , m_state(std::move(state))
    {
    }
    Kind kind() const
    {
        return m_kind;
    }
    /** The server's five letters for the kind of its fault; empty when it gave none. */
    const std::string &state() const
    {
        return m_state;
    }

private:
    Kind m_kind;
    std::string m_state;
};

/** A message of libpq's or the server's in one line, without what would command a terminal. */
std::string oneLine(const char *message);
} // namespace Postgres
