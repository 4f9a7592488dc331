// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "source.h"

#include "bytetext.h"
#include "failure.h"
#include "filling.h"
#include "foreigncall.h"
#include "namemap.h"
#include "translation.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace
{
/** Calls a function of the library; what it throws becomes a Failure. */
template <class Call> int called(const char *name, Call call)
{
    try {
        const ForeignCall guard;
        return call();
    } catch (...) {
        throw Failure(exceptionText(name));
    }
}

void require(bool has, DBFunction which)
{
    if (!has)
        throw Failure(filled(translated("the DB library has no %1"), DBSymbols[which].key));
}

Failure cannotLoad(const Installation &installation, const LoadedLibrary &library)
{
    const std::string path = dbLibraryIn(installation.libs);
    if (library.outcome == LoadOutcome::NoFile)
        return Failure(filled(translated("there is no DB library %1; 'obrimctl init' makes a link to one"), path));
    return Failure(filled(translated("the DB library cannot be loaded: %1"),
                          library.reasons.empty() ? path : library.reasons.front()));
}

/** What a library answers to the size query, or why it does not; the request's size is 0 for sensors. */
struct Sizes {
    int record;
    int request;
};

std::string sizesText(const char *name, Sizes ours, Sizes theirs)
{
    if (ours.request == 0) {
        return filled(translated("%1 is made for other records: %2 bytes each, here %3"), name, theirs.record,
                      ours.record);
    }
    return filled(translated("%1 is made for other records: %2 bytes each, here %3; its request has %4, here %5"), name,
                  theirs.record, ours.record, theirs.request, ours.request);
}
} // namespace

LoadedLibrary loadLibraryOf(const Installation &installation)
{
    LoadedLibrary library;
    // The progress is the console's trace.
    const auto keepReason = [&library](std::FILE *stream, const std::string &line) {
        if (stream == stderr)
            library.reasons.push_back(line.substr(0, line.find('\n')));
    };
    library.outcome = loadDBLibrary(dbLibraryIn(installation.libs), nameMapIn(installation.config),
                                    placesIn(library.functions), keepReason);
    return library;
}

template <class Record>
LentRecords<Record>::LentRecords(const char *name, Function function)
    : m_name(name)
    , m_function(std::move(function))
{
    int result = -1;
    try {
        result = called(m_name, [&] { return m_function(&m_count, &m_array); });
    } catch (...) {
        release();
        throw;
    }
    const bool nonsense = m_count < 0 || (m_count > 0 && !m_array);
    if (result == 0 && !nonsense)
        return;
    const int count = m_count;
    release();
    if (result != 0)
        throw Failure(filled(translated("%1 failed with %2"), m_name, result));
    throw Failure(filled(translated("%1 counts %2 records and gives none"), m_name, count));
}

template <class Record> LentRecords<Record>::~LentRecords()
{
    release();
}

/** Once for each fetch, whatever it gave. */
template <class Record> void LentRecords<Record>::release()
{
    m_count = 0;
    attempt(m_name, [&] { return m_function(nullptr, &m_array); });
}

Source::Source(const Installation &installation)
    : Source(installation, loadLibraryOf(installation))
{
}

Source::Source(const Installation &installation, const LoadedLibrary &library)
    : m_installation(installation)
    , m_functions(library.functions)
{
    if (library.outcome == LoadOutcome::NoFile || library.outcome == LoadOutcome::NotOpened)
        throw cannotLoad(installation, library);
    initialise();
}

/** As the console does, which goes on when one of them fails: what cannot be read is told when it is asked for. */
void Source::initialise() const
{
    const std::pair<const char *, InitDBSensorsFunction *> functions[] = {
        {"FInitDBSensors", m_functions.initSensors},
        {"FInitDBEvents", m_functions.initEvents},
        {"FInitDBCommands", m_functions.initCommands},
    };
    for (const auto &[name, function] : functions) {
        if (!function)
            continue;
        const auto result = attempt(name, [&, call = function] { return call(m_installation.config.c_str()); });
        if (result && *result != 0)
            std::fprintf(stderr, "obrimctl: %s\n", filled(translated("%1 failed with %2"), name, *result).c_str());
    }
}

std::string Source::sizeFault(DBFunction which) const
{
    const char *name = DBSymbols[which].key;
    int answer = 0;
    Sizes ours = {};
    switch (which) {
    case DBFunctionGetSensors:
        ours = {SensorSize, 0};
        answer = called(name, [&] { return m_functions.getSensors(nullptr, nullptr); });
        break;
    case DBFunctionGetEvents:
        ours = {EventSizes & 0xffff, EventSizes >> 16};
        answer = called(name, [&] { return m_functions.getEvents(nullptr, nullptr, nullptr); });
        break;
    default:
        ours = {CommandSizes & 0xffff, CommandSizes >> 16};
        answer = called(name, [&] { return m_functions.getCommands(nullptr, nullptr, nullptr); });
        break;
    }
    if (answer == (ours.record | ours.request << 16))
        return {};
    if (answer < 1)
        return filled(translated("%1 answers %2 when it is asked for the records' sizes"), name, answer);
    return sizesText(name, ours, ours.request > 0 ? Sizes{answer & 0xffff, answer >> 16 & 0xffff} : Sizes{answer, 0});
}

void Source::requireSizes(DBFunction which) const
{
    if (std::find(m_agreed.begin(), m_agreed.end(), which) != m_agreed.end())
        return;
    const std::string fault = sizeFault(which);
    if (!fault.empty())
        throw Failure(filled(translated("%1; dblib-check shows what is wrong with a DB library"), fault));
    m_agreed.push_back(which);
}

LentRecords<CSensor> Source::sensors() const
{
    require(m_functions.getSensors, DBFunctionGetSensors);
    requireSizes(DBFunctionGetSensors);
    return LentRecords<CSensor>("FDBGetSensors", m_functions.getSensors);
}

namespace
{
/** The library may keep the request from fetch to release: both get the same one. */
template <class Record, class Function>
typename LentRecords<Record>::Function withRequest(Function *function, const RequestOf<Record> &request)
{
    return [function, own = std::make_shared<RequestOf<Record>>(request)](int *n, Record **array) {
        return function(n, array, own.get());
    };
}
} // namespace

LentRecords<CMessageEvent> Source::fetch(const CMessageEventRequest &request) const
{
    require(m_functions.getEvents, DBFunctionGetEvents);
    requireSizes(DBFunctionGetEvents);
    return LentRecords<CMessageEvent>("FDBGetEvents", withRequest<CMessageEvent>(m_functions.getEvents, request));
}

LentRecords<CMessageCommand> Source::fetch(const CMessageCommandRequest &request) const
{
    require(m_functions.getCommands, DBFunctionGetCommands);
    requireSizes(DBFunctionGetCommands);
    return LentRecords<CMessageCommand>("FDBGetCommands",
                                        withRequest<CMessageCommand>(m_functions.getCommands, request));
}

int Source::put(CMessageCommand &command) const
{
    require(m_functions.putCommand, DBFunctionPutCommand);
    return called("FDBPutCommand", [&] { return m_functions.putCommand(&command); });
}

int Source::put(CMessageEvent &event) const
{
    require(m_functions.putEvent, DBFunctionPutEvent);
    return called("FDBPutEvent", [&] { return m_functions.putEvent(&event); });
}

void Source::removeEvent(int id) const
{
    require(m_functions.deleteEvent, DBFunctionDeleteEvent);
    called("FDBDeleteEvent", [&] { return m_functions.deleteEvent(id); });
}

void Source::removeCommand(int id) const
{
    require(m_functions.deleteCommand, DBFunctionDeleteCommand);
    called("FDBDeleteCommand", [&] { return m_functions.deleteCommand(id); });
}

template class LentRecords<CSensor>;
template class LentRecords<CMessageEvent>;
template class LentRecords<CMessageCommand>;
