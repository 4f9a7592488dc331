// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"

#include <string>
#include <vector>

/** A store in memory with a little of everything in it: the library's data. */
template <class Record> struct Table {
    std::vector<Record> records; ///< in the order in which they were put
    int nextId = 1;
};

struct Store {
    std::vector<CSensor> sensors;
    Table<CMessageEvent> events;
    Table<CMessageCommand> commands;
    bool initialised = false;
    int initialisations = 0;
};

Store &store();

int &idOf(CMessageEvent &event);
int &idOf(CMessageCommand &command);
int idOf(const CMessageEvent &event);
int idOf(const CMessageCommand &command);

/** Fills an owned text. */
void setText(char *&text, int &length, const std::string &value);

/** Adds a record under the next identifier of its table. */
void add(CMessageEvent event);
void add(CMessageCommand command);

int put(const CMessageEvent &event);
int put(const CMessageCommand &command);
void removeEvent(int id);
void removeCommand(int id);

// The file that some builds keep their records in.

/** Reads the file, and keeps what follows in it. */
void openLog(const std::string &path);
void logPut(const CMessageEvent &event);
void logPut(const CMessageCommand &command);
void logRemoval(char kind, int id);
