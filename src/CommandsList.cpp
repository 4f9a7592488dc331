// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "CommandsList.h"

#include <KLocalizedString>

DCommandsList::DCommandsList(QWidget *parent, const char *name, bool modal, Qt::WindowFlags fl)
    : RecordForm(parent, name, modal, fl)
{
    DCommandsList::languageChange();
    listCommands->setResizeMode(ListView::AllColumns);
    resize(size().expandedTo(minimumSizeHint()));
    connectControls(&DCommandsList::noGetNewCommands);
}

void DCommandsList::onUpdateList()
{
    qWarning("DCommandsList::onUpdateList(): Not implemented yet");
}

void DCommandsList::onSetTimeFrom(int)
{
    qWarning("DCommandsList::onSetTimeFrom(int): Not implemented yet");
}

void DCommandsList::onSetTimeTo(int)
{
    qWarning("DCommandsList::onSetTimeTo(int): Not implemented yet");
}

void DCommandsList::noGetNewCommands()
{
    qWarning("DCommandsList::noGetNewCommands(): Not implemented yet");
}

void DCommandsList::setAutoUpdate(int)
{
    qWarning("DCommandsList::setAutoUpdate(int): Not implemented yet");
}

void DCommandsList::onRBList(QListViewItem *, const QPoint &, int)
{
    qWarning("DCommandsList::onRBList(QListViewItem*,const QPoint&,int): Not implemented yet");
}

void DCommandsList::onDeleteItem()
{
    qWarning("DCommandsList::onDeleteItem(): Not implemented yet");
}

void DCommandsList::languageChange()
{
    setTexts({tr2i18n("N"), tr2i18n("Sensor ID"), tr2i18n("Cmd ID"), tr2i18n("Cmd Type"), tr2i18n("Cmd Time"),
              tr2i18n("Parameters")});
    setToolTip(QString());
    // Its text would give it Alt+G, as it does in the events form; here it has no key.
    pushButton2->setShortcut(QKeySequence());
}
