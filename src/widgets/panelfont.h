// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

class QWidget;

/**
 * Gives a panel whose children have fixed places the largest font in which
 * every child shows its text whole: its window's font, or down to half of it.
 */
void fitPanelFont(QWidget *panel);
