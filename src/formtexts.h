// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#ifndef OBRIM_FORMTEXTS_H
#define OBRIM_FORMTEXTS_H

#include <QStringList>

class ListView;
class QComboBox;

/** The entries of the time-ago combo boxes, translated; their indexes choose a time preset. */
QStringList TimeAgoItems();

/** The entries of the auto-update combo boxes, translated; their indexes choose an interval. */
QStringList AutoUpdateItems();

/**
 * Replaces the entries of `combo`. The current index stays and no signal is
 * sent, so that a language switch changes words only; a combo box that was
 * empty takes entry 0.
 */
void RefillCombo(QComboBox *combo, const QStringList &items);

/** Adds a column for each heading, as wide as its contents. */
void AddColumns(ListView *list, const QStringList &headings);

/** Gives the columns their headings again, from column 0 on. */
void RelabelColumns(ListView *list, const QStringList &headings);

#endif
