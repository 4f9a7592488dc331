// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#pragma once

#include <ctime>

/** The current time, seconds since the Unix epoch: the one place that asks for it. */
std::time_t currentTime();

/** Replaces the source of currentTime, so that tests can step it; NULL brings the system's back. */
void setClock(std::time_t (*clock)());
