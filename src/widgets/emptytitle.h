// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

class QWidget;

/**
 * Takes the title from a window that is not shown yet: the toolkit would tell
 * the window manager the program's name instead of nothing. On X only.
 */
void setEmptyTitle(QWidget *window);
