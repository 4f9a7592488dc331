// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/**
 * Looks whether the desktop's session bus answers. Where it does not, which
 * would stop the toolkit for good, the program goes on without it, and says so
 * on standard error. To be called before the application is made.
 */
void avoidSilentSessionBus();
