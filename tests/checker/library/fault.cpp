// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "fault.h"

const char *const FaultName = CHECKER_FAULT;
