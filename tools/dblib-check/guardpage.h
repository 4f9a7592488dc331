// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>

/**
 * @file
 * Memory that ends right before a guard page, to be handed to a library: one
 * byte too far, and the check ends with a sentence that names what was left.
 */
namespace GuardPage
{
/**
 * `size` zeroed bytes right before a guard page, at most 50,000. `name` is
 * the thing in a sentence ("the count") and must be a literal. Until recycle,
 * each call gives other memory. Throws a skip when there is none.
 */
void *end(std::size_t size, const char *name);

/** The same with a copy of `size` bytes in it. */
void *copy(const void *from, std::size_t size, const char *name);

/** From now on what was given may be given again. */
void recycle();
} // namespace GuardPage
