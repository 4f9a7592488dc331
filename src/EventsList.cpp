// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "EventsList.h"

#include <KLocalizedString>

DEventList::DEventList(QWidget *parent, const char *name, bool modal, Qt::WindowFlags fl)
    : RecordForm(parent, name, modal, fl)
{
    DEventList::languageChange();
    resize(size().expandedTo(minimumSizeHint()));
    connectControls(&DEventList::onGetNewEvents);
}

void DEventList::onUpdateList()
{
    qWarning("DEventList::onUpdateList(): Not implemented yet");
}

void DEventList::onSetTimeFrom(int)
{
    qWarning("DEventList::onSetTimeFrom(int): Not implemented yet");
}

void DEventList::onSetTimeTo(int)
{
    qWarning("DEventList::onSetTimeTo(int): Not implemented yet");
}

void DEventList::onGetNewEvents()
{
    qWarning("DEventList::onGetNewEvents(): Not implemented yet");
}

void DEventList::setAutoUpdate(int)
{
    qWarning("DEventList::setAutoUpdate(int): Not implemented yet");
}

void DEventList::onRBList(QListViewItem *, const QPoint &, int)
{
    qWarning("DEventList::onRBList(QListViewItem*,const QPoint&,int): Not implemented yet");
}

void DEventList::languageChange()
{
    setTexts({tr2i18n("N"), tr2i18n("Sensor ID"), tr2i18n("EventID"), tr2i18n("Event Name"), tr2i18n("Event Time"),
              tr2i18n("Parameters")});
}
