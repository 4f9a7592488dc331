// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Config.h"

#include <QString>

/** The value that findConfigValue() finds, its bytes read as Latin-1; empty when no line has the key. */
QString GetConfigValue(char lines[][ConfigLineSize], int &n, const char *key);
