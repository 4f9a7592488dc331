// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"
#include "dbsymbols.h"

#include <array>

/** The ten functions of a DB library; NULL where it has none. They stay callable: no library is ever unloaded. */
struct DBFunctions {
    DBGetSensorsFunction *getSensors = nullptr;
    InitDBSensorsFunction *initSensors = nullptr;
    DBGetEventsFunction *getEvents = nullptr;
    InitDBEventsFunction *initEvents = nullptr;
    DBGetCommandsFunction *getCommands = nullptr;
    InitDBCommandsFunction *initCommands = nullptr;
    DBPutCommandFunction *putCommand = nullptr;
    DBPutEventFunction *putEvent = nullptr;
    DBDeleteCommandFunction *deleteCommand = nullptr;
    DBDeleteEventFunction *deleteEvent = nullptr;
};

/** Where the address of each function of DBSymbols belongs: the addresses of ten function pointers. */
using DBFunctionPlaces = std::array<void *, DBFunctionCount>;

/** The places of the ten pointers in `functions`, which must outlive their use. */
inline DBFunctionPlaces placesIn(DBFunctions &functions)
{
    return {&functions.getSensors,    &functions.initSensors,  &functions.getEvents,  &functions.initEvents,
            &functions.getCommands,   &functions.initCommands, &functions.putCommand, &functions.putEvent,
            &functions.deleteCommand, &functions.deleteEvent};
}
