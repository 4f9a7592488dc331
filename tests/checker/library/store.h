// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"

#include <string>
#include <vector>

/** A store in memory with a little of everything in it: the library's data. */
template <class Record> struct Shelf {
    std::vector<Record> records; ///< by growing identifier
    int nextId = 1;
};

struct Store {
    std::vector<CSensor> sensors;
    Shelf<CMessageEvent> events;
    Shelf<CMessageCommand> commands;
    bool initialised = false;
    int initialisations = 0;
    std::string log; ///< file that puts and deletes of events are kept in; empty: only memory
};

Store &store();

/** Reads the log, and keeps what follows in it. */
void openLog(const std::string &path);

int &idOf(CMessageEvent &event);
int &idOf(CMessageCommand &command);

/** The records that a request selects, in the order that suits the windows. */
std::vector<const CMessageEvent *> select(const CMessageEventRequest &request);
std::vector<const CMessageCommand *> select(const CMessageCommandRequest &request);

int put(const CMessageEvent &event);
int put(const CMessageCommand &command);
void removeEvent(int id);
void removeCommand(int id);
