// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"

#include <QString>

/**
 * @file
 * The DB library's ten functions. Each is NULL until a LoadDLL call has found
 * it; whoever calls one tests it first. A NULL pointer selects the test data
 * source, function by function.
 */
extern DBGetSensorsFunction *FDBGetSensors;
extern InitDBSensorsFunction *FInitDBSensors;
extern DBGetEventsFunction *FDBGetEvents;
extern InitDBEventsFunction *FInitDBEvents;
extern DBGetCommandsFunction *FDBGetCommands;
extern InitDBCommandsFunction *FInitDBCommands;
extern DBPutCommandFunction *FDBPutCommand;
extern DBPutEventFunction *FDBPutEvent;
extern DBDeleteCommandFunction *FDBDeleteCommand;
extern DBDeleteEventFunction *FDBDeleteEvent;

/**
 * Loads `dir` + "/DBLib.a" with the names that ConfigWD + "/Funs.def" gives and
 * sets the pointers, as loadDBLibrary() does.
 *
 * Progress goes to standard output, the system's own reason for a failure as
 * one more line to standard error.
 *
 * Returns 0 when the functions are found, and also when the file cannot be
 * loaded (the console then runs on the test data source); -1 when there is no
 * such file or a C symbol is missing.
 */
int LoadDLL(QString dir);
