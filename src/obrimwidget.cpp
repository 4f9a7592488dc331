// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "obrimwidget.h"

#include "DBFuns.h"
#include "accelerators.h"
#include "cwd_commandslist.h"
#include "cwd_eventslist.h"
#include "cwd_sensorslist.h"
#include "informationbox.h"

#include <KLocalizedString>
#include <cstdio>

obrimWidget::obrimWidget(QWidget *parent, const char *name, Qt::WindowFlags fl)
    : obrimWidgetBase(parent, name, fl)
{
    keepAccelerators();
    InitData();
}

void obrimWidget::button_clicked() {}

void obrimWidget::onSensorsTree()
{
    showInformationBox(this, QString(), tr2i18n("Not implemented yet"));
}

void obrimWidget::onSensorsList()
{
    std::puts("void obrimWidget::onSensorsList()");
    openListWindow<CWD_SensorsList>(this, "Sensors list");
}

void obrimWidget::FUpdateData() {}

void obrimWidget::onExit()
{
    if (askQuestion(this, tr2i18n("???"), tr2i18n("Close program?")))
        deleteLater();
}

void obrimWidget::onEventsList()
{
    openListWindow<CWD_EventsList>(this, "Events list", nullptr);
}

void obrimWidget::onCommandsList()
{
    openListWindow<CWD_CommandsList>(this, "Commands list", nullptr);
}
