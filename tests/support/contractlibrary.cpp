// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
//
// The boundary of every C++ library of the tests. Compile definitions make it
// break the contract in one way; without any it keeps it.
#include "contractstore.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <pthread.h>
#include <stdexcept>
#include <unistd.h>

namespace
{
enum Phase { Nowhere, Query, Fetch, Release, Init, Put, Delete };
enum Shape { Honest, NullArray, ZeroCount, NegativeCount, LowCount, HugeCount, NothingGiven };

#ifndef THROWS_AT // a Phase
#define THROWS_AT Nowhere
#endif
#ifndef THROWS // what it throws there
#define THROWS std::runtime_error("the store is gone")
#endif
#ifndef ENDS_THREAD_AT // a Phase
#define ENDS_THREAD_AT Nowhere
#endif
#ifndef SHAPE // of what a fetch gives
#define SHAPE Honest
#endif
#ifndef RELEASES // whether a release frees
#define RELEASES 1
#endif
#ifndef PRINTS
#define PRINTS 0
#endif
#ifndef CODE // what every function returns
#define CODE 0
#endif
#ifndef SENSOR_ANSWER
#define SENSOR_ANSWER SensorSize
#endif
#ifndef EVENT_ANSWER
#define EVENT_ANSWER EventSizes
#endif
#ifndef COMMAND_ANSWER
#define COMMAND_ANSWER CommandSizes
#endif
#ifndef MISSING // place of the function that is not exported
#define MISSING -1
#endif
#ifdef C_NAMES
#define EXPORT extern "C" __attribute__((visibility("default"))) int
#else
#define EXPORT __attribute__((visibility("default"))) int
#endif

/** 7 while there is the file that OBRIM_FAILS_WHILE names. */
[[maybe_unused]] int codeOfTheMoment()
{
    const char *file = std::getenv("OBRIM_FAILS_WHILE");
    return file && access(file, F_OK) == 0 ? 7 : 0;
}

void enter(Phase phase, const std::string &line)
{
    ContractStore::log(line);
    if (PRINTS)
        std::puts("text of the library");
    if (phase == ENDS_THREAD_AT)
        pthread_exit(nullptr);
    if (phase == THROWS_AT)
        throw THROWS;
}

#ifdef ODD_RECORDS
/** Records whose texts, lengths and parameters do not agree. */
void distort(CSensor &sensor)
{
    delete[] sensor.Description;
    sensor.Description = nullptr;
    sensor.LDescription = 40;
    sensor.LSensorID = 6; // "sensor", no NUL
}

void distort(CMessageEvent &event)
{
    event.LSensorID = -5;
    event.LEventName = 0;
    delete[] event.par;
    event.par = nullptr; // ParNum stays
}

void distort(CMessageCommand &command)
{
    delete[] command.SensorID;
    command.SensorID = nullptr;
    command.par = new CMessageEventParam[3];
    command.ParNum = -1;
}
#else
template <class Record> void distort(Record &) {}
#endif

/** The array that was given out last, one for each kind of record. */
template <class Record> Record *&given()
{
    static Record *array = nullptr;
    return array;
}

template <class Record> void give(int *n, Record **array, const std::vector<Record> &records)
{
    if (!RELEASES) {
        delete[] given<Record>();
        given<Record>() = nullptr;
    }
    if (SHAPE == NothingGiven) // count and array stay as the caller set them
        return;
    *n = int(records.size());
    if (SHAPE == NullArray || records.empty())
        return;
    *array = given<Record>() = new Record[records.size()];
    for (std::size_t i = 0; i < records.size(); ++i) {
        (*array)[i] = records[i];
        distort((*array)[i]);
    }
    *n = SHAPE == HugeCount       ? INT_MAX
         : SHAPE == ZeroCount     ? 0
         : SHAPE == NegativeCount ? -1
         : SHAPE == LowCount      ? 1
                                  : *n;
}

template <class Record> const char *takeBack(Record **array)
{
    const char *word = !*array ? " release-null" : *array != given<Record>() ? " release-strange" : " release";
    if (RELEASES && *array == given<Record>()) {
        delete[] given<Record>();
        given<Record>() = nullptr;
        *array = nullptr;
    }
    return word;
}

/** All three fetch functions: `select` makes the records that were asked for. */
template <class Record, class Select>
int serve(const std::string &function, const std::string &request, int sizes, int *n, Record **array, Select select)
{
    if (!array) {
        enter(Query, function + " query" + request);
        return sizes;
    }
    if (!n) {
        enter(Release, function + takeBack(array) + request);
        return CODE;
    }
    give(n, array, select());
    enter(Fetch, function + " fetch" + request);
    return CODE;
}
} // namespace

EXPORT FDBGetSensors(int *n, CSensor **sensors);
EXPORT FInitDBSensors(const char *directory);
EXPORT FDBGetEvents(int *n, CMessageEvent **events, CMessageEventRequest *request);
EXPORT FInitDBEvents(const char *directory);
EXPORT FDBGetCommands(int *n, CMessageCommand **commands, CMessageCommandRequest *request);
EXPORT FInitDBCommands(const char *directory);
EXPORT FDBPutCommand(CMessageCommand *command);
EXPORT FDBPutEvent(CMessageEvent *event);
EXPORT FDBDeleteCommand(int id);
EXPORT FDBDeleteEvent(int id);

#if MISSING != 0
int FDBGetSensors(int *n, CSensor **sensors)
{
    return serve("FDBGetSensors", "", SENSOR_ANSWER, n, sensors, [] { return ContractStore::sensors(); });
}
#endif

#if MISSING != 1
int FInitDBSensors(const char *directory)
{
    enter(Init, std::string("FInitDBSensors ") + directory);
    ContractStore::fillSensors();
    return CODE;
}
#endif

#if MISSING != 2
int FDBGetEvents(int *n, CMessageEvent **events, CMessageEventRequest *request)
{
    return serve("FDBGetEvents", ContractStore::text(request), EVENT_ANSWER, n, events,
                 [=] { return ContractStore::select(*request); });
}
#endif

#if MISSING != 3
int FInitDBEvents(const char *directory)
{
    enter(Init, std::string("FInitDBEvents ") + directory);
    ContractStore::fillEvents();
    return CODE;
}
#endif

#if MISSING != 4
int FDBGetCommands(int *n, CMessageCommand **commands, CMessageCommandRequest *request)
{
    return serve("FDBGetCommands", ContractStore::text(request), COMMAND_ANSWER, n, commands,
                 [=] { return ContractStore::select(*request); });
}
#endif

#if MISSING != 5
int FInitDBCommands(const char *directory)
{
    enter(Init, std::string("FInitDBCommands ") + directory);
    ContractStore::fillCommands();
    return CODE;
}
#endif

#if MISSING != 6
int FDBPutCommand(CMessageCommand *command)
{
    enter(Put, "FDBPutCommand type=" + std::to_string(command->MessageType) + " sensor=" +
                   ContractStore::name(command->SensorID) + " command=" + std::to_string(command->CommandType));
    ContractStore::put(*command);
    return CODE;
}
#endif

#if MISSING != 7
int FDBPutEvent(CMessageEvent *event)
{
    enter(Put, "FDBPutEvent sensor=" + ContractStore::name(event->SensorID) +
                   " name=" + ContractStore::name(event->EventName));
    ContractStore::put(*event);
    return CODE;
}
#endif

#if MISSING != 8
int FDBDeleteCommand(int id)
{
    enter(Delete, "FDBDeleteCommand " + std::to_string(id));
    ContractStore::deleteCommand(id);
    return CODE;
}
#endif

#if MISSING != 9
int FDBDeleteEvent(int id)
{
    enter(Delete, "FDBDeleteEvent " + std::to_string(id));
    ContractStore::deleteEvent(id);
    return CODE;
}
#endif
