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
 * The ten functions of a DB library. docs/db-library.md states for each what
 * must hold before, what comes back, and who owns it and for how long.
 */
using DBGetSensorsFunction = int(int *n, CSensor **sensors);
using InitDBSensorsFunction = int(const char *configDir);
using DBGetEventsFunction = int(int *n, CMessageEvent **events, CMessageEventRequest *request);
using InitDBEventsFunction = int(const char *configDir);
using DBGetCommandsFunction = int(int *n, CMessageCommand **commands, CMessageCommandRequest *request);
using InitDBCommandsFunction = int(const char *configDir);
using DBPutCommandFunction = int(CMessageCommand *command);
using DBPutEventFunction = int(CMessageEvent *event);
using DBDeleteCommandFunction = int(int id);
using DBDeleteEventFunction = int(int id);

/** What a size query for events must return: both record sizes in one number. */
constexpr int EventSizes = int(sizeof(CMessageEvent) | (sizeof(CMessageEventRequest) << 16));
/** What a size query for commands must return. */
constexpr int CommandSizes = int(sizeof(CMessageCommand) | (sizeof(CMessageCommandRequest) << 16));
/** What a size query for sensors must return. */
constexpr int SensorSize = int(sizeof(CSensor));
