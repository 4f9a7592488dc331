// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "signalname.h"

#include <cstring>

std::string signalName(int number)
{
    const char *name = sigabbrev_np(number);
    return name ? std::string("SIG") + name : "signal " + std::to_string(number);
}
