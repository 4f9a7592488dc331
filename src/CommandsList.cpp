// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "CommandsList.h"

#include <KLocalizedString>

namespace
{

QStringList headings()
{
    return {tr2i18n("N"),        tr2i18n("Sensor ID"), tr2i18n("Cmd ID"),
            tr2i18n("Cmd Type"), tr2i18n("Cmd Time"),  tr2i18n("Parameters")};
}

} // namespace

DCommandsList::DCommandsList(QWidget *parent, const char *name, bool modal, Qt::WindowFlags fl)
    : RecordForm(parent, name, modal, fl)
{
    addColumns(listCommands, headings());
    listCommands->setResizeMode(ListView::AllColumns);
    DCommandsList::languageChange();
    resize(size().expandedTo(minimumSizeHint()));
    connectControls();
}

void DCommandsList::connectControls()
{
    connect(BUpdateList, &QPushButton::clicked, this, &DCommandsList::onUpdateList);
    connect(comboFrom_TimeAgo, QOverload<int>::of(&QComboBox::activated), this, &DCommandsList::onSetTimeFrom);
    connect(comboTo_TimeAgo, QOverload<int>::of(&QComboBox::activated), this, &DCommandsList::onSetTimeTo);
    connect(pushButton2, &QPushButton::clicked, this, &DCommandsList::noGetNewCommands);
    connect(AutoUpdate, QOverload<int>::of(&QComboBox::activated), this, &DCommandsList::setAutoUpdate);
    connect(listCommands, &ListView::rightButtonClicked, this, &DCommandsList::onRBList);
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
    setTexts(listCommands, headings());
    setToolTip(QString());
    // Its text would give it Alt+G, as it does in the events form; here it has no key.
    pushButton2->setShortcut(QKeySequence());
}
