// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "copytarget.h"

#include "call.h"
#include "failure.h"
#include "filling.h"
#include "paging.h"
#include "parametertext.h"
#include "recordsum.h"
#include "source.h"
#include "translation.h"
#include "visibletext.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
/** Records that are put before their success is asked for. */
constexpr int MostUnsettled = 256;

/** The words of the frames: questions, then answers. */
constexpr char Put = 'p';
constexpr char Settle = 's';
constexpr char ListEvents = 'e';
constexpr char ListCommands = 'c';
constexpr char ListSensors = 'n';
constexpr char ListAlive = 'a';
constexpr char Done = '.';
constexpr char Portion = '+';
constexpr char Name = '-';
constexpr char Failed = '!';

constexpr std::size_t PortionBytes = 1 << 16;

/** The process that has the target's library. */
class Server
{
public:
    Server(Channel &channel, const Installation &installation)
        : m_channel(channel)
        , m_source(installation)
    {
    }

    /** Answers until the asking process goes. */
    void run()
    {
        m_channel.send(Done);
        for (;;) {
            m_channel.flush();
            handle(m_channel.receive());
        }
    }

private:
    void handle(const Frame &frame)
    {
        switch (frame.word) {
        case Put:
            put(frame.bytes);
            break;
        case Settle:
            m_channel.send(Done);
            break;
        case ListEvents:
            list<CMessageEvent>();
            break;
        case ListCommands:
            list<CMessageCommand>();
            break;
        default:
            listSensors(frame.word == ListAlive);
            break;
        }
    }

    void put(const std::string &bytes)
    {
        const Calls::Call call = Calls::readCall(bytes);
        const int result = call.event ? m_source.put(*call.event) : m_source.put(*call.command);
        if (result != 0) {
            throw Failure(
                filled(translated("%1 failed with %2"), call.event ? "FDBPutEvent" : "FDBPutCommand", result));
        }
    }

    template <class Record> void list()
    {
        std::string portion;
        Pager<Record>(m_source, {}).forEach({}, PageSize, [&](const Record &record) {
            const Stored stored = {RecordKind<Record>::id(record), recordSum(record)};
            portion.append(reinterpret_cast<const char *>(&stored), sizeof(stored));
            if (portion.size() >= PortionBytes) {
                m_channel.send(Portion, portion);
                portion.clear();
            }
            return true;
        });
        m_channel.send(Portion, portion);
        m_channel.send(Done);
    }

    void listSensors(bool onlyAlive)
    {
        for (const CSensor &sensor : m_source.sensors())
            if (!onlyAlive || sensor.MessageType == SensorAlive)
                m_channel.send(Name, std::string(recordBytes(sensor.SensorID, sensor.LSensorID)));
        m_channel.send(Done);
    }

    Channel &m_channel;
    Source m_source;
};

/** Ends the process. */
[[noreturn]] void serve(int descriptor, const std::string &baseDirectory)
{
    Channel channel(descriptor);
    try {
        Server(channel, Installation(baseDirectory)).run();
    } catch (const std::exception &error) {
        // When nobody asks any more, which is how the work ends, nobody is told.
        channel.send(Failed, error.what());
        channel.flush();
    }
    std::exit(0); // the library closes its database
}
} // namespace

CopyTarget::CopyTarget(const std::string &baseDirectory)
    : m_directory(baseDirectory)
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        throw Failure(filled(translated("no socket can be made: %1"), std::strerror(errno)));
    m_process = fork();
    if (m_process == 0) {
        close(ends[0]);
        serve(ends[1], baseDirectory);
    }
    const int error = errno;
    close(ends[1]);
    m_channel = std::make_unique<Channel>(ends[0]);
    if (m_process < 0)
        throw Failure(filled(translated("no process can be started: %1"), std::strerror(error)));
    try {
        answer();
    } catch (...) {
        m_channel.reset();
        if (m_process > 0)
            waitpid(m_process, nullptr, 0);
        throw;
    }
}

CopyTarget::~CopyTarget()
{
    m_channel.reset();
    if (m_process > 0)
        waitpid(m_process, nullptr, 0);
}

void CopyTarget::throwEnded()
{
    int status = 0;
    if (m_process > 0)
        waitpid(m_process, &status, 0);
    m_process = -1;
    const std::string directory = visibleText(m_directory);
    throw Failure(WIFSIGNALED(status)
                      ? filled(translated("%1: its DB library died of %2"), directory, strsignal(WTERMSIG(status)))
                      : filled(translated("%1: its DB library has ended"), directory));
}

/** The next frame, which is no failure. */
Frame CopyTarget::answer()
{
    m_channel->flush();
    Frame frame;
    try {
        frame = m_channel->receive();
    } catch (const Failure &) {
        throwEnded();
    }
    if (frame.word == Failed)
        throw Failure(visibleText(m_directory) + ": " + frame.bytes);
    return frame;
}

std::vector<std::string> CopyTarget::names(char question)
{
    m_channel->send(question);
    std::vector<std::string> found;
    for (Frame frame = answer(); frame.word == Name; frame = answer())
        found.push_back(frame.bytes);
    return found;
}

std::vector<std::string> CopyTarget::sensors()
{
    return names(ListSensors);
}

std::vector<std::string> CopyTarget::sensorsAlive()
{
    return names(ListAlive);
}

template <class Record> void CopyTarget::put(const Record &record)
{
    m_channel->send(Put, Calls::putCall(&record));
    if (++m_unsettled >= MostUnsettled)
        settle();
}

void CopyTarget::settle()
{
    m_unsettled = 0;
    m_channel->send(Settle);
    answer();
}

template <class Record> void CopyTarget::beginStored()
{
    m_channel->send(std::is_same_v<Record, CMessageEvent> ? ListEvents : ListCommands);
    m_portion.clear();
    m_taken = 0;
}

bool CopyTarget::nextStored(Stored &stored)
{
    while (m_taken == m_portion.size()) {
        Frame frame = answer();
        if (frame.word == Done)
            return false;
        m_portion = std::move(frame.bytes);
        m_taken = 0;
    }
    std::memcpy(&stored, m_portion.data() + m_taken, sizeof(stored));
    m_taken += sizeof(stored);
    return true;
}

template void CopyTarget::put(const CMessageEvent &);
template void CopyTarget::put(const CMessageCommand &);
template void CopyTarget::beginStored<CMessageEvent>();
template void CopyTarget::beginStored<CMessageCommand>();
