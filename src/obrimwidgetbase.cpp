// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "obrimwidgetbase.h"

#include <QEvent>

obrimWidgetBase::obrimWidgetBase(QWidget *parent, const char *name, Qt::WindowFlags fl)
    : QWidget(parent, fl)
{
    setupUi(this);
    if (name)
        setObjectName(QString::fromLatin1(name));
    obrimWidgetBase::languageChange();
    resize(size().expandedTo(minimumSizeHint()));
    connect(Sensors_list, &QPushButton::clicked, this, &obrimWidgetBase::onSensorsList);
    connect(Sensors_Tree, &QPushButton::clicked, this, &obrimWidgetBase::onSensorsTree);
    connect(Exit, &QPushButton::clicked, this, &obrimWidgetBase::onExit);
    connect(BEventsList, &QPushButton::clicked, this, &obrimWidgetBase::onEventsList);
    connect(BCommandList, &QPushButton::clicked, this, &obrimWidgetBase::onCommandsList);
}

void obrimWidgetBase::button_clicked()
{
    qWarning("obrimWidgetBase::button_clicked(): Not implemented yet");
}

void obrimWidgetBase::onSensorsList()
{
    qWarning("obrimWidgetBase::onSensorsList(): Not implemented yet");
}

void obrimWidgetBase::onSensorsTree()
{
    qWarning("obrimWidgetBase::onSensorsTree(): Not implemented yet");
}

void obrimWidgetBase::onExit()
{
    qWarning("obrimWidgetBase::onExit(): Not implemented yet");
}

void obrimWidgetBase::onEventsList()
{
    qWarning("obrimWidgetBase::onEventsList(): Not implemented yet");
}

void obrimWidgetBase::onCommandsList()
{
    qWarning("obrimWidgetBase::onCommandsList(): Not implemented yet");
}

void obrimWidgetBase::languageChange()
{
    retranslateUi(this);
}

void obrimWidgetBase::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        languageChange();
}
