// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "data.h"

QString CurWD = QLatin1String("");
QString BaseWD = QLatin1String("");
QString ConfigWD = QLatin1String("");
QString DLLWD = QLatin1String("");

int SetWAllocOutput = 0;
