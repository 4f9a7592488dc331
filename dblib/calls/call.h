// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"
#include "message.h"

#include <memory>
#include <string>
#include <string_view>

/** @file Each of the ten calls as bytes, and back. */
namespace Calls
{
// One for each form of call. All throw TooLarge and std::bad_alloc.

/** `directory` may be NULL. */
std::string initCall(DBFunction function, const char *directory);
/** The size query of a fetch function. */
std::string queryCall(DBFunction function);
/** The release of what a fetch function gave out. */
std::string releaseCall(DBFunction function);
std::string fetchCall();
/** `request` may be NULL. */
std::string fetchCall(const CMessageEventRequest *request);
std::string fetchCall(const CMessageCommandRequest *request);
/** `record` may be NULL. */
std::string putCall(const CMessageEvent *record);
std::string putCall(const CMessageCommand *record);
std::string deleteCall(DBFunction function, int id);

/** A call as its receiver makes it: what it carries is its own, NULL where the caller gave NULL. */
struct Call {
    Subject subject;
    int id = 0;                             ///< of a delete
    std::unique_ptr<std::string> directory; ///< of an initialisation
    std::unique_ptr<CMessageEventRequest> eventRequest;
    std::unique_ptr<CMessageCommandRequest> commandRequest;
    std::unique_ptr<CMessageEvent> event;
    std::unique_ptr<CMessageCommand> command;
};

/** Throws CorruptMessage, also for a message of another kind, and std::bad_alloc. */
Call readCall(std::string_view bytes);

/** The bytes of a call that was read. */
std::string callBytes(const Call &call);
} // namespace Calls
