// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/**
 * @file
 * Under which names a DB library exports its ten functions, in the order in
 * which they are looked up. Toolkit-free: the console's loader and the tools
 * share it.
 */

/** Places in DBSymbols. */
enum DBFunction {
    DBFunctionGetSensors,
    DBFunctionInitSensors,
    DBFunctionGetEvents,
    DBFunctionInitEvents,
    DBFunctionGetCommands,
    DBFunctionInitCommands,
    DBFunctionPutCommand,
    DBFunctionPutEvent,
    DBFunctionDeleteCommand,
    DBFunctionDeleteEvent,
    DBFunctionCount
};

/** Only the first seven have a C name: put-event and the deletes exist for a C++ library only. */
constexpr int DBCFunctionCount = DBFunctionPutCommand + 1;

/** Names of one function. */
struct DBSymbol {
    const char *key; ///< key in the function-name map; also the C name of the first DBCFunctionCount
    const char *cxx; ///< symbol of a C++ library
};

constexpr DBSymbol DBSymbols[DBFunctionCount] = {
    {"FDBGetSensors", "_Z13FDBGetSensorsPiPP7CSensor"},
    {"FInitDBSensors", "_Z14FInitDBSensorsPKc"},
    {"FDBGetEvents", "_Z12FDBGetEventsPiPP13CMessageEventP20CMessageEventRequest"},
    {"FInitDBEvents", "_Z13FInitDBEventsPKc"},
    {"FDBGetCommands", "_Z14FDBGetCommandsPiPP15CMessageCommandP22CMessageCommandRequest"},
    {"FInitDBCommands", "_Z15FInitDBCommandsPKc"},
    {"FDBPutCommand", "_Z13FDBPutCommandP15CMessageCommand"},
    {"FDBPutEvent", "_Z11FDBPutEventP13CMessageEvent"},
    {"FDBDeleteCommand", "_Z16FDBDeleteCommandi"},
    {"FDBDeleteEvent", "_Z14FDBDeleteEventi"},
};
