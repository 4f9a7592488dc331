// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "putting.h"

#include "bytetext.h"
#include "filling.h"
#include "output.h"
#include "paging.h"
#include "parametertext.h"
#include "translation.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <optional>

namespace
{
/** How sensors report that a command was carried out: an event of this name with the command's identifier. */
constexpr std::string_view ReportName = "CommandDone";
constexpr std::string_view IdentifierName = "command";
constexpr std::string_view ResultName = "result";
constexpr std::string_view RefusedResult = "unknown order";

constexpr double LookInterval = 0.2;
constexpr int ConsoleMessageType = 1; ///< what the console's windows put into their commands

void requireSensor(const Source &source, const std::string &name)
{
    for (const CSensor &sensor : source.sensors())
        if (recordBytes(sensor.SensorID, sensor.LSensorID) == name)
            return;
    throw Failure(
        filled(translated("there is no sensor '%1'; 'obrimctl sensors' lists those there are"), visible(name)));
}

template <class Record> std::int64_t newestOf(const Source &source)
{
    const Page<Record> page = Pager<Record>(source, {}).last({}, 1);
    return page.size() > 0 ? page.highest() : std::int64_t(INT_MIN) - 1;
}

/** Finds the stored form of a command among those above an identifier. Its time may be the store's own. */
std::optional<int> findStored(const Source &source, const CMessageCommand &command, std::int64_t above)
{
    std::optional<int> id;
    const auto name = recordBytes(command.SensorID, command.LSensorID);
    Pager<CMessageCommand>(source, {}).forEach({above + 1, INT_MAX}, PageSize, [&](const CMessageCommand &stored) {
        if (stored.CommandType == command.CommandType && recordBytes(stored.SensorID, stored.LSensorID) == name)
            id = stored.CommandID;
        return !id;
    });
    return id;
}

const CMessageEventParam *parameterOf(const CMessageEvent &event, std::string_view name)
{
    for (int i = 0; event.par && i < event.ParNum; ++i)
        if (recordBytes(event.par[i].Name, event.par[i].LName) == name)
            return &event.par[i];
    return nullptr;
}

bool reports(const CMessageEvent &event, std::string_view sensor, int command)
{
    const CMessageEventParam *id = parameterOf(event, IdentifierName);
    if (!id || recordBytes(event.EventName, event.LEventName) != ReportName ||
        recordBytes(event.SensorID, event.LSensorID) != sensor)
        return false;
    std::string value;
    appendValue(value, *id);
    return value == std::to_string(command);
}

/** What a sensor reports of its commands, from the time on when this is made. */
class Reports
{
public:
    Reports(const Source &source, const std::string &sensor)
        : m_source(source)
        , m_sensor(sensor)
        , m_seen(newestOf<CMessageEvent>(source))
    {
    }
    /** The result that was reported since the last look. */
    std::optional<std::string> look(int command)
    {
        std::optional<std::string> result;
        Pager<CMessageEvent>(m_source, {}).forEach({m_seen + 1, INT_MAX}, PageSize, [&](const CMessageEvent &event) {
            m_seen = event.MessageID;
            if (!reports(event, m_sensor, command))
                return true;
            result.emplace();
            if (const CMessageEventParam *parameter = parameterOf(event, ResultName))
                appendValue(*result, *parameter);
            return false;
        });
        return result;
    }

private:
    const Source &m_source;
    std::string m_sensor;
    std::int64_t m_seen;
};

int waitForReport(Reports &reported, int command, double seconds, Output &output)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    const volatile int never = 0;
    for (;;) {
        if (const std::optional<std::string> result = reported.look(command)) {
            output.write((result->empty() ? std::string(translated("carried out"))
                                          : filled(translated("carried out: %1"), visible(*result))) +
                         "\n");
            return *result == RefusedResult ? ExitFailure : ExitWell;
        }
        const double left = std::chrono::duration<double>(end - Clock::now()).count();
        if (left <= 0)
            break;
        if (!output.wait(std::min(left, LookInterval), &never))
            throw OutputClosed();
    }
    const std::string late =
        filled(translated("the sensor did not report within %1 s that command %2 was carried out"), seconds, command);
    std::fprintf(stderr, "obrimctl: %s\n", late.c_str());
    return ExitNotInTime;
}
} // namespace

int putCommand(const Source &source, const PutOptions &options, Output &output)
{
    requireSensor(source, options.sensor);
    std::optional<Reports> reported;
    if (options.wait)
        reported.emplace(source, options.sensor);
    const std::int64_t before = newestOf<CMessageCommand>(source);
    CMessageCommand command;
    command.Set(ConsoleMessageType, options.sensor.c_str(), options.order);
    const int result = source.put(command);
    const std::optional<int> id = findStored(source, command, before);
    if (!id) {
        throw Failure(filled(translated("the command was not stored: FDBPutCommand returned %1, and there is no new "
                                        "command"),
                             result));
    }
    output.write(filled(translated("command %1 stored"), *id) + "\n");
    output.flush();
    return options.wait ? waitForReport(*reported, *id, *options.wait, output) : int(ExitWell);
}
