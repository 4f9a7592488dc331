// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "formtexts.h"

#include "listview.h"

#include <KLocalizedString>
#include <QComboBox>
#include <QSignalBlocker>

QStringList timeAgoItems()
{
    return {tr2i18n("now"),        tr2i18n("1 minute ago"), tr2i18n("1 hour ago"), tr2i18n("1 day ago"),
            tr2i18n("1 week ago"), tr2i18n("1 month ago"),  tr2i18n("1 year ago")};
}

QStringList autoUpdateItems()
{
    return {tr2i18n("No autoUpdate"), tr2i18n("AutoUpdate 2sec."), tr2i18n("AutoUpdate 5sec."),
            tr2i18n("AutoUpdate 1min."), tr2i18n("AutoUpdate 10min.")};
}

void refillCombo(QComboBox *combo, const QStringList &items)
{
    const QSignalBlocker quiet(combo);
    const int current = combo->count() > 0 ? combo->currentIndex() : 0;
    combo->clear();
    combo->addItems(items);
    combo->setCurrentIndex(current);
}

void setHeadings(ListView *list, const QStringList &headings)
{
    for (int column = 0; column < headings.size(); ++column) {
        if (column == list->columns())
            list->addColumn(headings.at(column));
        list->setColumnText(column, headings.at(column));
    }
}
