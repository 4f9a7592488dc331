// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/** Interval in milliseconds that the auto-update entry at `index` stands for; 0: no auto-update. */
int autoUpdateInterval(int index);
