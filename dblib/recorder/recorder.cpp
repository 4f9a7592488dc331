// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * The recorder: a DB library that passes every call on to the real one, and
 * writes calls and answers to a file.
 */
#include "answer.h"
#include "call.h"
#include "dblibrary.h"
#include "foreigncall.h"
#include "recordersettings.h"
#include "recordingwriter.h"
#include "standin.h"
#include "withouttexts.h"

#include <dlfcn.h>
#include <memory>
#include <new>
#include <optional>

namespace
{
using Calls::Status;
using Calls::Subject;
using Calls::Use;
using Recording::AnswerBytes;
using Recording::Moment;
using Recording::wholeAnswer;

/** Takes the time of one call. */
class Watch
{
public:
    Moment moment() const
    {
        using std::chrono::duration_cast;
        using std::chrono::microseconds;
        return {duration_cast<microseconds>(m_time.time_since_epoch()),
                duration_cast<microseconds>(std::chrono::steady_clock::now() - m_start)};
    }

private:
    std::chrono::system_clock::time_point m_time = std::chrono::system_clock::now();
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

/** What the library did instead was told, or the console tells it. */
CallFault silentFault()
{
    return CallFault("");
}

/** Where in memory the library lies that a function belongs to. */
const void *placeOf(const void *function)
{
    Dl_info info = {};
    return dladdr(function, &info) == 0 ? nullptr : info.dli_fbase;
}

/** Whether the library that was loaded is this one, however its path is written. */
bool isOwn(const DBFunctions &functions)
{
    return placeOf(reinterpret_cast<const void *>(functions.initEvents)) ==
           placeOf(reinterpret_cast<const void *>(&isOwn));
}

class Recorder : public StandIn
{
public:
    int initialise(DBFunction function, const char *configDir) override
    {
        if (!configDir)
            throw std::invalid_argument("no configuration directory was given");
        useSettings(readRecorderSettings(*configDir ? configDir : "."));
        InitDBSensorsFunction *const initialisers[] = {m_functions.initSensors, m_functions.initEvents,
                                                       m_functions.initCommands};
        const int place = function == DBFunctionInitSensors ? 0 : function == DBFunctionInitEvents ? 1 : 2;
        return pass({function, Use::Plain}, Calls::initCall(function, configDir), initialisers[place], configDir);
    }

    int sizeQuery(DBFunction function) override
    {
        const Subject subject = {function, Use::Query};
        const std::string call = Calls::queryCall(function);
        if (function == DBFunctionGetSensors)
            return pass(subject, call, m_functions.getSensors, nullptr, nullptr);
        if (function == DBFunctionGetEvents)
            return pass(subject, call, m_functions.getEvents, nullptr, nullptr, nullptr);
        return pass(subject, call, m_functions.getCommands, nullptr, nullptr, nullptr);
    }

    int fetch(int *n, CSensor **sensors) override
    {
        return fetch(DBFunctionGetSensors, Calls::fetchCall(), m_functions.getSensors, n, sensors);
    }
    int fetch(int *n, CMessageEvent **events, CMessageEventRequest *request) override
    {
        return fetch(DBFunctionGetEvents, Calls::fetchCall(request), m_functions.getEvents, n, events, request);
    }
    int fetch(int *n, CMessageCommand **commands, CMessageCommandRequest *request) override
    {
        return fetch(DBFunctionGetCommands, Calls::fetchCall(request), m_functions.getCommands, n, commands, request);
    }
    int release(CSensor **sensors) override
    {
        return release(DBFunctionGetSensors, m_functions.getSensors, sensors);
    }
    int release(CMessageEvent **events, CMessageEventRequest *request) override
    {
        return release(DBFunctionGetEvents, m_functions.getEvents, events, request);
    }
    int release(CMessageCommand **commands, CMessageCommandRequest *request) override
    {
        return release(DBFunctionGetCommands, m_functions.getCommands, commands, request);
    }

    int put(CMessageCommand *command) override
    {
        return put(DBFunctionPutCommand, m_functions.putCommand, command, &CMessageCommand::CommandID);
    }
    int put(CMessageEvent *event) override
    {
        return put(DBFunctionPutEvent, m_functions.putEvent, event, &CMessageEvent::MessageID);
    }
    int remove(DBFunction function, int id) override
    {
        return pass({function, Use::Plain}, Calls::deleteCall(function, id),
                    function == DBFunctionDeleteCommand ? m_functions.deleteCommand : m_functions.deleteEvent, id);
    }

    void close() override {} // the real library's own end comes by itself

private:
    void useSettings(const RecorderSettings &settings)
    {
        if (m_settings && *m_settings == settings)
            return;
        m_settings.reset();
        m_functions = DBFunctions();
        m_writer.reset();
        const LoadOutcome outcome = loadInnerDBLibrary(settings.library, settings.nameMap, placesIn(m_functions));
        if (outcome == LoadOutcome::NoFile || outcome == LoadOutcome::NotOpened)
            throw std::runtime_error(settings.library + " cannot be loaded");
        if (isOwn(m_functions)) {
            m_functions = DBFunctions();
            throw std::runtime_error(settings.library + " is the recorder itself");
        }
        m_settings = settings;
        beginRecording();
    }

    /** The calls go through without a recording, too. */
    void beginRecording()
    {
        try {
            m_writer = std::make_unique<Recording::Writer>(m_settings->record, m_settings->limit, m_settings->hasTexts);
        } catch (const std::exception &error) {
            tell((std::string("nothing is recorded: ") + error.what()).c_str());
        }
    }

    void record(const Watch &watch, Subject subject, const std::string &call, const AnswerBytes &answer)
    {
        recordAt(watch.moment(), subject, call, answer);
    }
    void recordAt(const Moment &moment, Subject subject, const std::string &call, const AnswerBytes &answer)
    {
        if (!m_writer || m_running > 0)
            return;
        try {
            const bool plain = m_settings->hasTexts;
            m_writer->write(moment, subject,
                            plain ? call : Calls::callBytes(Recording::withoutTexts(Calls::readCall(call))), answer);
        } catch (const std::exception &error) {
            m_writer.reset();
            tell((std::string("the recording ends: ") + error.what()).c_str());
        }
    }
    void recordStatus(const Watch &watch, Subject subject, const std::string &call, Status status, int result)
    {
        record(watch, subject, call, wholeAnswer(Calls::answerMessage(subject, {status, result})));
    }

    /** Throws CallFault when the library lacks the function. */
    void require(bool has, Subject subject, const std::string &call)
    {
        if (has)
            return;
        if (!m_settings)
            throw std::logic_error("the library was not initialised");
        recordStatus(Watch(), subject, call, Status::Missing, -1);
        throw std::runtime_error(m_settings->library + " has no such function");
    }

    /** Nothing when the function threw, which is told. */
    template <class Call> std::optional<int> callLibrary(DBFunction function, Call call)
    {
        ++m_running;
        const auto result = attempt(DBSymbols[function].key, call);
        --m_running;
        return result;
    }

    /** Calls the library's function, whose result is all of its answer. */
    template <class... Parameter, class... Argument>
    int pass(Subject subject, const std::string &call, int (*function)(Parameter...), Argument... arguments)
    {
        require(function, subject, call);
        const Watch watch;
        const auto result = callLibrary(subject.function, [&] { return function(arguments...); });
        recordStatus(watch, subject, call, result ? Status::Returned : Status::Threw, result.value_or(-1));
        if (!result)
            throw silentFault();
        return *result;
    }

    template <class Record, class... Request>
    int fetch(DBFunction name, const std::string &call, int (*function)(int *, Record **, Request *...), int *n,
              Record **records, Request *...request)
    {
        const Subject subject = {name, Use::Fetch};
        require(function, subject, call);
        const Watch watch;
        const auto result = callLibrary(name, [&] { return function(n, records, request...); });
        if (!result) {
            recordStatus(watch, subject, call, Status::Threw, -1);
            if (n)
                *n = 0; // of what it left there nothing is shown, as without the recorder
            throw silentFault();
        }
        const Moment moment = watch.moment();
        if (m_writer && m_running == 0)
            recordFetch(moment, subject, call, *result, n ? *n : 0, records ? *records : nullptr);
        return *result;
    }

    template <class Record>
    void recordFetch(const Moment &moment, Subject subject, const std::string &call, int result, int count,
                     const Record *records)
    {
        std::optional<Calls::FetchAnswer<Record>> answer;
        try {
            answer.emplace(result, count, records);
        } catch (const Calls::TooLarge &) {
            const std::string without = Calls::answerMessage(subject, {Status::TooLarge, -1});
            return recordAt(moment, subject, call, wholeAnswer(without));
        }
        recordAt(moment, subject, call, {answer->size(), [&](Calls::ByteSink &sink, std::uint64_t offset) {
                                             if (m_settings->hasTexts)
                                                 return answer->write(sink, offset);
                                             Recording::SinkWithoutTexts without(sink, offset + answer->textStart());
                                             answer->write(without, offset);
                                         }});
    }

    template <class Record, class... Request>
    int release(DBFunction name, int (*function)(int *, Record **, Request *...), Record **records, Request *...request)
    {
        return pass({name, Use::Release}, Calls::releaseCall(name), function, nullptr, records, request...);
    }

    template <class Record> int put(DBFunction name, int (*function)(Record *), Record *record, int Record::*identifier)
    {
        const Subject subject = {name, Use::Plain};
        const std::string call = Calls::putCall(record);
        require(function, subject, call);
        const Watch watch;
        const auto result = callLibrary(name, [&] { return function(record); });
        if (!result) {
            recordStatus(watch, subject, call, Status::Threw, -1);
            throw silentFault();
        }
        this->record(watch, subject, call,
                     wholeAnswer(Calls::putAnswer(name, *result, record ? record->*identifier : 0)));
        return *result;
    }

    std::optional<RecorderSettings> m_settings;
    DBFunctions m_functions;
    std::unique_ptr<Recording::Writer> m_writer;
    int m_running = 0; ///< calls of the library; one inside another is the library's own and not recorded
};
} // namespace

StandIn &standIn()
{
    alignas(Recorder) static char place[sizeof(Recorder)];
    static auto *const recorder = new (place) Recorder;
    return *recorder;
}
