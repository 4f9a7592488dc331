// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "obrimwidgetbase.h"

/**
 * The panel of buttons that everything is opened from.
 *
 * Each list window it opens is a new one, belongs to the panel and goes with it.
 */
class obrimWidget : public obrimWidgetBase
{
    Q_OBJECT

public:
    /** Builds the form and brings the data layer up; ends the process when there is no base directory. */
    explicit obrimWidget(QWidget *parent = nullptr, const char *name = nullptr, Qt::WindowFlags fl = {});

public slots:
    /** Does nothing. */
    void button_clicked() override {}
    void onSensorsTree() override;
    void onSensorsList() override;
    /** Does nothing. */
    virtual void FUpdateData() {}
    /** Asks first; the panel deletes itself after a Yes. */
    void onExit() override;
    void onEventsList() override;
    void onCommandsList() override;

protected:
    void languageChange() override;
};
