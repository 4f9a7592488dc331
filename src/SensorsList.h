// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "listform.h"
#include "ui_SensorsList.h"

/**
 * The form of the sensors list window: the list under a gap for the menu bar.
 * The slot of the bare form only warns that nothing stands behind it.
 */
class Form1 : public ListForm<Ui::Form1, &Ui::Form1::SensorsList>
{
    Q_OBJECT

public:
    /** A NULL `name` gives the object name "Form1". */
    explicit Form1(QWidget *parent = nullptr, const char *name = nullptr, bool modal = false, Qt::WindowFlags fl = {});

public slots:
    virtual void onRBList(QListViewItem *item, const QPoint &pt, int ip);

protected slots:
    void languageChange() override;
};
