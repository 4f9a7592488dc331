// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * The bridge: a DB library that has the real one work in a process of its own,
 * whose word width may be another one.
 */
#include "answer.h"
#include "call.h"
#include "hostkeeper.h"
#include "lender.h"
#include "recordsizes.h"
#include "standin.h"

#include <array>
#include <new>

namespace
{
using Calls::Subject;
using Calls::Use;

std::string sizesText(DBFunction function, int sizes)
{
    if (function == DBFunctionGetSensors)
        return std::to_string(sizes);
    return std::to_string(sizes & 0xFFFF) + " and " + std::to_string(sizes >> 16 & 0xFFFF);
}

/** The library threw an exception, which the host has told. */
class LibraryThrew : public CallFault
{
public:
    LibraryThrew()
        : CallFault("")
    {
    }
};

class Bridge : public StandIn
{
public:
    int initialise(DBFunction function, const char *configDir) override
    {
        if (!configDir)
            throw std::invalid_argument("no configuration directory was given");
        useSettings(*configDir ? configDir : ".");
        m_keeper.noteInitialisation(function, configDir);
        return resultOf({function, Use::Plain}, Calls::initCall(function, configDir));
    }

    int sizeQuery(DBFunction function) override
    {
        // Without a host there is nothing to ask yet: the fetch starts one, and asks it.
        if (!m_keeper.isRunning())
            return ownSizes(function);
        try {
            return askForSizes(function, m_keeper.deadline());
        } catch (const LibraryThrew &) {
            return -1;
        } catch (const CallFault &fault) {
            tell(fault.what());
            return ownSizes(function);
        }
    }

    int fetch(int *n, CSensor **sensors) override
    {
        return lend(DBFunctionGetSensors, n, sensors, Calls::fetchCall());
    }
    int fetch(int *n, CMessageEvent **events, CMessageEventRequest *request) override
    {
        return lend(DBFunctionGetEvents, n, events, Calls::fetchCall(request));
    }
    int fetch(int *n, CMessageCommand **commands, CMessageCommandRequest *request) override
    {
        return lend(DBFunctionGetCommands, n, commands, Calls::fetchCall(request));
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
        return put(DBFunctionPutCommand, command, &CMessageCommand::CommandID);
    }
    int put(CMessageEvent *event) override
    {
        return put(DBFunctionPutEvent, event, &CMessageEvent::MessageID);
    }
    int remove(DBFunction function, int id) override
    {
        return resultOf({function, Use::Plain}, Calls::deleteCall(function, id));
    }

    void close() override
    {
        m_keeper.leave();
    }

private:
    /** An answer with the bytes that it reads. */
    struct ReadAnswer {
        Received bytes;
        Calls::Answer answer;
    };

    void useSettings(const std::string &configDir)
    {
        try {
            m_keeper.use(readBridgeSettings(configDir));
        } catch (...) {
            // Whatever failed, no call may go to the library of before.
            m_keeper.forget();
            throw;
        }
    }

    /** The answer to a call that returned. Throws CallFault for any other. */
    ReadAnswer ask(Subject subject, const std::string &message, const Deadline &deadline)
    {
        if (!m_keeper.greeting(subject.function, deadline).has(subject.function))
            failForMissing(subject.function);
        Received bytes = m_keeper.call(subject, message, deadline);
        const Calls::Answer answer = read(subject, bytes);
        if (answer.head.status == Calls::Status::Missing)
            failForMissing(subject.function);
        if (answer.head.status == Calls::Status::TooLarge)
            throw CallFault(m_keeper.library() + " gives more in " + DBSymbols[subject.function].key +
                            " than can be passed on");
        if (answer.head.status != Calls::Status::Returned)
            throw LibraryThrew();
        return {std::move(bytes), answer};
    }

    Calls::Answer read(Subject subject, const Received &bytes)
    {
        try {
            Calls::Answer answer = Calls::readAnswer(bytes.bytes());
            if (!(answer.subject == subject))
                throw Calls::CorruptMessage(0, "the answer to another function");
            return answer;
        } catch (const Calls::CorruptMessage &fault) {
            m_keeper.failForRubbish(subject.function, fault);
        }
    }

    [[noreturn]] void failForMissing(DBFunction function)
    {
        const bool isNews = m_missing[function] != m_keeper.generation();
        m_missing[function] = m_keeper.generation();
        throw CallFault(isNews ? m_keeper.library() + " has no " + DBSymbols[function].key : std::string());
    }

    int resultOf(Subject subject, const std::string &message)
    {
        return ask(subject, message, m_keeper.deadline()).answer.head.result;
    }

    /** The size query; what is right for the library is right here, whatever the word widths. */
    int askForSizes(DBFunction function, const Deadline &deadline)
    {
        const int sizes = ask({function, Use::Query}, Calls::queryCall(function), deadline).answer.head.result;
        const int here = translatedSizes(function, sizes, m_keeper.greeting(function, deadline).bits);
        if (here == ownSizes(function))
            m_checked[function] = m_keeper.generation();
        return here;
    }

    /** The host of the call may be another one than that which the size query went to. */
    void requireSizes(DBFunction function, const Deadline &deadline)
    {
        if (m_checked[function] == m_keeper.generation())
            return;
        const int sizes = askForSizes(function, deadline);
        if (sizes != ownSizes(function))
            throw CallFault(m_keeper.library() + " has records of another size: " + DBSymbols[function].key +
                            " answers " + sizesText(function, sizes));
    }

    template <class Record> int lend(DBFunction function, int *n, Record **records, const std::string &message)
    {
        emptyPlaces(n, records);
        const Deadline deadline = m_keeper.deadline();
        m_keeper.greeting(function, deadline);
        requireSizes(function, deadline);
        auto [bytes, answer] = ask({function, Use::Fetch}, message, deadline);
        return m_lender.lend(std::move(bytes), answer, n, records);
    }

    template <class Record> int put(DBFunction function, Record *record, int Record::*identifier)
    {
        const auto answer = ask({function, Use::Plain}, Calls::putCall(record), m_keeper.deadline()).answer;
        if (record)
            record->*identifier = answer.id;
        return answer.head.result;
    }

    HostKeeper m_keeper;
    Lender<Received> m_lender;
    // By function: the host, as HostKeeper counts them, that was found to have the right sizes, or told to lack it.
    std::array<int, DBFunctionCount> m_checked = {};
    std::array<int, DBFunctionCount> m_missing = {};
};
} // namespace

StandIn &standIn()
{
    alignas(Bridge) static char place[sizeof(Bridge)];
    static auto *const bridge = new (place) Bridge;
    return *bridge;
}
