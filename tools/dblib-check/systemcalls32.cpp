// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#ifdef __x86_64__
#include <asm/unistd_32.h>

#include "systemcalltable.h"

const std::vector<SystemCall> &foreignSystemCalls()
{
    static const std::vector<SystemCall> calls = systemCallTable();
    return calls;
}
#else
#include "systemcalls.h"

const std::vector<SystemCall> &foreignSystemCalls()
{
    static const std::vector<SystemCall> none;
    return none;
}
#endif
