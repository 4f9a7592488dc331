// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"

#include <cstdint>

/**
 * @file
 * What two installations must have alike of a record, as one number: all of it
 * but the identifier, texts up to their NUL, values as their type has them.
 */
std::uint64_t recordSum(const CMessageEvent &event);
std::uint64_t recordSum(const CMessageCommand &command);

/** The sum of a row of records when `next` is the sum of the next one; begins with 0. */
std::uint64_t joinedSum(std::uint64_t sum, std::uint64_t next);

/** A copy whose length fields are those of its texts and values, so that any library takes it. Throws std::bad_alloc.
 */
CMessageEvent measured(const CMessageEvent &event);
CMessageCommand measured(const CMessageCommand &command);
