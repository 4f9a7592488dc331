// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "ui_obrimwidgetbase.h"

#include <QWidget>

/**
 * The form of the main panel: a column of five buttons.
 *
 * Each button is wired to a virtual slot; the slots of the bare form only warn
 * that nothing stands behind them.
 */
class obrimWidgetBase : public QWidget, public Ui::obrimWidgetBase
{
    Q_OBJECT

public:
    /** A NULL `name` gives the object name "obrimwidgetbase". */
    explicit obrimWidgetBase(QWidget *parent = nullptr, const char *name = nullptr, Qt::WindowFlags fl = {});

public slots:
    virtual void button_clicked();
    virtual void onSensorsList();
    virtual void onSensorsTree();
    virtual void onExit();
    virtual void onEventsList();
    virtual void onCommandsList();

protected slots:
    /** Sets every visible text in the current language. */
    virtual void languageChange();

protected:
    void changeEvent(QEvent *event) override;
};
