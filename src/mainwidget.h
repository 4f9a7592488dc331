// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#ifndef OBRIM_MAINWIDGET_H
#define OBRIM_MAINWIDGET_H

class QWidget;

/**
 * Makes a window the one that the program lives by: when it is closed or
 * destroyed the event loop ends with 0, whatever other windows are open.
 */
void SetMainWidget(QWidget *widget);

#endif
