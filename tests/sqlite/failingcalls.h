// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/**
 * @file
 * The system's file calls, failing when they are told to, for whoever makes
 * them but SQLite, whose files failingsqlite.h has: for the DB library that the
 * program loads, and for the C++ library on its behalf. What only asks for a
 * reason after a failure counts as well; closing never fails, as nobody asks
 * whether it did. A program that links this exports the calls (see
 * CMakeLists.txt). Not for more than one thread.
 */
namespace FailingCalls
{
/** Lets the call number `n` (from 0) fail with EIO, with `onwards` also all after it. */
void refuse(int n, bool onwards);
/** Lets everything succeed again; true when something was refused since `refuse`. */
bool grant();
} // namespace FailingCalls
