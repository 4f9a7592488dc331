// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "call.h"

#include <string>

/**
 * What makes two calls the same request. Left out is what need not be the same
 * to ask for the same: the directory of an initialisation, the fields of a
 * request that its own switches turn off, and time and identifier of what is
 * put.
 */
std::string keyOf(Calls::Call call);

/** A call in words for a message: the function, and what its request asks for. */
std::string inWords(const Calls::Call &call);
