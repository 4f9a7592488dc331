// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include <asm/unistd.h>

#include "systemcalltable.h"

const std::vector<SystemCall> &nativeSystemCalls()
{
    static const std::vector<SystemCall> calls = systemCallTable();
    return calls;
}
