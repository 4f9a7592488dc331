// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"

#include <cstddef>

/** An address on the first page, where nothing lies; not NULL, which sanitizers tell by other means than a signal. */
extern volatile int *const Nowhere;

// What the library does to the process around it, when its fault is one of that sort.
void misbehaveAtInitialise(const char *config);
void misbehaveAtFetch();
void misbehaveFor(const CMessageEventRequest &request);
void changeRequest(CMessageEventRequest &request);
void misbehaveAtPut(CMessageEvent &event);
void misbehaveAtDelete();

/** Loses so many bytes for good. */
void loseBytes(std::size_t count);
