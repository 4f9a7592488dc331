// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "DBFuns.h"

#include "DBFunsDebug.h"
#include "LoadDLL.h"
#include "data.h"
#include "installation.h"
#include "librarycalls.h"
#include "operatormessages.h"
#include "visibletext.h"

#include <QByteArray>
#include <QFile>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <unistd.h>

namespace
{
/** Tells of a test data file that was not read to its end: the source says nothing of itself. */
void tellOfCutTestFile()
{
    const QString file = testFileCutShort();
    if (!file.isEmpty())
        std::fprintf(stderr, "%s is longer than 64 MB: the rest is not read\n", QFile::encodeName(file).constData());
}

/** What the trace calls what stands around a function of the library: the same without its F. */
const char *traceName(DBFunction function)
{
    return DBSymbols[function].key + 1;
}

void traceEntry(DBFunction function)
{
    std::printf("%s<\n", traceName(function));
}

/** One of the three fetch functions, what stands in for it, and what the operator and the trace read of it. */
template <class Record, class... Request> struct Source {
    DBFunction function;
    int (*&library)(int *, Record **, Request *...); ///< NULL without one
    int (*testSource)(int *, Record *, Request *...);
    int testCapacity;      ///< records that the test source holds at most
    int sizes;             ///< what the library must answer to the size query
    const char *exit;      ///< printf: result, count
    const char *badAnswer; ///< the size query returned nonsense
    const char *noArray;   ///< the caller gave no place for the array
    const char *badSizes;  ///< printf: record size here, in the library; the same for the request
};

constexpr Source<CSensor> Sensors = {
    DBFunctionGetSensors,
    FDBGetSensors,
    DBGetSensorsDebug,
    DebugSensorCapacity,
    SensorSize,
    "DBGetSensors> (rtn=%d; N=%d)\n",
    forTranslators("DBGetSensors(NULL,NULL) return incorrect value (should return sizeof(CSensor))"),
    forTranslators("FDBGetSensors: s==NULL"),
    forTranslators("FDBGetSensors return incorrect struct size:sizeof(CSensor)=%d,return=%d"),
};

constexpr Source<CMessageEvent, CMessageEventRequest> Events = {
    DBFunctionGetEvents,
    FDBGetEvents,
    DBGetEventsDebug,
    DebugEventCapacity,
    EventSizes,
    "DBGetEvents> \n",
    forTranslators("FDBGetEvents(NULL,NULL,NULL) return incorrect value (should return "
                   "sizeof(CMessageEvent)|(sizeof(CMessageEventRequest)<<16))"),
    forTranslators("FDBGetEvents:event==NULL"),
    forTranslators("FDBGetEvents return incorrect struct size:sizeof(CMessageEvent)=%d,return=%d; "
                   "size(CCMessageEventRequest)=%d,return=%d"),
};

constexpr Source<CMessageCommand, CMessageCommandRequest> Commands = {
    DBFunctionGetCommands,
    FDBGetCommands,
    DBGetCommandsDebug,
    DebugCommandCapacity,
    CommandSizes,
    "DBGetCommands> \n",
    forTranslators("FDBGetCommands(NULL,NULL,NULL) return incorrect value (should return "
                   "sizeof(CMessageCommand)|(sizeof(CMessageCommandRequest)<<16))"),
    forTranslators("FDBGetCommands:command==NULL"),
    forTranslators("FDBGetCommands return incorrect struct size:sizeof(CMessageCommand)=%d,return=%d; "
                   "size(CMessageCommandRequest)=%d,return=%d"),
};

/** Whether the library was built for this program's records, by its own word; tells the operator when not. */
template <class Record, class... Request>
bool agree(const Source<Record, Request...> &source, bool hasArray, QDialog *parent)
{
    const auto query = [&] { return source.library(nullptr, nullptr, static_cast<Request *>(nullptr)...); };
    const int answer = callLibrary(source.function, query).value_or(-1);
    constexpr bool hasRequest = sizeof...(Request) > 0;
    const auto record = [](int sizes) { return hasRequest ? sizes & 0xFFFF : sizes; };
    const auto request = [](int sizes) { return (sizes >> 16) & 0xFFFF; };
    const int ours = source.sizes;
    if (answer < 1 || (hasRequest && (record(answer) == 0 || request(answer) == 0)))
        inform(parent, "", {source.badAnswer});
    else if (!hasArray)
        inform(parent, "", {source.noArray});
    else if (answer != ours)
        inform(parent, "", {source.badSizes, nullptr, {record(ours), record(answer), request(ours), request(answer)}});
    else
        return true;
    return false;
}

/** What came of a library's fetch. */
struct Fetched {
    std::optional<int> result; ///< the library's; none when an exception or short memory took it
    int noRoomFor = 0;         ///< records that memory was too short for
};

/**
 * Fetches, has `take(result, records, count)` take over what there is, and lets
 * the library release its array, which it does exactly once: `take` throws nothing
 * and says whether it had memory enough.
 */
template <class Record, class... Request, class Take>
Fetched fetchFromLibrary(const Source<Record, Request...> &source, int *n, Take take, Request *...request)
{
    const DBFunction function = source.function;
    Record *theirs = nullptr;
    *n = 0;
    const auto fetched = callLibrary(function, [&] { return source.library(n, &theirs, request...); });
    const int count = *n;
    const bool noRoom = fetched && count >= 1 && theirs && !take(*fetched, theirs, count);
    const auto released = callLibrary(function, [&] { return source.library(nullptr, &theirs, request...); });
    judged(function, fetched == 0 || !released ? released : fetched);
    if (noRoom)
        return {std::nullopt, count};
    return {released ? fetched : std::nullopt};
}

/** Tells of short memory, writes the closing trace line and gives the result of the whole. */
template <class Source> int finish(const Source &source, const Fetched &fetched, int shown, QDialog *parent)
{
    if (fetched.noRoomFor > 0) {
        const char *text = forTranslators("%s: not enough memory for %d records");
        inform(parent, "", {text, traceName(source.function), {fetched.noRoomFor}});
    }
    std::printf(source.exit, fetched.result.value_or(-1), shown);
    return fetched.result.value_or(-1);
}

/** Fetches into the caller's array and count, which change only when all went well. */
template <class Record, class... Request>
Fetched fetchCopies(const Source<Record, Request...> &source, int *n, Record **array, Request *...request)
{
    const int before = *n;
    std::unique_ptr<Record[]> copy;
    const auto take = [&copy](int, const Record *records, int count) {
        try {
            // No count is too large for an array where pointers have 8 bytes: one branch of the check is for 4.
            copy.reset(new Record[std::size_t(count)]); // GCOVR_EXCL_BR_LINE
            std::copy_n(records, count, copy.get());
            return true;
        } catch (...) { // records fail to be copied for want of memory only
            copy.reset();
            return false;
        }
    };
    const Fetched fetched = fetchFromLibrary(source, n, take, request...);
    if (!fetched.result) {
        *n = before;
    } else if (copy) {
        delete[] *array;
        *array = copy.release();
    }
    return fetched;
}

template <class Record, class... Request>
int fetch(const Source<Record, Request...> &source, int *n, Record **array, QDialog *parent, Request *...request)
{
    traceEntry(source.function);
    if (!source.library) {
        const int result = source.testSource(n, array ? *array : nullptr, request...);
        tellOfCutTestFile();
        std::printf(source.exit, result, n ? *n : -1);
        return result;
    }
    if (!agree(source, array != nullptr, parent))
        return -1;
    const Fetched fetched = n ? fetchCopies(source, n, array, request...) : Fetched();
    // The window that owns count and array may be closed while a box is open: nothing of it is read after that.
    const int shown = n ? *n : -1;
    return finish(source, fetched, shown, parent);
}

/**
 * Whether there would be memory for a copy of so many records: a library may claim any number, and the one that it
 * cannot have is not read. Nothing is touched, which costs nothing.
 */
template <class Record> bool roomFor(int count)
{
    std::allocator<Record> memory;
    try {
        // Volatile, or the compiler sees that nobody needs it.
        Record *volatile const room = memory.allocate(std::size_t(count)); // GCOVR_EXCL_BR_LINE: as for the copy
        memory.deallocate(room, std::size_t(count));
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

template <class Record, class Request>
int readTestData(const Source<Record, Request> &source, const RecordReader<Record> &reader, QDialog *parent,
                 Request *request)
{
    const std::unique_ptr<Record[]> records(new Record[std::size_t(source.testCapacity)]);
    Record *array = records.get();
    int n = 0;
    const int result = fetch(source, &n, &array, parent, request);
    if (result == 0 && n > 0)
        reader(array, n);
    return result;
}

template <class Record, class Request>
int read(const Source<Record, Request> &source, const RecordReader<Record> &reader, QDialog *parent, Request *request)
{
    if (!source.library)
        return readTestData(source, reader, parent, request);
    traceEntry(source.function);
    if (!agree(source, true, parent))
        return -1;
    std::exception_ptr thrown;
    const auto take = [&](int result, const Record *records, int count) {
        if (!roomFor<Record>(count))
            return false;
        try {
            if (result == 0)
                reader(records, count);
        } catch (...) {
            thrown = std::current_exception();
        }
        return true;
    };
    int n = 0;
    const Fetched fetched = fetchFromLibrary(source, &n, take, request);
    const int result = finish(source, fetched, n, parent);
    if (thrown)
        std::rethrow_exception(thrown);
    return result;
}

/** Initialises one data source between its two trace lines. */
int initialise(DBFunction function, const char *exit, InitDBSensorsFunction *library, int (*testSource)(QString),
               const QString &dir)
{
    traceEntry(function);
    const QByteArray path = QFile::encodeName(dir);
    const int result =
        library ? judged(function, callLibrary(function, [&] { return library(path.constData()); })) : testSource(dir);
    if (!library)
        tellOfCutTestFile();
    std::puts(exit);
    return result;
}

/** Hands a record over between two equal trace lines. */
template <class Record> int put(DBFunction function, int (*library)(Record *), Record &record)
{
    if (!library)
        return -1;
    traceEntry(function);
    const int result = judged(function, callLibrary(function, [&] { return library(&record); }));
    traceEntry(function);
    return result;
}

/** Whatever the library says to it, the record counts as deleted. */
int deleteRecord(DBFunction function, DBDeleteEventFunction *library, int id)
{
    traceEntry(function);
    if (library)
        judged(function, callLibrary(function, [&] { return library(id); }));
    std::printf("%s> \n", traceName(function));
    return 0;
}

/** What is wrong with a path from which the installation is to be looked for; NULL when nothing is. */
const char *reasonAgainst(const QByteArray &directory)
{
    constexpr int room = 64; // for what comes behind it, as "/../../../Config/DebugInitCommands.txt"
    if (directory.size() + room > PATH_MAX)
        return "is too long";
    return QFile::encodeName(QFile::decodeName(directory)) == directory ? nullptr : "has bytes that are no text here";
}

/** The working directory; empty, which is reported, when there is none that could be used. */
QByteArray workingDirectory()
{
    const std::unique_ptr<char, decltype(&std::free)> directory(get_current_dir_name(), &std::free);
    if (!directory) {
        std::perror("The working directory cannot be read");
        return {};
    }
    const char *reason = reasonAgainst(directory.get());
    if (!reason)
        return directory.get();
    std::fprintf(stderr, "The path of the working directory %s: %s\n", reason, visibleText(directory.get()).c_str());
    return {};
}

/** Sets CurWD and BaseWD, or ends the process. */
void findBaseDirectory()
{
    const QByteArray directory = workingDirectory();
    CurWD = QFile::decodeName(directory);
    const auto base = directory.isEmpty() ? std::nullopt : baseDirectoryAbove(directory.toStdString());
    if (base) {
        BaseWD = QFile::decodeName(base->c_str());
        return;
    }
    constexpr const char *text = forTranslators("Can't find base dir");
    inform(nullptr, text, {text});
    // The application is still there when the process ends, of which Qt 6 complains.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    std::exit(-1);
}
} // namespace

int FileExists(const char *path)
{
    return isReadableFile(path) ? 1 : 0;
}

int InitData()
{
    if (CurWD.isEmpty())
        findBaseDirectory();
    ConfigWD = BaseWD + QLatin1String("/Config");
    DLLWD = BaseWD + QLatin1String("/Libs");
    LoadDLL(DLLWD);
    InitDBSensors(ConfigWD);
    InitDBEvents(ConfigWD);
    InitDBCommands(ConfigWD);
    return 0;
}

int InitDBSensors(QString dir)
{
    return initialise(DBFunctionInitSensors, "InitDBSensors> ", FInitDBSensors, InitDBSensorsDebug, dir);
}

int InitDBEvents(QString dir)
{
    return initialise(DBFunctionInitEvents, "InitDBEventss> ", FInitDBEvents, InitDBEventsDebug, dir);
}

int InitDBCommands(QString dir)
{
    return initialise(DBFunctionInitCommands, "InitDBCommands> ", FInitDBCommands, InitDBCommandsDebug, dir);
}

int roomForSensors()
{
    return FDBGetSensors ? 0 : DebugSensorCapacity;
}

int DBGetSensors(int *n, CSensor **sensors, QDialog *parent)
{
    return fetch(Sensors, n, sensors, parent);
}

int DBGetEvents(int *n, CMessageEvent **events, CMessageEventRequest *request, QDialog *parent)
{
    return fetch(Events, n, events, parent, request);
}

int DBGetCommands(int *n, CMessageCommand **commands, CMessageCommandRequest *request, QDialog *parent)
{
    return fetch(Commands, n, commands, parent, request);
}

int readEvents(const RecordReader<CMessageEvent> &reader, CMessageEventRequest *request, QDialog *parent)
{
    return read(Events, reader, parent, request);
}

int readCommands(const RecordReader<CMessageCommand> &reader, CMessageCommandRequest *request, QDialog *parent)
{
    return read(Commands, reader, parent, request);
}

int DBPutCommand(CMessageCommand &command)
{
    return put(DBFunctionPutCommand, FDBPutCommand, command);
}

int DBPutEvent(CMessageEvent &event)
{
    return put(DBFunctionPutEvent, FDBPutEvent, event);
}

int DBDeleteCommand(int id)
{
    return deleteRecord(DBFunctionDeleteCommand, FDBDeleteCommand, id);
}

int DBDeleteEvent(int id)
{
    return deleteRecord(DBFunctionDeleteEvent, FDBDeleteEvent, id);
}
