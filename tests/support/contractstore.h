// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"

#include <string>
#include <vector>

/** What every library of the tests holds, and how it writes down its calls. */
namespace ContractStore
{
void fillSensors();
void fillEvents();
void fillCommands();

/** Store a copy under the next identifier; identifiers are never used twice. */
void put(const CMessageEvent &event);
void put(const CMessageCommand &command);
void deleteEvent(int id);
void deleteCommand(int id);

const std::vector<CSensor> &sensors();
/** The records that a request selects, in the order that suits the console's windows. */
std::vector<CMessageEvent> select(const CMessageEventRequest &request);
std::vector<CMessageCommand> select(const CMessageCommandRequest &request);

/** Appends one line to the file that the environment names; see contractlibraries.h. */
void log(const std::string &line);
/** A request as it stands in that file, with a blank in front; empty for NULL. */
std::string text(const CMessageEventRequest *request);
std::string text(const CMessageCommandRequest *request);
/** A name of a record; empty for NULL. */
std::string name(const char *bytes);
} // namespace ContractStore
