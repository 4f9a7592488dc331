// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QSize>

class QWidget;

/** Room in pixels that the screen has inside the frame of a window that opens over `parent`. */
QSize roomOnScreen(const QWidget *parent);

/**
 * Places a window that is about to open beside the one of its class that was
 * opened last, if that is still there, and wholly on the screen. The first
 * one opens over its parent, as the toolkit has it.
 */
void placeWindow(QWidget *window);
