// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

/** "SIGSEGV", or "signal 40" for one without a name. */
std::string signalName(int number);
