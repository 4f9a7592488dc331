// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "parametertext.h"

#include <QString>

/** A record's text for showing: what recordBytes() gives, read as Latin-1. */
QString recordText(const char *text, int length);
