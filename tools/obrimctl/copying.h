// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "copytarget.h"
#include "source.h"

class Output;

/**
 * Copies all commands and events into another installation, which must be empty
 * or hold the first of them from a copy that was interrupted; compares both
 * sides record by record, and says what has changed. The commands come first:
 * a sensor that becomes known by its first event does not carry them out again.
 * Throws Failure.
 */
void copyRecords(const Source &source, CopyTarget &target, const std::string &targetName, Output &output);
