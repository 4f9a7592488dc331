// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>

struct CMessageCommand;
struct CMessageCommandRequest;
struct CMessageEvent;
struct CMessageEventRequest;
struct CSensor;

/**
 * @file
 * The test data source: three text files of the configuration directory that
 * stand in for a DB library function that is missing. It only reads, says
 * nothing, and ignores every request.
 *
 * A file is a sequence of blocks (see Config.h) of KEY=value lines. Numbers
 * are decimal integers; what is not a whole one counts as 0. Times are
 * seconds since the Unix epoch. A block without a name is skipped.
 *
 *     DebugInitSensor.txt    ID (name), Type, Description, IsAlive (yes, Yes, YES: alive)
 *     DebugInitEvents.txt    SENSOR_ID (name), SENSOR_TYPE, EVENT_NAME, EVENT_TIME
 *     DebugInitCommands.txt  SENSOR_ID (name), COMMAND_TYPE, COMMAND_ID, COMMAND_TIME
 */

/** Records that the source holds at most; what follows in a file is not read. */
constexpr int DebugSensorCapacity = 100;
constexpr int DebugEventCapacity = 1000;
constexpr int DebugCommandCapacity = 1000;

/**
 * Read a file of `dir` into the source's table. 0, also without a file (the
 * table is then empty); -1 when memory is short (the table then holds what was
 * read before). Those for events and commands remember `dir`: the one given last,
 * for both.
 */
int InitDBSensorsDebug(QString dir);
int InitDBEventsDebug(QString dir);
int InitDBCommandsDebug(QString dir);

/**
 * Set `*n` to the number of records and, where there is an array, copy them
 * into it: it is the caller's and must hold the source's whole capacity, as
 * the file can have grown since the number was asked for. Events and commands
 * are read anew from the directory remembered last.
 *
 * 0 on success; -1 when `n` is NULL, or when memory is short: `*n` is then as
 * before, and the array's records can be released but are partly replaced.
 */
int DBGetSensorsDebug(int *n, CSensor *sensors);
int DBGetEventsDebug(int *n, CMessageEvent *events, CMessageEventRequest *request);
int DBGetCommandsDebug(int *n, CMessageCommand *commands, CMessageCommandRequest *request);

/** The file that was read last if it is longer than MaxConfigFileSize and was therefore left at that, else empty. */
QString testFileCutShort();
