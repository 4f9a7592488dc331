// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "listform.h"
#include "ui_CommandsList.h"

/**
 * The form of the commands list window: the list on the left, the fixed panel of
 * filter controls on the right. No control has a value yet but the first entry
 * of each combo box.
 *
 * Each control is wired to a virtual slot; the slots of the bare form only warn
 * that nothing stands behind them.
 */
class DCommandsList : public RecordForm<Ui::DCommandsList, &Ui::DCommandsList::listCommands>
{
    Q_OBJECT

public:
    /** A NULL `name` gives the object name "DCommandsList". */
    explicit DCommandsList(QWidget *parent = nullptr, const char *name = nullptr, bool modal = false,
                           Qt::WindowFlags fl = {});

public slots:
    virtual void onUpdateList();
    virtual void onSetTimeFrom(int index);
    virtual void onSetTimeTo(int index);
    virtual void noGetNewCommands();
    virtual void setAutoUpdate(int index);
    virtual void onRBList(QListViewItem *item, const QPoint &pt, int ip);
    /** No control calls it: the menu of a row does. */
    virtual void onDeleteItem();

protected slots:
    void languageChange() override;
};
