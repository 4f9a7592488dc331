// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <initializer_list>

class QComboBox;
class QWidget;

/**
 * Lets the mouse wheel change the combo boxes and date fields of a form only
 * while they have the focus, which it does not give them: a turn of the wheel
 * on the way to the list must not change what is asked for.
 */
void keepFromStrayWheel(QWidget *form);

/** Puts a panel of fixed size into an area in its place that scrolls up and down. */
void letScroll(QWidget *panel);

/**
 * Gives a panel whose children have fixed places the largest font in which
 * every child shows its text whole: its window's font, or down to half of it.
 */
void fitPanelFont(QWidget *panel);

/**
 * Gives combo boxes their entries in the current language: in `timeAgo` they
 * choose a time preset, in `autoUpdate` an interval. The current indexes stay
 * and no signal is sent, so that a language switch changes words only; a combo
 * box that was empty takes entry 0.
 */
void fillComboBoxes(std::initializer_list<QComboBox *> timeAgo, QComboBox *autoUpdate);
