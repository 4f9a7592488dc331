// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "obrimwidget.h"

#include "DBFuns.h"
#include "cwd_commandslist.h"
#include "cwd_eventslist.h"
#include "cwd_sensorslist.h"
#include "informationbox.h"
#include "windowkeys.h"

#include <KLocalizedString>
#include <cstdio>

obrimWidget::obrimWidget(QWidget *parent, const char *name, Qt::WindowFlags fl)
    : obrimWidgetBase(parent, name, fl)
{
    setUpKeys(this, QStringLiteral("the-panel"));
    InitData();
}

void obrimWidget::languageChange()
{
    obrimWidgetBase::languageChange();
    retitleWindows<CWD_EventsList>(this, [](const auto *) { return tr2i18n("Events list"); });
    retitleWindows<CWD_CommandsList>(this, [](const auto *) { return tr2i18n("Commands list"); });
}

void obrimWidget::onSensorsTree()
{
    showInformationBox(this, QString(), tr2i18n("Not implemented yet"));
}

void obrimWidget::onSensorsList()
{
    std::puts("void obrimWidget::onSensorsList()");
    openListWindow<CWD_SensorsList>(this, "Sensors list");
}

void obrimWidget::onExit()
{
    if (askQuestion(this, tr2i18n("???"), tr2i18n("Close program?")))
        deleteLater();
}

void obrimWidget::onEventsList()
{
    openTitled<CWD_EventsList>(this, "Events list", tr2i18n("Events list"));
}

void obrimWidget::onCommandsList()
{
    openTitled<CWD_CommandsList>(this, "Commands list", tr2i18n("Commands list"));
}
