// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * The player: a DB library that gives the answers which a recording has to the
 * same requests.
 */
#include "answer.h"
#include "callkey.h"
#include "definitions.h"
#include "lender.h"
#include "recordingreader.h"
#include "recordsizes.h"
#include "standin.h"

#include <memory>
#include <new>

namespace
{
using Calls::Subject;
using Calls::Use;
using Recording::RecordedAnswer;

class Player : public StandIn
{
public:
    int initialise(DBFunction function, const char *configDir) override
    {
        if (!configDir)
            throw std::invalid_argument("no configuration directory was given");
        useRecording(Definitions(*configDir ? configDir : ".").requiredPath("Play"));
        return resultOf(Calls::initCall(function, configDir));
    }

    int sizeQuery(DBFunction function) override
    {
        if (!m_recording)
            return ownSizes(function);
        const std::optional<RecordedAnswer> recorded = m_recording->next(Calls::readCall(Calls::queryCall(function)));
        if (!recorded)
            return ownSizes(function); // whoever recorded did not ask
        return translatedSizes(function, read({function, Use::Query}, *recorded).head.result, recorded->bits);
    }

    int fetch(int *n, CSensor **sensors) override
    {
        return lend(n, sensors, Calls::fetchCall());
    }
    int fetch(int *n, CMessageEvent **events, CMessageEventRequest *request) override
    {
        return lend(n, events, Calls::fetchCall(request));
    }
    int fetch(int *n, CMessageCommand **commands, CMessageCommandRequest *request) override
    {
        return lend(n, commands, Calls::fetchCall(request));
    }
    int release(CSensor **sensors) override
    {
        return m_lender.takeBack(sensors);
    }
    int release(CMessageEvent **events, CMessageEventRequest *) override
    {
        return m_lender.takeBack(events);
    }
    int release(CMessageCommand **commands, CMessageCommandRequest *) override
    {
        return m_lender.takeBack(commands);
    }

    int put(CMessageCommand *command) override
    {
        return put(command, &CMessageCommand::CommandID);
    }
    int put(CMessageEvent *event) override
    {
        return put(event, &CMessageEvent::MessageID);
    }
    int remove(DBFunction function, int id) override
    {
        return resultOf(Calls::deleteCall(function, id));
    }

    void close() override {}

private:
    /** The same recording goes on where it was. */
    void useRecording(const std::string &path)
    {
        if (m_recording && m_path == path)
            return;
        m_recording.reset();
        m_recording = std::make_unique<Recording::Reader>(path);
        m_path = path;
    }

    RecordedAnswer answerTo(const std::string &message)
    {
        if (!m_recording)
            throw std::logic_error("the library was not initialised");
        const Calls::Call call = Calls::readCall(message);
        std::optional<RecordedAnswer> recorded = m_recording->next(call);
        if (!recorded)
            throw std::runtime_error(m_path + " has no answer to " + inWords(call));
        return std::move(*recorded);
    }

    /** An answer to a call that returned when it was recorded. */
    Calls::Answer read(Subject subject, const RecordedAnswer &recorded) const
    {
        const Calls::Answer answer = readWhole(recorded);
        if (!(answer.subject == subject))
            throw std::runtime_error(m_path + " is corrupt: an answer to another function");
        switch (answer.head.status) {
        case Calls::Status::Returned:
            return answer;
        case Calls::Status::Threw:
            throw std::runtime_error("threw an exception when it was recorded");
        case Calls::Status::Missing:
            throw std::runtime_error("was missing in the library that was recorded");
        default:
            throw std::runtime_error("gave an answer that was too large for the recording");
        }
    }

    Calls::Answer readWhole(const RecordedAnswer &recorded) const
    {
        try {
            return Calls::readAnswer(recorded.view());
        } catch (const Calls::CorruptMessage &fault) {
            throw std::runtime_error(m_path + " is corrupt: an answer's " + fault.what());
        }
    }

    int resultOf(const std::string &message)
    {
        return read(Calls::readCall(message).subject, answerTo(message)).head.result;
    }

    template <class Record> int lend(int *n, Record **records, const std::string &message)
    {
        emptyPlaces(n, records);
        RecordedAnswer recorded = answerTo(message);
        const Calls::Answer answer = read(Calls::readCall(message).subject, recorded);
        // The answer reads the bytes, which stay where they are.
        return m_lender.lend(std::move(recorded.bytes), answer, n, records);
    }

    template <class Record> int put(Record *record, int Record::*identifier)
    {
        const std::string message = Calls::putCall(record);
        const Calls::Answer answer = read(Calls::readCall(message).subject, answerTo(message));
        if (record)
            record->*identifier = answer.id;
        return answer.head.result;
    }

    std::string m_path;
    std::unique_ptr<Recording::Reader> m_recording;
    Lender<std::vector<char>> m_lender;
};
} // namespace

StandIn &standIn()
{
    alignas(Player) static char place[sizeof(Player)];
    static auto *const player = new (place) Player;
    return *player;
}
