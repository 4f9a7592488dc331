// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "LoadDLL.h"

#include "data.h"
#include "dblibrary.h"
#include "foreigncall.h"
#include "namemap.h"

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
} // namespace

int LoadDLL(QString dir)
{
    const auto load = [&dir] {
        const LoadOutcome outcome =
            loadDBLibrary(dbLibraryIn(QFile::encodeName(dir).toStdString()),
                          nameMapIn(QFile::encodeName(ConfigWD).toStdString()), Pointers, printWords);
        return outcome == LoadOutcome::NoFile || outcome == LoadOutcome::Incomplete ? -1 : 0;
    };
    return attempt("LoadDLL", load).value_or(-1);
}
