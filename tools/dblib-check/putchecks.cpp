// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "guardpage.h"
#include "translation.h"
#include "writing.h"

#include "MessageEventParam.h"

#include <cstring>
#include <unistd.h>

namespace
{
// Before anything else is put: is it really the copy that is written to?

/** A record that no store has yet. */
template <class Kind> typename Kind::Record markedRecord(const std::string &mark)
{
    std::mt19937 random(1);
    auto record = Kind::sample(1, random);
    CopyPtr(&record.SensorID, &record.LSensorID, mark.c_str(), int(mark.size()) + 1);
    return record;
}

/** The identifier of the record with this mark; nothing when the store has none. */
template <class Kind> std::vector<int> markedIds(const Library &library, const std::string &mark)
{
    auto request = plain<Kind>(10, false);
    CopyPtr(&request.SensorID, &request.LSensorID, mark.c_str(), int(mark.size()) + 1);
    request.UseSensorID = 1;
    std::vector<int> ids;
    for (const auto &record : ask<Kind>(library, request).records)
        if (record.SensorID && mark == record.SensorID)
            ids.push_back(Kind::id(record));
    return ids;
}

template <class Kind> Outcome checkSeparateFor(const Target &target)
{
    std::mt19937 random(target.seed + unsigned(getpid()));
    const std::string mark = "dblib-check " + std::to_string(random());
    SharedValue<bool> wasPut;
    inAnotherProcess([&] {
        const Session session(target);
        *wasPut = put<Kind>(session.library, markedRecord<Kind>(mark)) == 0;
    });
    if (!*wasPut)
        return skipped("no record could be put");
    if (target.watched)
        return passed();
    // Without the kernel's help only the installation itself can tell.
    Target original = target;
    original.config = target.original;
    const Session session(original);
    const std::vector<int> ids = markedIds<Kind>(session.library, mark);
    for (int id : ids)
        if (session.library.has(Kind::Remove))
            remove<Kind>(session.library, id);
    return ids.empty() ? passed()
                       : failed("what was written to the copy " + target.config + " appeared in " + target.original);
}

Outcome checkSeparate(const Target &target)
{
    const Session session(target, Session::LoadedOnly);
    return session.library.has(EventKind::Put) ? checkSeparateFor<EventKind>(target)
                                               : checkSeparateFor<CommandKind>(target);
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
    Putter<Kind> putter(session.library);
    for (int number = 0; number < samples; ++number) {
        if (!pace.goesOn()) {
            return warned("only " + std::to_string(number) + " of " + std::to_string(samples) + " " + Kind::Plural +
                          " in the time; a longer --timeout allows more");
        }
        auto record = Kind::sample(number, random);
        const auto found = putter.put(record);
        setId(record, Kind::id(found));
        if (!same(record, found)) {
            return failed(std::string("sample ") + std::to_string(number) + " of the " + Kind::Plural +
                          " came back changed: " + firstDifference(record, found));
        }
    }
    return passed();
}

template <class Kind> Outcome checkBytes(const Target &target)
{
    const Session session(target);
    Putter<Kind> putter(session.library);
    for (const std::string &text : {everyByte(), std::string("\xC4rger \x80\xFF"), std::string(5000, '\xE4')}) {
        auto record = Kind::withText(text);
        const auto found = putter.put(record);
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
    std::string fault;
    forEachPut(session.library, [&](auto kind) {
        using Kind = decltype(kind);
        for (int number = 0; number < 20 && fault.empty(); ++number) {
            stage("putting records and looking at them afterwards");
            if (!putLeavesRecord<Kind>(session.library, Kind::sample(number, random)))
                fault = std::string(DBSymbols[Kind::Put].key) + " changed the record that it was handed";
        }
    });
    return fault.empty() ? passed() : failed(fault);
}

// Guard pages behind all that a record holds.

void guard(char *&text, int length, const char *name)
{
    text = text ? static_cast<char *>(GuardPage::copy(text, std::size_t(length), name)) : nullptr;
}

void guardParameters(CMessageEventParam *&par, int count)
{
    if (!par)
        return;
    const std::size_t size = std::size_t(count) * sizeof(CMessageEventParam);
    par = static_cast<CMessageEventParam *>(
        GuardPage::copy(static_cast<const void *>(par), size, "the parameters of a record that is put"));
    for (int i = 0; i < count; ++i) {
        guard(par[i].Name, par[i].LName, "the name of a parameter that is put");
        guard(par[i].Val, par[i].LVal, "the value of a parameter that is put");
    }
}

void guardTexts(CMessageEvent &event)
{
    guard(event.SensorID, event.LSensorID, "the SensorID of an event that is put");
    guard(event.EventName, event.LEventName, "the EventName of an event that is put");
    guardParameters(event.par, event.ParNum);
}

void guardTexts(CMessageCommand &command)
{
    guard(command.SensorID, command.LSensorID, "the SensorID of a command that is put");
    guardParameters(command.par, command.ParNum);
}

template <class Kind> void putGuarded(const Library &library, const typename Kind::Record &record)
{
    using Record = typename Kind::Record;
    stage(std::string("putting one of the ") + Kind::Plural + " in guarded memory");
    GuardPage::recycle();
    // It owns nothing and is never destroyed.
    auto *copy = static_cast<Record *>(
        GuardPage::copy(static_cast<const void *>(&record), sizeof(Record), "a record that is put"));
    guardTexts(*copy);
    Kind::putRecord(library, copy);
}

Outcome checkPutOverrun(const Target &target)
{
    const Session session(target);
    std::mt19937 random(target.seed);
    forEachPut(session.library, [&](auto kind) {
        using Kind = decltype(kind);
        for (int number = 0; number < 20; ++number)
            putGuarded<Kind>(session.library, Kind::sample(number, random));
    });
    return passed();
}

// Putting and deleting many.

Outcome checkWriteSilent(const Target &target)
{
    writeAndDelete(Session(target).library, target);
    return passed();
}

Outcome checkWriteMemory(const Target &target)
{
    const Session session(target);
    writeAndDelete(session.library, target);
    useAsConsole(session.library);
    const Heap::Faults faults = Heap::faults();
    return faults.any() ? failed(faults.text()) : passed();
}
} // namespace

std::vector<Check> preparationChecks()
{
    Check separate = {"separate-copy",
                      translatable("the library writes to the copy of the installation and nowhere else"),
                      translatable("Trying the library out changes the installation itself."), checkSeparate};
    separate.provesCopy = true;
    Check fill = {"fill",
                  translatable("generated events and commands, so that the other checks have something to look at"),
                  translatable("Sensors cannot report."), checkFill};
    return {asWriting(separate), asWriting(fill)};
}

std::vector<Check> putChecks()
{
    const char *const put =
        translatable("Commands do not reach the sensors as the operator gave them, or reports get lost.");
    const char *const bytes = translatable("Names in the operator's language come back wrong.");
    const char *const memory = translatable("The console goes down later, anywhere.");
    Check silent = {"write-silent",
                    translatable("the library prints nothing while records are put and deleted"),
                    translatable("Its lines mix with the console's trace and fill the journal."),
                    checkWriteSilent,
                    {"fill", "silent", "event-put", "command-put"}};
    silent.silent = true;
    return asWriting({
        {"put-overrun",
         translatable("the library stays within a record that is put, and within its texts"),
         memory,
         checkPutOverrun,
         {"fill"}},
        {"put-unchanged",
         translatable("a record that is put stays as it is, but for its identifier"),
         translatable("The console goes down after giving a command."),
         checkPutUnchanged,
         {"fill"}},
        {"event-put",
         translatable("an event that was put is there, field for field"),
         put,
         checkPut<EventKind>,
         {"fill", "event-nmax", "event-identifier"}},
        {"event-bytes",
         translatable("texts of events keep every byte, line ends and those above 127 too, and any length"),
         bytes,
         checkBytes<EventKind>,
         {"fill", "event-put"}},
        {"command-put",
         translatable("a command that was put is there, field for field"),
         put,
         checkPut<CommandKind>,
         {"fill", "command-nmax", "command-identifier"}},
        {"command-bytes",
         translatable("texts of commands keep every byte, line ends and those above 127 too, and any length"),
         bytes,
         checkBytes<CommandKind>,
         {"fill", "command-put"}},
        silent,
        {"write-memory",
         translatable("no write past a block, no block freed twice while putting and deleting"),
         memory,
         checkWriteMemory,
         {"fill", "memory", "event-put", "command-put"}},
    });
}
