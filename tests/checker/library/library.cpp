// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "library.h"

#include "MessageEventParam.h"
#include "WCompare.h"
#include "fault.h"
#include "store.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{
/** An address on the first page, where nothing lies; not NULL, which sanitizers tell by other means than a signal. */
volatile int *const Nowhere = reinterpret_cast<volatile int *>(64);

[[noreturn]] void hang()
{
    std::signal(SIGTERM, SIG_IGN);
    for (;;)
        pause();
}

[[noreturn]] void spin()
{
    volatile unsigned turns = 0;
    for (;;)
        turns = turns + 1;
}

struct AtLoad {
    AtLoad()
    {
        if (fault("crash-at-load"))
            *Nowhere = 1;
        if (fault("print-at-load"))
            std::puts("library loaded");
    }
    ~AtLoad()
    {
        if (fault("abort-at-exit"))
            std::abort();
        if (fault("hang-at-exit"))
            hang();
    }
} atLoad;

// What a fetch does to the process around it.

void forkAway()
{
    const pid_t child = fork();
    if (child == 0) {
        if (fault("fork-daemon")) {
            if (fork() > 0)
                _exit(0);
            setsid();
        }
        for (;;)
            pause();
    }
}

void misbehaveAtFetch()
{
    static int fetches = 0;
    ++fetches;
    if (fault("print"))
        std::puts("fetching");
    if (fault("print-error"))
        std::fputs("fetching\n", stderr);
    if (fault("leak-memory")) {
        static char *volatile lost = nullptr;
        lost = new char[24];
        lost[0] = 'x';
    }
    if (fault("leak-descriptor") && fetches % 50 == 0)
        (void)!dup(0);
    if (fault("leak-thread") && fetches % 1000 == 0) {
        std::thread([] {
            for (;;)
                pause();
        }).detach();
    }
    if (fault("fork") && fetches == 1)
        forkAway();
    if (fault("fork-daemon") && fetches == 1)
        forkAway();
    if (fault("close-descriptors") && fetches == 1)
        for (int descriptor = 3; descriptor < 1024; ++descriptor)
            close(descriptor);
    if (fault("close-output") && fetches == 1)
        close(STDOUT_FILENO);
    if (fault("change-directory"))
        (void)!chdir("/");
    if (fault("change-locale"))
        std::setlocale(LC_ALL, "C.UTF-8");
    if (fault("change-umask"))
        umask(0);
    if (fault("ignore-sigterm"))
        std::signal(SIGTERM, SIG_IGN);
    if (fault("block-signals")) {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, nullptr);
    }
}

bool refuseThread()
{
    static const std::thread::id first = std::this_thread::get_id();
    return fault("first-thread-only") && std::this_thread::get_id() != first;
}

void requireInitialised()
{
    if (fault("crash-uninitialised") && !store().initialised)
        *Nowhere = 1;
}

// Records on their way out.

void spoil(CSensor &) {}

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

/** The arrays given out and not yet released. */
template <class Record> std::vector<Record *> open;

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
    if (fault("static-array"))
        return;
    if (fault("release-ignored")) {
        *array = nullptr;
        return;
    }
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
    return array;
}

/** Reads the last byte of a record, which need not be there. */
template <class Record> void touch(const Record *record)
{
    (void)reinterpret_cast<const volatile char *>(record)[sizeof(Record) - 1];
}

/** As many records as a library gives that cuts large answers. */
constexpr std::size_t MostGiven = 700;

template <class Record> int answer(int *n, Record **array, const std::vector<const Record *> &records)
{
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
        if (fault("array-overread"))
            touch(*array + records.size());
        if (fault("release-last"))
            open<Record>.push_back(*array);
        *n += fault("count-too-high");
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

// What an event request can set off.

void misbehaveFor(const CMessageEventRequest &request)
{
    if (fault("segfault") && request.NMax == INT_MAX)
        *Nowhere = 1;
    if (fault("abort") && request.NMax == INT_MAX)
        std::abort();
    if (fault("exit") && request.NMax == 0)
        std::exit(0);
    if (fault("quick-exit") && request.NMax == 0)
        _exit(0);
    if (fault("endless-loop") && request.NMax == INT_MIN)
        spin();
    if (fault("ignores-sigterm") && request.NMax == INT_MIN)
        hang();
    if (fault("throws") && request.NMax < 0)
        throw std::runtime_error("NMax is negative");
    if (fault("throws-number") && request.NMax < 0)
        throw 42;
    if (fault("huge-allocation") && request.NMax == INT_MAX)
        delete[] new CMessageEvent[std::size_t(request.NMax)];
    if (fault("eats-memory") && request.NMax == INT_MAX) {
        // As much as there is, and then it does not look at what it got.
        for (int i = 0; i < 1 << 16; ++i)
            static_cast<volatile char *>(std::malloc(1 << 16))[0] = 1;
    }
    if (fault("slow") && request.NMax == 100)
        std::this_thread::sleep_for(std::chrono::milliseconds(2100));
    if (fault("stack-overflow") && request.NMax == INT_MAX) {
        volatile char room[1 << 16] = {};
        misbehaveFor(request);
        room[1] = room[0];
    }
}

void changeRequest(CMessageEventRequest &request)
{
    if (fault("request-changed"))
        request.NMax = 7;
    if (fault("mask-lowered") && request.SensorID) {
        strlwr_win(request.SensorID);
        request.SensorID[0] = '#';
    }
    if (fault("mask-freed") && request.SensorID) {
        delete[] request.SensorID;
        request.SensorID = nullptr;
        request.LSensorID = 0;
    }
    if (fault("mask-overread") && request.SensorID) {
        static char copy[512];
        static volatile std::size_t fixed = 512;
        std::memcpy(copy, request.SensorID, fixed);
    }
    if (fault("overrun-request"))
        reinterpret_cast<volatile char *>(&request)[sizeof(request)] = 0;
}

int initialise(const char *config)
{
    struct stat status;
    if (fault("crash-missing-directory") && stat(config, &status) != 0)
        *Nowhere = 1;
    if (fault("initialise-fails"))
        return -1;
    if (fault("second-initialise") && ++store().initialisations > 3)
        return -2;
    if (fault("initialise-empties") && ++store().initialisations > 3)
        store().events.records.clear();
    store().initialised = true;
    const char *const lasting[] = {"persistent", "reused-after-restart", "print-at-put", "large-cut", "large-refused"};
    if (std::any_of(std::begin(lasting), std::end(lasting), fault))
        openLog(std::string(config) + "/events.log");
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
    if (!n && !sensors)
        return SensorSize + fault("sensor-size");
    if (!n) {
        giveBack(sensors);
        return 0;
    }
    requireInitialised();
    misbehaveAtFetch();
    if (refuseThread())
        return -1;
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
    if (!n && !commands && !request)
        return fault("command-size") ? CommandSizes - 4 : CommandSizes;
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
    if (fault("print-at-put"))
        std::puts("stored");
    if (fault("put-overrun")) {
        char *text = new char[16];
        static volatile int past = 16;
        text[past] = 'x';
        delete[] text;
    }
    static int puts = 0;
    if (fault("put-pauses") && ++puts % 100 == 0)
        std::this_thread::sleep_for(std::chrono::seconds(1));
    if (fault("put-crawls"))
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (fault("put-takes-text")) {
        event->SensorID = nullptr;
        event->LSensorID = 0;
    }
    if (fault("put-crashes"))
        *Nowhere = 1;
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
    return 0;
}
