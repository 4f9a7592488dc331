// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>

class QWidget;

/**
 * The keys of a window: F1 opens the manual at `chapter`, an identifier of its
 * source, in the desktop's help centre, else the page that is installed with
 * the others; where there is neither, a box says so. KDE gives widgets and
 * menu entries no accelerators of its own choice: each has the one that its
 * form gives it, or none. To be called before the event loop runs; nothing is
 * written to disk.
 */
void setUpKeys(QWidget *window, const QString &chapter);
