// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"

#include <QString>
#include <functional>
#include <optional>

class QDialog;

/**
 * @file
 * The one way to the records, for every window. All of these run on the GUI
 * thread. Each writes a trace line to standard output on entry and on exit.
 *
 * A function of the DB library that returns another value than 0 or throws
 * leaves a line on standard error that names it. No exception of
 * its leaves these functions: it is answered with -1.
 */

/** Shows `text` to the operator, with one OK button; `parent` may be NULL. */
using InformationBox = void (*)(QDialog *parent, const QString &caption, const QString &text);

/**
 * Says how messages for the operator are shown, so that this layer needs no
 * widgets. Until then, and after NULL, they go to standard error.
 */
void setInformationBox(InformationBox show);

/** A text in the operator's language, with the placeholders that it has. */
using TextLookUp = QString (*)(const char *text);

/**
 * Says where that is looked up, so that this layer needs no catalogues: before
 * anything is filled in. Until then, and after NULL, texts stay as they are.
 */
void setTextLookUp(TextLookUp lookUp);

/**
 * Tells the operator, beside the windows, that a function of the DB library
 * fails or, after that, that it works again: `result` is then 0. It has none
 * when it threw.
 */
using FailureNotice = void (*)(const char *function, std::optional<int> result);

/** Says how that is reported; until then, and after NULL, it is not. Must not wait for anything. */
void setFailureNotice(FailureNotice show);

/** 1 when the regular file at `path` can be opened for reading, else 0. Never blocks. */
int FileExists(const char *path);

/**
 * Finds the base directory (first call only), then loads the DB library and
 * initialises the three data sources (every call). Returns 0 always; ends the
 * process with exit status 255, after a message, when there is no base directory.
 */
int InitData();

/**
 * Initialises one data source: the DB library's function with `dir`, or the
 * test data source's when that function is NULL. `dir` is the configuration
 * directory. Returns what the source returns.
 */
int InitDBSensors(QString dir);
/** As InitDBSensors, for events. */
int InitDBEvents(QString dir);
/** As InitDBSensors, for commands. */
int InitDBCommands(QString dir);

/**
 * Records that the array handed to DBGetSensors must have room for: the test
 * data source fills it in place. 0 while a DB library brings an array of its own.
 */
int roomForSensors();

/**
 * Fetches all sensors.
 *
 * `*sensors` is NULL or an array that was made with array new. With a DB
 * library that keeps the contract, and at least one record, the array is
 * replaced by a new one of `*n` records; the caller owns it and releases it
 * with array delete. With no record the array stays and `*n` becomes 0.
 *
 * Without the library's function, `*n` becomes the test data source's count,
 * and an array that is not NULL is filled in place: see roomForSensors().
 *
 * Returns the library's own result. After a failed size check, a NULL
 * `sensors`, too little memory (each shown with `parent` under the box), for a
 * NULL `n` and after an exception it returns -1, with `*n` and `*sensors` as before.
 */
int DBGetSensors(int *n, CSensor **sensors, QDialog *parent);
/** As DBGetSensors, for the events that `request` selects. */
int DBGetEvents(int *n, CMessageEvent **events, CMessageEventRequest *request, QDialog *parent);
/** As DBGetSensors, for the commands that `request` selects. */
int DBGetCommands(int *n, CMessageCommand **commands, CMessageCommandRequest *request, QDialog *parent);

/**
 * Reads the records of one fetch, at least one. They stay the library's, whose texts end with their lengths and are
 * none where that is 0 or less: nothing of them may be kept, or used after the call.
 */
template <class Record> using RecordReader = std::function<void(const Record *records, int count)>;

/**
 * Fetches the events that `request` selects as DBGetEvents does, with the same calls, trace, boxes and result, but
 * copies nothing: `reader` reads the library's array where it lies, between the fetch and the release. For those who
 * make something else of very many records.
 *
 * `reader` is called once, or not at all: for no record, another result than 0 of the fetch, or a count for which
 * there is no memory. It must not run an event loop. What it throws leaves this function once the library has its
 * array back and the trace is written. After a release that failed the result says so though `reader` was called.
 */
int readEvents(const RecordReader<CMessageEvent> &reader, CMessageEventRequest *request, QDialog *parent);
/** As readEvents, for the commands. */
int readCommands(const RecordReader<CMessageCommand> &reader, CMessageCommandRequest *request, QDialog *parent);

/** Hands a command to the DB library, which copies it. Returns its result; -1 without such a function. */
int DBPutCommand(CMessageCommand &command);
/** As DBPutCommand, for an event. */
int DBPutEvent(CMessageEvent &event);

/** Deletes a command from the store. Returns 0 always; without such a function nothing is done. */
int DBDeleteCommand(int id);
/** As DBDeleteCommand, for an event. */
int DBDeleteEvent(int id);
