// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"
#include "bytes.h"

#include <string>

/** @file The requests as bytes: the numbers and times, then the bytes of the masks. */
namespace Calls
{
void appendRequest(std::string &bytes, const CMessageEventRequest &request);
void appendRequest(std::string &bytes, const CMessageCommandRequest &request);

/**
 * Fills a request. A mask of no bytes becomes NULL; bounds that a 4-byte time_t cannot hold become others
 * that the same times of 4 bytes meet. Throws CorruptMessage, and std::bad_alloc.
 */
void takeRequest(ByteReader &bytes, CMessageEventRequest &request);
void takeRequest(ByteReader &bytes, CMessageCommandRequest &request);
} // namespace Calls
