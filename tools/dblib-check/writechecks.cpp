// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checks.h"

#include "MessageEventParam.h"

#include <climits>
#include <cstring>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
/** As many of the newest records as a check of writing looks at before and after. */
constexpr int Watched = 200;

template <class Kind> std::vector<typename Kind::Record> newest(const Library &library)
{
    return ask<Kind>(library, plain<Kind>(Watched, false)).records;
}

template <class Kind> void require(const Library &library)
{
    for (DBFunction function : {Kind::Put, Kind::Remove})
        if (!library.has(function))
            throw skipped(std::string("the library has no ") + DBSymbols[function].key);
}

template <class Kind> bool contains(const std::vector<typename Kind::Record> &records, int id)
{
    return std::any_of(records.begin(), records.end(), [id](const auto &record) { return Kind::id(record) == id; });
}

/** Puts a copy of the record, which is gone when this returns: the library must not have kept any of it. */
template <class Kind> int put(const Library &library, const typename Kind::Record &record)
{
    stage(std::string("putting one of the ") + Kind::Plural);
    typename Kind::Record given(record);
    return Kind::putRecord(library, &given);
}

template <class Kind> void remove(const Library &library, int id)
{
    stage(std::string("deleting one of the ") + Kind::Plural + ", " + std::to_string(id));
    Kind::deleteRecord(library, id);
}

/** Puts a record and finds it again: what is there now and was not before. Throws a failure when it is not one. */
template <class Kind> typename Kind::Record putAndFind(const Library &library, const typename Kind::Record &record)
{
    const auto before = newest<Kind>(library);
    const int result = put<Kind>(library, record);
    if (result != 0)
        throw failed(std::string("putting one of the ") + Kind::Plural + " returned " + std::to_string(result));
    std::vector<typename Kind::Record> fresh;
    for (const auto &now : newest<Kind>(library))
        if (!contains<Kind>(before, Kind::id(now)))
            fresh.push_back(now);
    if (fresh.size() != 1)
        throw failed(std::to_string(fresh.size()) + " new " + Kind::Plural + " after putting one");
    return fresh.front();
}

void setId(CMessageEvent &event, int id)
{
    event.MessageID = id;
}

void setId(CMessageCommand &command, int id)
{
    command.CommandID = id;
}

/** In a process of its own, as another program on the same store. False when it did not end well. */
template <class Act> bool inAnotherProcess(Act act)
{
    const pid_t child = fork();
    if (child == 0) {
        bool well = false;
        try {
            act();
            well = true;
        } catch (const Outcome &) {
        }
        _exit(well ? 0 : 1);
    }
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Before anything is written: is it really the copy that is written to?

Outcome checkSeparate(const Target &target)
{
    std::mt19937 random(target.seed + unsigned(getpid()));
    CMessageEvent marked = EventKind::sample(1, random);
    const std::string name = "dblib-check " + std::to_string(random());
    CopyPtr(&marked.EventName, &marked.LEventName, name.c_str(), int(name.size()) + 1);
    const bool written = inAnotherProcess([&] {
        const Session session(target);
        require<EventKind>(session.library);
        putAndFind<EventKind>(session.library, marked);
    });
    if (!written)
        return skipped("no event could be put");
    Target original = target;
    original.config = target.original;
    const Session session(original);
    for (const CMessageEvent &event : newest<EventKind>(session.library)) {
        if (event.EventName && name == event.EventName) {
            remove<EventKind>(session.library, event.MessageID);
            return failed("what was written to the copy " + target.config + " appeared in " + target.original);
        }
    }
    return passed();
}

Outcome checkFill(const Target &target)
{
    const Session session(target);
    const FillCounts put = fillStore(session.library, target);
    return passed(std::to_string(put.events) + " events and " + std::to_string(put.commands) + " commands put");
}

// Put.

template <class Kind> Outcome checkPut(const Target &target)
{
    const Session session(target);
    std::mt19937 random(target.seed);
    constexpr int samples = 90;
    Pace pace(target, samples);
    for (int number = 0; number < samples; ++number) {
        if (!pace.goesOn()) {
            return warned("only " + std::to_string(number) + " of " + std::to_string(samples) + " " + Kind::Plural +
                          " in the time; a longer --timeout allows more");
        }
        auto record = Kind::sample(number, random);
        const auto found = putAndFind<Kind>(session.library, record);
        setId(record, Kind::id(found));
        if (!same(record, found)) {
            return failed(std::string("sample ") + std::to_string(number) + " of the " + Kind::Plural +
                          " came back changed: " + firstDifference(record, found));
        }
    }
    return passed();
}

/** Every byte that a text can hold. */
std::string everyByte()
{
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte)
        bytes += char(byte);
    return bytes;
}

void setTexts(CMessageEvent &event, const std::string &text)
{
    CopyPtr(&event.SensorID, &event.LSensorID, text.c_str(), int(text.size()) + 1);
    CopyPtr(&event.EventName, &event.LEventName, text.c_str(), int(text.size()) + 1);
}

void setTexts(CMessageCommand &command, const std::string &text)
{
    CopyPtr(&command.SensorID, &command.LSensorID, text.c_str(), int(text.size()) + 1);
}

template <class Kind> Outcome checkBytes(const Target &target)
{
    const Session session(target);
    for (const std::string &text : {everyByte(), std::string("\xC4rger \x80\xFF"), std::string(5000, '\xE4')}) {
        typename Kind::Record record;
        setTexts(record, text);
        record.ParNum = 1;
        record.par = new CMessageEventParam[1];
        record.par[0].Type = ParameterText;
        CopyPtr(&record.par[0].Name, &record.par[0].LName, text.c_str(), int(text.size()) + 1);
        CopyPtr(&record.par[0].Val, &record.par[0].LVal, text.c_str(), int(text.size()) + 1);
        const auto found = putAndFind<Kind>(session.library, record);
        setId(record, Kind::id(found));
        if (!same(record, found)) {
            return failed("a text of " + std::to_string(text.size()) + " bytes, " + quoted(text.c_str()) +
                          ", came back changed: " + firstDifference(record, found));
        }
    }
    return passed();
}

/** Puts a record and tells whether anything but its identifier is another afterwards. */
template <class Kind> bool putLeavesRecord(const Library &library, const typename Kind::Record &record)
{
    using Record = typename Kind::Record;
    Record given(record);
    setId(given, 0);
    char before[sizeof(Record)];
    std::memcpy(before, static_cast<const void *>(&given), sizeof(Record));
    Kind::putRecord(library, &given);
    setId(given, 0);
    const bool kept = std::memcmp(before, static_cast<const void *>(&given), sizeof(Record)) == 0;
    if (!kept) {
        // What the library left in it may be nothing that can be released.
        std::memset(static_cast<void *>(&given), 0, sizeof(Record));
        return false;
    }
    Record expected(record);
    setId(expected, 0);
    return same(given, expected);
}

Outcome checkPutUnchanged(const Target &target)
{
    const Session session(target);
    std::mt19937 random(target.seed);
    for (int number = 0; number < 20; ++number) {
        stage("putting records and looking at them afterwards");
        if (session.library.has(DBFunctionPutEvent) &&
            !putLeavesRecord<EventKind>(session.library, EventKind::sample(number, random)))
            return failed("FDBPutEvent changed the event that it was handed");
        if (session.library.has(DBFunctionPutCommand) &&
            !putLeavesRecord<CommandKind>(session.library, CommandKind::sample(number, random)))
            return failed("FDBPutCommand changed the command that it was handed");
    }
    return passed();
}

// Delete.

template <class Kind> std::vector<int> sortedIds(const Library &library)
{
    std::vector<int> ids = askIds<Kind>(library, plain<Kind>(Watched, false));
    std::sort(ids.begin(), ids.end());
    return ids;
}

template <class Kind> Outcome checkDelete(const Target &target)
{
    const Session session(target);
    const Library &library = session.library;
    require<Kind>(library);
    std::mt19937 random(target.seed);
    std::vector<int> put;
    for (int i = 0; i < 3; ++i)
        put.push_back(Kind::id(putAndFind<Kind>(library, Kind::sample(i, random))));
    std::vector<int> expected = sortedIds<Kind>(library);
    expected.erase(std::remove(expected.begin(), expected.end(), put[1]), expected.end());
    remove<Kind>(library, put[1]);
    std::vector<int> left = sortedIds<Kind>(library);
    if (std::binary_search(left.begin(), left.end(), put[1]))
        return failed(std::to_string(put[1]) + " is still there after its deletion");
    // Where the store holds more than is watched, an older one has moved up.
    if (left.size() > expected.size())
        left.erase(left.begin());
    if (left != expected)
        return failed("deleting " + std::to_string(put[1]) + " took others away too");
    return passed();
}

template <class Kind> Outcome checkDeleteUnknown(const Target &target)
{
    const Session session(target);
    const Library &library = session.library;
    require<Kind>(library);
    std::mt19937 random(target.seed);
    const int gone = Kind::id(putAndFind<Kind>(library, Kind::sample(1, random)));
    remove<Kind>(library, gone);
    const std::vector<int> before = sortedIds<Kind>(library);
    for (int id : {gone, INT_MAX, INT_MIN, -1}) {
        remove<Kind>(library, id);
        if (sortedIds<Kind>(library) != before)
            return failed("deleting " + std::to_string(id) + ", which is not there, took something away");
    }
    return passed();
}

// Identifiers.

/** Puts, deletes the newest, puts again, also after a new initialisation: identifiers only grow. */
template <class Kind> void requireGrowth(const Session &session, const Target &target)
{
    std::mt19937 random(target.seed);
    int highest = INT_MIN;
    for (int round = 0; round < 4; ++round) {
        for (int i = 0; i < 2; ++i) {
            const int id = Kind::id(putAndFind<Kind>(session.library, Kind::sample(i, random)));
            if (id <= highest)
                throw failed("the identifier " + std::to_string(id) + " was given after " + std::to_string(highest));
            highest = id;
        }
        remove<Kind>(session.library, highest);
        if (round % 2 == 1)
            session.initialise(target.config);
    }
}

/** Whether two identifiers, put by one process, the second one deleted, are known to this later one. */
template <class Kind> void requireGrowthAcrossProcesses(const Target &target)
{
    void *memory = mmap(nullptr, 2 * sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        return;
    int *ids = static_cast<int *>(memory);
    const bool well = inAnotherProcess([&] {
        std::mt19937 random(target.seed);
        const Session earlier(target);
        ids[0] = Kind::id(putAndFind<Kind>(earlier.library, Kind::sample(1, random)));
        ids[1] = Kind::id(putAndFind<Kind>(earlier.library, Kind::sample(2, random)));
        remove<Kind>(earlier.library, ids[1]);
    });
    std::mt19937 random(target.seed);
    const Session later(target);
    const bool kept = well && contains<Kind>(newest<Kind>(later.library), ids[0]);
    if (kept) {
        const int id = Kind::id(putAndFind<Kind>(later.library, Kind::sample(3, random)));
        if (id <= ids[1]) {
            throw failed("after a restart the identifier " + std::to_string(id) + " was given, " +
                         std::to_string(ids[1]) + " had been before");
        }
    }
    munmap(memory, 2 * sizeof(int));
}

template <class Kind> Outcome checkIdentifiers(const Target &target)
{
    // First, because the other process must not have the library loaded and in use already.
    requireGrowthAcrossProcesses<Kind>(target);
    const Session session(target);
    require<Kind>(session.library);
    requireGrowth<Kind>(session, target);
    return passed();
}

template <class Kind> void writeAndDelete(const Library &library, std::mt19937 &random)
{
    require<Kind>(library);
    for (int number = 0; number < 50; ++number) {
        put<Kind>(library, Kind::sample(number, random));
        if (number % 3 == 0)
            for (int id : askIds<Kind>(library, plain<Kind>(1, false)))
                remove<Kind>(library, id);
    }
}

Outcome checkWriteSilent(const Target &target)
{
    const Session session(target);
    std::mt19937 random(target.seed);
    writeAndDelete<EventKind>(session.library, random);
    writeAndDelete<CommandKind>(session.library, random);
    return passed();
}

Outcome checkWriteMemory(const Target &target)
{
    const Session session(target);
    std::mt19937 random(target.seed);
    writeAndDelete<EventKind>(session.library, random);
    writeAndDelete<CommandKind>(session.library, random);
    useAsConsole(session.library);
    const Heap::Faults faults = Heap::faults();
    return faults.any() ? failed(faults.text()) : passed();
}

Outcome checkManyPut(const Target &target)
{
    const int wanted = target.records;
    const Session session(target);
    if (!session.library.has(DBFunctionPutEvent))
        return skipped("the library has no FDBPutEvent");
    std::mt19937 random(target.seed);
    CMessageEvent event = EventKind::sample(3, random);
    int count = int(askIds<EventKind>(session.library, plain<EventKind>(wanted, true)).size());
    Heap::keepFewFreed();
    stage("putting events up to " + std::to_string(wanted));
    Pace pace(target, wanted - count);
    while (count < wanted && pace.goesOn()) {
        if (session.library.putEvent(&event) != 0)
            return failed("putting event " + std::to_string(count + 1) + " was refused");
        ++count;
    }
    progress();
    const auto request = plain<EventKind>(wanted, true);
    auto fetched = fetch<EventKind>(session.library, request);
    const int told = fetched.count;
    const int readable = fetched.readableCount();
    const int status = fetched.status;
    release<EventKind>(session.library, fetched, request);
    if (told == 0 && status != 0)
        return passed(std::to_string(count) + " were refused with the result " + std::to_string(status));
    if (told != count || readable != count) {
        return failed(std::to_string(count) + " events are there, the count is " + std::to_string(told) + ", " +
                      std::to_string(readable) + " came, and the result says nothing of it");
    }
    return count == wanted ? passed()
                           : skipped("in the time only " + std::to_string(count) +
                                     " events could be put, and all came; a longer --timeout allows more");
}
} // namespace

std::vector<Check> preparationChecks()
{
    return {
        {"separate-copy", "what is written to the copy of the installation stays there",
         "Trying the library out changes the installation itself.", checkSeparate, true},
        {"fill", "generated events and commands, so that the other checks have something to look at",
         "Sensors cannot report.", checkFill, true},
    };
}

std::vector<Check> writeChecks()
{
    const char *const put = "Commands do not reach the sensors as the operator gave them, or reports get lost.";
    const char *const bytes = "Names in the operator's language come back wrong.";
    const char *const remove = "Deleting one row does nothing, or takes others away.";
    const char *const ids = "Updates of the lists leave new records out, and a delete may hit the wrong one.";
    Check silent = {"write-silent", "the library prints nothing while records are put and deleted",
                    "Its lines mix with the console's trace and fill the journal.", checkWriteSilent, true};
    silent.silent = true;
    return {
        {"event-put", "an event that was put is there, field for field", put, checkPut<EventKind>, true},
        {"event-bytes", "texts keep every byte, those above 127 too, and any length", bytes, checkBytes<EventKind>,
         true},
        {"event-delete", "a deleted event is gone, and only that one", remove, checkDelete<EventKind>, true},
        {"event-delete-unknown", "deleting an event that is not there does nothing", remove,
         checkDeleteUnknown<EventKind>, true},
        {"event-new-identifier", "identifiers of events grow and are never used again", ids,
         checkIdentifiers<EventKind>, true},
        {"command-put", "a command that was put is there, field for field", put, checkPut<CommandKind>, true},
        {"command-bytes", "texts of commands keep every byte, and any length", bytes, checkBytes<CommandKind>, true},
        {"command-delete", "a deleted command is gone, and only that one", remove, checkDelete<CommandKind>, true},
        {"command-delete-unknown", "deleting a command that is not there does nothing", remove,
         checkDeleteUnknown<CommandKind>, true},
        {"command-new-identifier", "identifiers of commands grow and are never used again", ids,
         checkIdentifiers<CommandKind>, true},
        {"put-unchanged", "a record that is put stays as it is, but for its identifier",
         "The console goes down after giving a command.", checkPutUnchanged, true},
        silent,
        {"write-memory", "no write past a block, no block freed twice while putting and deleting",
         "The console goes down later, anywhere.", checkWriteMemory, true},
        {"many-put", "events are put up to a million (--records) and fetched at once, or refused honestly",
         "The console goes down when the store has become large.", checkManyPut, true},
    };
}
