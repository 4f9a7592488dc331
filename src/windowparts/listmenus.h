// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>
#include <functional>
#include <vector>

class QWidget;

/** An entry of a context menu; without a text a separator. */
struct ContextMenuEntry {
    QString text;
    std::function<void()> chosen;
};

/**
 * Shows a context menu at the mouse pointer, waits until it closes, and runs
 * the chosen entry. The window may die meanwhile: the menu closes with it and
 * nothing is run. The entry's action may end the window too.
 */
void runContextMenu(QWidget *window, const std::vector<ContextMenuEntry> &entries);
