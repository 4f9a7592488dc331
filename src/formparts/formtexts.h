// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QStringList>

class ListView;
class QComboBox;

/** The entries of the time-ago combo boxes, translated; their indexes choose a time preset. */
QStringList timeAgoItems();

/** The entries of the auto-update combo boxes, translated; their indexes choose an interval. */
QStringList autoUpdateItems();

/**
 * Replaces the entries of `combo`. The current index stays and no signal is
 * sent, so that a language switch changes words only; a combo box that was
 * empty takes entry 0.
 */
void refillCombo(QComboBox *combo, const QStringList &items);

/** Gives the columns their headings, from column 0 on; what is no column yet becomes one, as wide as its contents. */
void setHeadings(ListView *list, const QStringList &headings);
