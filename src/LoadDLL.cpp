// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "LoadDLL.h"

#include "data.h"
#include "dblibrary.h"
#include "foreigncall.h"

#include <QFile>

DBGetSensorsFunction *FDBGetSensors = nullptr;
InitDBSensorsFunction *FInitDBSensors = nullptr;
DBGetEventsFunction *FDBGetEvents = nullptr;
InitDBEventsFunction *FInitDBEvents = nullptr;
DBGetCommandsFunction *FDBGetCommands = nullptr;
InitDBCommandsFunction *FInitDBCommands = nullptr;
DBPutCommandFunction *FDBPutCommand = nullptr;
DBPutEventFunction *FDBPutEvent = nullptr;
DBDeleteCommandFunction *FDBDeleteCommand = nullptr;
DBDeleteEventFunction *FDBDeleteEvent = nullptr;

namespace
{
/** Where the address of each function of DBSymbols belongs. */
const DBFunctionPlaces Pointers = {
    &FDBGetSensors,   &FInitDBSensors, &FDBGetEvents, &FInitDBEvents,    &FDBGetCommands,
    &FInitDBCommands, &FDBPutCommand,  &FDBPutEvent,  &FDBDeleteCommand, &FDBDeleteEvent,
};

int load(const QString &dir)
{
    PrintedWords words;
    const LoadOutcome outcome =
        loadDBLibrary(QFile::encodeName(dir).toStdString(), QFile::encodeName(ConfigWD).toStdString(), Pointers, words);
    return outcome == LoadOutcome::NoFile || outcome == LoadOutcome::Incomplete ? -1 : 0;
}
} // namespace

int LoadDLL(QString dir)
{
    return attempt("LoadDLL", [&] { return load(dir); }).value_or(-1);
}
