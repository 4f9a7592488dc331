// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "cwd_commandslist.h"
#include "cwd_eventslist.h"
#include "cwd_sensorslist.h"
#include "libraryfixture.h"
#include "windowtestbase.h"

#include <QStringList>

/** Works all windows on a library and notes what there is to see. */
namespace LookingAtWindows
{
/** All texts of a list, row by row. */
inline QStringList rowsOf(const ListView *list)
{
    QStringList rows;
    for (int row = 0; row < list->childCount(); ++row)
        rows << rowTexts(list, row).join('|');
    return rows;
}

/** What an operator and the library see of each other. */
struct Seen {
    QStringList rows;
    QStringList boxes;
    QStringList calls;
};

inline void lookAtSensors(Seen &seen)
{
    CWD_SensorsList window(nullptr, "Sensors list");
    seen.rows << "sensors" << rowsOf(window.SensorsList);
    window.FUpdateData();
    seen.rows << "sensors again" << rowsOf(window.SensorsList);
    if ((window.itemSelected = window.SensorsList->firstChild()))
        QMetaObject::invokeMethod(&window, "FKill");
}

inline void lookAtEvents(Seen &seen)
{
    CWD_EventsList window(nullptr, "Events list", nullptr);
    seen.rows << "events" << rowsOf(window.listMessages);
    window.onGetNewEvents();
    if ((window.itemSelected = window.listMessages->firstChild()))
        window.onDeleteItem();
    window.onUpdateList();
    seen.rows << "events again" << rowsOf(window.listMessages);
}

inline void lookAtCommands(Seen &seen)
{
    CWD_CommandsList window(nullptr, "Commands list", nullptr);
    seen.rows << "commands" << rowsOf(window.listCommands);
    window.noGetNewCommands();
    if ((window.itemSelected = window.listCommands->firstChild()))
        window.onDeleteItem();
    window.onUpdateList();
    seen.rows << "commands again" << rowsOf(window.listCommands);
}

/** Loads the library of a folder as the start of the program does, and works all windows. */
inline Seen look(const QString &folder, const QString &config)
{
    using namespace LibraryFixture;
    forgetLibrary();
    ConfigWD = config;
    const QString log = config + "/calls";
    qputenv(ContractCallLog, QFile::encodeName(log));
    Seen seen;
    const BoxNotes boxes;
    captured([&] {
        LoadDLL(folder);
        InitDBSensors(ConfigWD);
        InitDBEvents(ConfigWD);
        InitDBCommands(ConfigWD);
        lookAtSensors(seen);
        lookAtEvents(seen);
        lookAtCommands(seen);
    });
    seen.boxes = boxes.notes();
    seen.calls = QString::fromLatin1(read(log)).split('\n', Qt::SkipEmptyParts);
    QFile::remove(log);
    return seen;
}
} // namespace LookingAtWindows
