// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "cwd_commandslist.h"

int CommandListTraits::kind(const CMessageCommand &command, LentNames &)
{
    return command.CommandType;
}

CWD_CommandsList::CWD_CommandsList(QWidget *parent, const char *caption, const char *mask)
    : RecordListWindow(parent, caption)
{
    const QPointer<QObject> self(this);
    setUp(caption, mask);
    ResetData();
    if (!self)
        return;
    setUpColumns<CWD_CommandsList>({&CWD_CommandsList::FSetVisibilityC0, &CWD_CommandsList::FSetVisibilityC1,
                                    &CWD_CommandsList::FSetVisibilityC2, &CWD_CommandsList::FSetVisibilityC3,
                                    &CWD_CommandsList::FSetVisibilityC4, &CWD_CommandsList::FSetVisibilityC5});
    finishConstruction();
}

QStringList CWD_CommandsList::columnNames()
{
    return {tr2i18n("Number"), tr2i18n("Sensor"), tr2i18n("ID"), tr2i18n("Type"), tr2i18n("Date"), tr2i18n("Params")};
}

void CWD_CommandsList::onUpdateList()
{
    ResetData();
}

void CWD_CommandsList::noGetNewCommands()
{
    GetNewData();
}

void CWD_CommandsList::onSetTimeFrom(int index)
{
    applyTimePreset(timeFrom, timeFromUsed, index);
}

void CWD_CommandsList::onSetTimeTo(int index)
{
    applyTimePreset(timeTo, timeToUsed, index);
}

void CWD_CommandsList::setAutoUpdate(int index)
{
    chooseAutoUpdate(index);
}

void CWD_CommandsList::onRBList(QListViewItem *item, const QPoint &, int)
{
    showContextMenu(item, tr2i18n("Delete command from DB"));
}

void CWD_CommandsList::onDeleteItem()
{
    deleteSelectedRecord([](const QString &id) { return i18n("Delete command with ID=%1?", id); }, DBDeleteCommand);
}
