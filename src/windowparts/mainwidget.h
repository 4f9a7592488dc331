// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

class QWidget;

/**
 * Makes a window the one that the program lives by: when it is closed or
 * destroyed the event loop ends with 0, whatever other windows are open.
 */
void setMainWidget(QWidget *widget);
