// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "options.h"
#include "source.h"

class Output;

/**
 * Hands a command to a sensor that there is, and waits, if so wanted, until
 * the sensor has reported that it was carried out. Returns the exit status.
 */
int putCommand(const Source &source, const PutOptions &options, Output &output);
