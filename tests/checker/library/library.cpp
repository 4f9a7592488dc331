// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "library.h"

#include "MessageEventParam.h"
#include "fault.h"
#include "misbehaviour.h"
#include "selection.h"
#include "store.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <vector>

namespace
{
void requireInitialised()
{
    if (fault("crash-uninitialised") && !store().initialised)
        *Nowhere = 1;
}

bool refuseThread()
{
    static const std::thread::id first = std::this_thread::get_id();
    return fault("first-thread-only") && std::this_thread::get_id() != first;
}

// Records on their way out.

void spoil(CSensor &) {}

/** A text that two answers share, and that the release of either frees. */
char *sharedText = nullptr;

void spoil(CMessageCommand &command)
{
    if (fault("command-text-open") && command.LSensorID > 1)
        --command.LSensorID;
}

void spoil(CMessageEvent &event)
{
    if (fault("text-unterminated") && event.LSensorID > 1)
        event.SensorID[event.LSensorID - 1] = 'x';
    if (fault("length-too-long"))
        event.LEventName = 5000;
    if (fault("length-negative"))
        event.LEventName = -3;
    if (fault("length-padded")) {
        const std::string padded = std::string(event.EventName) + std::string(20, '\0');
        CopyPtr(&event.EventName, &event.LEventName, padded.data(), int(padded.size()));
    }
    if (fault("text-null") && event.MessageID % 2) {
        delete[] event.EventName;
        event.EventName = nullptr;
    }
    if (fault("parameters-missing") && event.ParNum == 0)
        event.ParNum = 2;
    if (fault("value-short") && event.ParNum > 1)
        CopyPtr(&event.par[1].Val, &event.par[1].LVal, "abc", 4);
    if (fault("overrun-block") && event.SensorID)
        event.SensorID[event.LSensorID] = 'x';
}

/** What happens to a whole array on its way out. */
template <class Record> void spoilArray(Record *, std::size_t) {}

template <> void spoilArray(CMessageEvent *events, std::size_t count)
{
    if (count > 0 && fault("last-record-garbage")) {
        CMessageEvent &last = events[count - 1];
        last.clean();
        last.MessageID = -842150451;
        last.MessageType = -842150451;
    }
    if (count > 0 && fault("record-shared")) {
        if (!sharedText) {
            int length = 0;
            CopyPtr(&sharedText, &length, events[0].SensorID, events[0].LSensorID);
        }
        if (std::strcmp(sharedText, events[0].SensorID) == 0) {
            delete[] events[0].SensorID;
            events[0].SensorID = sharedText;
        }
    }
}

/** The arrays given out and not yet released. */
template <class Record> std::vector<Record *> open;

/** How many arrays of any kind are given out. */
int openCount = 0;

template <class Record> void giveBack(Record **array)
{
    if (fault("release-null-crash") && !*array && open<Record>.empty())
        *Nowhere = 1;
    if (fault("release-last") && *array) {
        delete[] open<Record>.back();
        open<Record>.pop_back();
        *array = nullptr;
        return;
    }
    openCount -= *array != nullptr;
    if (fault("static-array"))
        return;
    if (fault("release-ignored") || (fault("sensors-kept") && std::is_same_v<Record, CSensor>)) {
        *array = nullptr;
        return;
    }
    if (*array)
        sharedText = nullptr;
    const bool held = *array != nullptr;
    const volatile auto *past = reinterpret_cast<const volatile char *>(*array);
    delete[] *array;
    if (fault("use-after-free") && held)
        (void)*past;
    if (fault("double-free") && held) {
        char *text = new char[16];
        delete[] text;
        // The address is hidden from the compiler, which knows what this is.
        char *volatile again = text;
        std::free(again);
    }
    if (!fault("pointer-kept"))
        *array = nullptr;
}

template <class Record> Record *newArray(const std::vector<const Record *> &records)
{
    if (fault("static-array")) {
        static Record shared[1000];
        for (std::size_t i = 0; i < records.size(); ++i) {
            shared[i] = *records[i];
            spoil(shared[i]);
        }
        return shared;
    }
    auto *array = new Record[records.size()];
    for (std::size_t i = 0; i < records.size(); ++i) {
        array[i] = *records[i];
        spoil(array[i]);
    }
    spoilArray(array, records.size());
    return array;
}

/** Reads the last byte of a record, which need not be there. */
template <class Record> void touch(const Record *record)
{
    (void)reinterpret_cast<const volatile char *>(record)[sizeof(Record) - 1];
}

/** Whether the latest call was a size query. */
bool sizeWasAsked = false;

/** As many records as a library gives that cuts large answers. */
constexpr std::size_t MostGiven = 700;

/** Ways in which one answer depends on what came before it. */
template <class Record> std::vector<const Record *> altered(std::vector<const Record *> records)
{
    static int answers = 0;
    const bool changes = (fault("answers-change") && ++answers % 5 == 4) ||
                         (fault("seventh-events-short") && std::is_same_v<Record, CMessageEvent> && ++answers % 7 == 0);
    const bool disturbed = fault("open-array-short") && openCount > 0;
    if ((changes || disturbed) && records.size() > 1)
        records.pop_back();
    if (fault("size-query-empties") && sizeWasAsked)
        records.clear();
    sizeWasAsked = false;
    return records;
}

template <class Record> int answer(int *n, Record **array, const std::vector<const Record *> &selected)
{
    const std::vector<const Record *> records = altered(selected);
    *n = int(records.size());
    if (records.size() > MostGiven && fault("large-refused")) {
        *n = 0;
        return -12;
    }
    if (records.size() > MostGiven && fault("large-cut")) {
        *array = newArray(std::vector<const Record *>(records.begin(), records.begin() + MostGiven));
        return 0;
    }
    if (!records.empty()) {
        *array = newArray(records);
        ++openCount;
        if (fault("array-overread"))
            touch(*array + records.size());
        if (fault("release-last"))
            open<Record>.push_back(*array);
        *n += fault("count-too-high");
    } else if (fault("leak-when-empty")) {
        loseBytes(16);
    } else if (fault("release-null-crash")) {
        open<Record>.assign(1, nullptr);
    } else if (fault("count-null-array")) {
        *n = 3;
    } else if (fault("count-negative")) {
        *n = -1;
    }
    if (fault("overrun-count"))
        n[1] = 0;
    if (fault("overrun-address"))
        array[1] = nullptr;
    return fault("result") ? 1 : 0;
}

/** Whether this build keeps what is put in a file of the configuration directory. */
bool isLasting()
{
    const char *const lasting[] = {"persistent", "reused-after-restart", "print-at-put",
                                   "large-cut",  "large-refused",        "put-changes-locale"};
    return std::strncmp(FaultName, "restart-", 8) == 0 || std::any_of(std::begin(lasting), std::end(lasting), fault);
}

int initialise(const char *config)
{
    misbehaveAtInitialise(config);
    if (fault("initialise-fails"))
        return -1;
    const bool again = ++store().initialisations > 3;
    if (fault("second-initialise") && again)
        return -2;
    if (fault("initialise-empties") && again)
        store().events.records.clear();
    if (fault("initialise-drops-commands") && again)
        store().commands.records.clear();
    store().initialised = true;
    if (isLasting())
        openLog(std::string(config) + "/records.log");
    if (fault("fixed-place")) {
        Dl_info self = {};
        dladdr(reinterpret_cast<void *>(&initialise), &self);
        openLog(std::string(self.dli_fname) + ".log");
    }
    return 0;
}
} // namespace

int Functions::getSensors(int *n, CSensor **sensors)
{
    if (!n && !sensors) {
        sizeWasAsked = true;
        return SensorSize + fault("sensor-size");
    }
    if (!n) {
        giveBack(sensors);
        return 0;
    }
    requireInitialised();
    misbehaveAtFetch();
    if (refuseThread())
        return -1;
    if (fault("leak-with-sensors"))
        loseBytes(8);
    std::vector<const CSensor *> records;
    for (const CSensor &sensor : store().sensors)
        records.push_back(&sensor);
    if (fault("sensor-order")) {
        static int turn = 0;
        std::rotate(records.begin(), records.begin() + ++turn % 2, records.end());
    }
    return answer(n, sensors, records);
}

int Functions::initSensors(const char *config)
{
    if (fault("sensor-again") && store().initialised) {
        const CSensor again = store().sensors.front();
        store().sensors.push_back(again);
    }
    return initialise(config);
}

int Functions::getEvents(int *n, CMessageEvent **events, CMessageEventRequest *request)
{
    if (!n && !events && !request) {
        static int calls = 0;
        sizeWasAsked = true;
        if (fault("size-unstable") && ++calls > 60)
            return int(sizeof(CMessageEvent));
        return fault("size-half") ? int(sizeof(CMessageEvent)) : EventSizes;
    }
    if (!n) {
        giveBack(events);
        return 0;
    }
    requireInitialised();
    misbehaveAtFetch();
    if (refuseThread())
        return -1;
    misbehaveFor(*request);
    const std::vector<const CMessageEvent *> records = select(*request);
    changeRequest(*request);
    return answer(n, events, records);
}

int Functions::initEvents(const char *config)
{
    return initialise(config);
}

int Functions::getCommands(int *n, CMessageCommand **commands, CMessageCommandRequest *request)
{
    if (!n && !commands && !request) {
        sizeWasAsked = true;
        return fault("command-size") ? CommandSizes - 4 : CommandSizes;
    }
    if (!n) {
        giveBack(commands);
        return 0;
    }
    requireInitialised();
    misbehaveAtFetch();
    if (refuseThread())
        return -1;
    return answer(n, commands, select(*request));
}

int Functions::initCommands(const char *config)
{
    return initialise(config);
}

int Functions::putCommand(CMessageCommand *command)
{
    return put(*command);
}

int Functions::putEvent(CMessageEvent *event)
{
    const int result = put(*event);
    misbehaveAtPut(*event);
    return result;
}

int Functions::deleteCommand(int id)
{
    if (fault("delete-throws") && id < 0)
        throw std::out_of_range("no such command");
    removeCommand(id);
    return 0;
}

int Functions::deleteEvent(int id)
{
    removeEvent(id);
    misbehaveAtDelete();
    return 0;
}
