// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "cwd_eventslist.h"

const NamePool::Name *EventListTraits::kind(const CMessageEvent &event, LentNames &names)
{
    return names.name(event.EventName, event.LEventName);
}

CWD_EventsList::CWD_EventsList(QWidget *parent, const char *caption, const char *mask)
    : RecordListWindow(parent, caption)
{
    const QPointer<QObject> self(this);
    ResetData();
    if (!self)
        return;
    setUp(caption, mask);
    ResetData();
    if (!self)
        return;
    setUpColumns<CWD_EventsList>({&CWD_EventsList::FSetVisibilityC0, &CWD_EventsList::FSetVisibilityC1,
                                  &CWD_EventsList::FSetVisibilityC2, &CWD_EventsList::FSetVisibilityC3,
                                  &CWD_EventsList::FSetVisibilityC4, &CWD_EventsList::FSetVisibilityC5});
    setGeometry(geometry());
    // That counts as a place chosen by hand; the window has none yet and opens over its parent as the others do.
    setAttribute(Qt::WA_Moved, false);
    finishConstruction();
}

void CWD_EventsList::create(WId window, bool initializeWindow, bool destroyOldWindow)
{
    QWidget::create(window, initializeWindow, destroyOldWindow);
}

QStringList CWD_EventsList::columnNames()
{
    return {tr2i18n("Number"), tr2i18n("Sensor"), tr2i18n("ID"), tr2i18n("Name"), tr2i18n("Date"), tr2i18n("Params")};
}

void CWD_EventsList::onUpdateList()
{
    ResetData();
}

void CWD_EventsList::onGetNewEvents()
{
    GetNewData();
}

void CWD_EventsList::onSetTimeFrom(int index)
{
    qWarning("CWD_EventsList::onSetTimeFrom:i=%d", index);
    applyTimePreset(timeFrom, timeFromUsed, index);
}

void CWD_EventsList::onSetTimeTo(int index)
{
    applyTimePreset(timeTo, timeToUsed, index);
}

void CWD_EventsList::setAutoUpdate(int index)
{
    chooseAutoUpdate(index);
}

void CWD_EventsList::onDeleteItem()
{
    deleteSelectedRecord([](const QString &id) { return i18n("Delete event with ID=%1?", id); }, DBDeleteEvent);
}

void CWD_EventsList::onRBList(QListViewItem *item, const QPoint &, int)
{
    showContextMenu(item, tr2i18n("Delete event from DB"));
}
