// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/**
 * Keeps KDE from giving widgets and menu entries accelerators of its own
 * choice: each has the one that its form gives it, or none.
 *
 * To be called before the event loop runs. Nothing is written to disk.
 */
void keepAccelerators();
