// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause

/**
 * @file
 * The boundary between the console and a DB library: the records that cross
 * it, the requests that select them, and the signatures of the ten functions.
 *
 * Everything here is plain C++ without any toolkit, so that a DB library can
 * be built from this header and the library `Obrim::DB` alone.
 *
 * The layouts are a binary contract. docs/record-layout.md states them in
 * words; recordlayout.h asserts them.
 */
#pragma once

#include "MessageCommand.h"
#include "MessageCommandRequest.h"
#include "MessageEvent.h"
#include "MessageEventParam.h"
#include "MessageEventRequest.h"
#include "MessageKeepAlive.h"
#include "Sensor.h"

#include <obrim/recordcodes.h>

/**
 * Copies an owned text or value, byte for byte.
 *
 * Releases `*dst` (array delete) and leaves NULL with `*dstLen` 0, or, when
 * `srcLen` is positive, a fresh array of exactly `srcLen` bytes copied from
 * `src`. A terminating NUL travels only when `srcLen` counts it. A NULL `src`
 * counts as no text; `src` may lie in the text that `*dst` holds.
 *
 * Throws std::bad_alloc when memory is short; `*dst` and `*dstLen` are then as
 * before. The caller owns `*dst` and releases it with array delete.
 */
void CopyPtr(char **dst, int *dstLen, const char *src, int srcLen);

/**
 * @name The ten functions of a DB library
 *
 * All are called on one thread, one at a time. None may let an exception out:
 * the console answers it as a failure. Whatever is passed in is the caller's
 * and gone after the call: copy what is to be kept. docs/db-library.md says
 * more of each.
 * @{
 */

/**
 * Gives the sensors. One function, three uses, which follow each other in this
 * order at each load; the store was opened before, perhaps in vain.
 *
 * Both NULL, the size query: returns SensorSize.
 *
 * Neither NULL, the fetch: `*n` is 0 and `*sensors` NULL. Sets them to the
 * number of records and to an array of so many, which stays the library's, valid
 * and unchanged until the release; leaves both as they are when there is no
 * record. Returns 0; another value for a failure, which leaves both as they are.
 *
 * `n` NULL, the release: `sensors` points to what the fetch gave, NULL when it
 * gave nothing. Frees it. Called exactly once for each fetch, a failed one too;
 * any result but 0 counts as a failure.
 */
using DBGetSensorsFunction = int(int *n, CSensor **sensors);

/**
 * Opens the store of sensors; its settings lie in files of `configDir`, whose
 * text may contain "..". Called at the start, in the order sensors, events,
 * commands, before any other function, and again with the same directory, also
 * to have the sensors read anew: must lose nothing and be cheap. Returns 0, or
 * another value for a failure, after which the other functions are called
 * nevertheless.
 */
using InitDBSensorsFunction = int(const char *configDir);

/**
 * Gives the events that `*request` selects: at most NMax, the oldest or the
 * newest of those that match (`*request & event`). Otherwise as
 * DBGetSensorsFunction; `request` is NULL in the size query alone, which returns
 * EventSizes, and the same in fetch and release.
 */
using DBGetEventsFunction = int(int *n, CMessageEvent **events, CMessageEventRequest *request);

/** Opens the store of events: as InitDBSensorsFunction. */
using InitDBEventsFunction = int(const char *configDir);

/** Gives the commands that `*request` selects: as DBGetEventsFunction; the size query returns CommandSizes. */
using DBGetCommandsFunction = int(int *n, CMessageCommand **commands, CMessageCommandRequest *request);

/** Opens the store of commands: as InitDBSensorsFunction. */
using InitDBCommandsFunction = int(const char *configDir);

/**
 * Stores a command, never NULL, for the sensor that it names. The store gives
 * the identifier, larger than every one that it ever gave, whatever stands in
 * the record. Returns 0 when the command is stored, else another value.
 */
using DBPutCommandFunction = int(CMessageCommand *command);

/** Stores an event: as DBPutCommandFunction. */
using DBPutEventFunction = int(CMessageEvent *event);

/**
 * Deletes the command of that identifier. Returns 0, also when there is none
 * such; another value when it could not be deleted. The caller counts it as
 * deleted either way.
 */
using DBDeleteCommandFunction = int(int id);

/** Deletes the event of that identifier: as DBDeleteCommandFunction. */
using DBDeleteEventFunction = int(int id);

/** @} */

/** What a size query for events must return: both record sizes in one number. */
constexpr int EventSizes = int(sizeof(CMessageEvent) | (sizeof(CMessageEventRequest) << 16));
/** What a size query for commands must return. */
constexpr int CommandSizes = int(sizeof(CMessageCommand) | (sizeof(CMessageCommandRequest) << 16));
/** What a size query for sensors must return. */
constexpr int SensorSize = int(sizeof(CSensor));
