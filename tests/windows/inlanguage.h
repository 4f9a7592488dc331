// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "cwd_commandslist.h"
#include "cwd_eventslist.h"
#include "cwd_sensorslist.h"
#include "obrimwidgetbase.h"

#include <KLocalizedString>
#include <QApplication>
#include <QEvent>
#include <memory>

/** Switches the whole program to a language, as the desktop's settings do. */
inline void speak(const QString &language)
{
    KLocalizedString::setLanguages({language});
    QEvent change(QEvent::LanguageChange);
    QApplication::sendEvent(qApp, &change);
    QCoreApplication::sendPostedEvents();
}

/** A window of its kind, "panel", "sensors", "events" or "commands". */
inline std::unique_ptr<QWidget> make(const QString &kind)
{
    if (kind == "sensors")
        return std::make_unique<CWD_SensorsList>(nullptr, "Sensors list");
    if (kind == "events")
        return std::make_unique<CWD_EventsList>(nullptr, "A list", nullptr);
    if (kind == "commands")
        return std::make_unique<CWD_CommandsList>(nullptr, "A list", nullptr);
    return std::make_unique<obrimWidgetBase>();
}
