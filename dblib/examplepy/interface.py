# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: BSD-2-Clause
#
# interface.py LIBRARY.py OUTPUT.c: makes the C code of a DB library whose ten
# functions are in Python. What is declared here, and only that, is seen there
# as dblib.ffi and dblib.lib; the compiler compares it with the header.
import sys

import cffi

RECORDS = """
typedef int... time_t;
typedef struct { int SensorType; char *SensorID; int LSensorID; char *Description; int LDescription;
                 int MessageType; time_t EventTime; ...; } CSensor;
typedef struct { int MessageType; char *SensorID; int LSensorID; int MessageID; int SensorType;
                 char *EventName; int LEventName; time_t EventTime; ...; } CMessageEvent;
typedef struct { int CommandID; ...; } CMessageCommand;
typedef struct { int NMax; int TakeFirst1_Last0; int UseMessageID0; ...; } CMessageEventRequest;
typedef struct { int NMax; int TakeFirst1_Last0; int UseCommandID0; ...; } CMessageCommandRequest;
"""

KIT = """
#define SensorSize ...
#define EventSizes ...
#define CommandSizes ...
#define SensorAlive ...
int obrimSelectsEvent(const CMessageEventRequest *request, const CMessageEvent *event);
int obrimSelectsCommand(const CMessageCommandRequest *request, const CMessageCommand *command);
int obrimSetText(char **text, int *length, const char *value);
int obrimCopySensor(CSensor *to, const CSensor *from);
int obrimCopyEvent(CMessageEvent *to, const CMessageEvent *from);
int obrimCopyCommand(CMessageCommand *to, const CMessageCommand *from);
void obrimClearSensor(CSensor *sensor);
void obrimClearEvent(CMessageEvent *event);
void obrimClearCommand(CMessageCommand *command);
CSensor *obrimNewSensors(int n);
CMessageEvent *obrimNewEvents(int n);
CMessageCommand *obrimNewCommands(int n);
void obrimFreeSensors(CSensor **array);
void obrimFreeEvents(CMessageEvent **array);
void obrimFreeCommands(CMessageCommand **array);
"""

TEN_FUNCTIONS = """
extern int FInitDBSensors(const char *);
extern int FInitDBEvents(const char *);
extern int FInitDBCommands(const char *);
extern int FDBGetSensors(int *, CSensor **);
extern int FDBGetEvents(int *, CMessageEvent **, CMessageEventRequest *);
extern int FDBGetCommands(int *, CMessageCommand **, CMessageCommandRequest *);
extern int FDBPutCommand(CMessageCommand *);
extern int FDBPutEvent(CMessageEvent *);
extern int FDBDeleteCommand(int);
extern int FDBDeleteEvent(int);
"""

# Python would make the locale of the environment that of the whole console.
SOURCE = """
#include <obrim/dblib.h>

__attribute__((constructor)) static void keepLocale(void)
{
    PyPreConfig config;
    PyPreConfig_InitIsolatedConfig(&config);
    config.utf8_mode = 1;
    Py_PreInitialize(&config);
}
"""

library, output = sys.argv[1:]
ffi = cffi.FFI()
ffi.cdef(RECORDS + KIT)
ffi.embedding_api(TEN_FUNCTIONS)
ffi.set_source("dblib", SOURCE)
with open(library, encoding="utf-8") as file:
    ffi.embedding_init_code(file.read())
ffi.emit_c_code(output)
