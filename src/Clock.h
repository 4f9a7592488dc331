// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#ifndef OBRIM_CLOCK_H
#define OBRIM_CLOCK_H

#include <ctime>

/** The current time, seconds since the Unix epoch: the one place that asks for it. */
std::time_t CurrentTime();

/** Replaces the source of CurrentTime, so that tests can step it; NULL brings the system's back. */
void SetClock(std::time_t (*clock)());

#endif
