// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>

class QWidget;

/**
 * Shows a plain text with an OK button and waits until it is dismissed.
 *
 * `parent` may be NULL, and may die while the box is open: the box then closes
 * with it. The box is named "information".
 */
void showInformationBox(QWidget *parent, const QString &caption, const QString &text);

/**
 * Asks a plain-text question with the toolkit's buttons for Yes and No; true when Yes was chosen.
 *
 * Escape and closing the box mean No. When `parent` dies while the question is
 * open the box closes with it and the answer is false: a caller that is the
 * parent must not touch itself then. The box is named "question".
 */
bool askQuestion(QWidget *parent, const QString &caption, const QString &text);

/**
 * The same for what cannot be undone: Enter means Yes, and nothing but the two
 * buttons answers. They have no accelerators.
 */
bool confirm(QWidget *parent, const QString &caption, const QString &text);
