// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>

class QWidget;

/**
 * F1 in `window` opens the manual at `chapter`, an identifier of its source: in
 * the desktop's help centre, else the page that is installed with the others.
 * Where there is neither, a box says so.
 */
void addManualKey(QWidget *window, const QString &chapter);
