// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"
#include "dbsymbols.h"

#include <stdexcept>

/** Why a call failed, in words that name the library and the function. Empty when it need not be told once more. */
class CallFault : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/**
 * A DB library that has no data of its own and stands in for another one: it
 * passes the calls on, or answers them from what another one answered.
 *
 * The ten functions of functions.cpp call it, one at a time. What it throws
 * becomes a line on standard error, and a result of -1.
 */
class StandIn
{
public:
    StandIn() = default;
    StandIn(const StandIn &) = delete;
    StandIn &operator=(const StandIn &) = delete;
    virtual ~StandIn() = default;

    virtual int initialise(DBFunction function, const char *configDir) = 0;

    /** The size query of a fetch function. */
    virtual int sizeQuery(DBFunction function) = 0;
    virtual int fetch(int *n, CSensor **sensors) = 0;
    virtual int fetch(int *n, CMessageEvent **events, CMessageEventRequest *request) = 0;
    virtual int fetch(int *n, CMessageCommand **commands, CMessageCommandRequest *request) = 0;
    virtual int release(CSensor **sensors) = 0;
    virtual int release(CMessageEvent **events, CMessageEventRequest *request) = 0;
    virtual int release(CMessageCommand **commands, CMessageCommandRequest *request) = 0;

    virtual int put(CMessageCommand *command) = 0;
    virtual int put(CMessageEvent *event) = 0;
    virtual int remove(DBFunction function, int id) = 0;

    /** The process ends, or the library is unloaded; calls may still come. */
    virtual void close() = 0;
};

/** The one of this library, which is never destroyed: the console's own end may still call in. */
StandIn &standIn();

/** Writes "DBLib: " and `text` as a line on standard error, unless there is none. */
void tell(const char *text) noexcept;
