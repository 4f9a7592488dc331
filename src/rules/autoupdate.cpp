// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "autoupdate.h"

int autoUpdateInterval(int index)
{
    if (index <= 0)
        return 0;
    switch (index) {
    case 1:
        return 2000;
    case 2:
        return 5000;
    case 3:
        return 60000;
    case 4:
        return 600000;
    default:
        return 1000;
    }
}
