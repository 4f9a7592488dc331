// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "options.h"

class Output;

/**
 * Makes an installation, or what is missing of one, and says what it made.
 * Throws Failure before anything is made when something of another kind stands
 * in the way, and UsageError for a database that it does not know.
 */
void makeInstallation(const InitOptions &options, Output &output);
