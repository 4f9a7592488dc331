// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "installation.h"
#include "options.h"

class Output;

/** Looks at the library, the records and the sensors and tells what it finds. Returns the exit status: 1 when something
 * is wrong. */
int showStatus(const Installation &installation, const StatusOptions &options, Output &output);
