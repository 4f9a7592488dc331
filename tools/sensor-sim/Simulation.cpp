// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "Simulation.h"

#include "Clock.h"

#include <algorithm>
#include <cmath>
#include <future>

namespace
{
/** Events held back while the database cannot be written; the sensors then fall silent. */
constexpr std::size_t MostPending = 100000;
/** Commands read at once. */
constexpr int CommandsAtOnce = 1000;
/** Events of history in one transaction: the larger, the fewer pages are written twice. */
constexpr int FillBatch = 50000;
constexpr double DefaultHistoryRate = 20;

std::string orderName(int commandType)
{
    switch (commandType) {
    case CommandStart:
        return "Start";
    case CommandStop:
        return "Stop";
    case CommandRestart:
        return "Restart";
    case CommandKill:
        return "Kill";
    default:
        return std::to_string(commandType);
    }
}

bool isKnownOrder(int commandType)
{
    return commandType >= CommandStart && commandType <= CommandKill;
}

SensorState stateAfter(int commandType, SensorState before)
{
    switch (commandType) {
    case CommandStart:
    case CommandRestart:
        return SensorState::Running;
    case CommandStop:
        return SensorState::Stopped;
    case CommandKill:
        return SensorState::Killed;
    default:
        return before;
    }
}

const char *stateName(SensorState state)
{
    static const char *const names[] = {"running", "stopped", "dead"};
    return names[int(state)];
}
} // namespace

Simulation::Simulation(Store &used, int sensorCount, unsigned seed, double eventRate, std::FILE *logFile)
    : store(used)
    , source(makeSensors(sensorCount), seed)
    , rate(eventRate)
    , log(logFile)
{
    std::vector<SimulatedSensor> made = makeSensors(sensorCount);
    Store::Batch batch(store);
    for (SimulatedSensor &sensor : made) {
        store.registerSensor(sensor.name, sensor.kind, sensor.description);
        sensorByName.emplace(sensor.name, sensors.size());
        sensors.emplace_back();
        sensors.back().self = std::move(sensor);
    }
    lastCommandSeen = INT_MAX;
    for (const StoredSensor &stored : store.storedSensors()) {
        const auto found = sensorByName.find(stored.name);
        if (found != sensorByName.end()) {
            sensors[found->second].state = stored.state;
            sensors[found->second].lastCommand = stored.lastCommand;
            lastCommandSeen = std::min(lastCommandSeen, stored.lastCommand);
        }
    }
    batch.commit();
}

void Simulation::advance(double elapsed)
{
    if (elapsed >= nextCommands) {
        obey();
        nextCommands = elapsed + CommandSeconds;
    }
    drawDue(elapsed);
    writePending();
    if (elapsed >= nextKeepAlive) {
        keepAlive();
        nextKeepAlive = elapsed + KeepAliveSeconds;
    }
}

void Simulation::drawDue(double elapsed)
{
    const auto due = std::int64_t(std::floor(elapsed * rate));
    for (; drawn < due && pending.size() < MostPending; ++drawn) {
        const DrawnEvent event = source.draw();
        if (sensors[event.sensor].state == SensorState::Running) {
            pending.push_back({event.sensor, std::string(event.name), std::string(event.params), CurrentTime()});
        }
    }
    drawn = std::max(drawn, due);
}

NewMessage Simulation::message(const Sensor &sensor, std::string_view name, std::string_view params,
                               std::int64_t time) const
{
    NewMessage result;
    // The events list filters kinds of sensors by the kind of message.
    result.series = {sensor.self.kind, sensor.self.kind, sensor.self.name, name};
    result.time = time;
    result.params = params;
    return result;
}

void Simulation::writePending()
{
    if (pending.empty()) {
        return;
    }
    std::vector<NewMessage> messages;
    for (const Pending &event : pending) {
        messages.push_back(message(sensors[event.sensor], event.name, event.params, event.time));
    }
    int id = store.putEvents(messages);
    for (const Pending &event : pending) {
        note("event", id++, sensors[event.sensor].self.name, event.name);
    }
    written += std::int64_t(pending.size());
    pending.clear();
}

void Simulation::keepAlive()
{
    Store::Batch batch(store);
    for (const Sensor &sensor : sensors) {
        if (sensor.state != SensorState::Killed) {
            store.keepAlive(sensor.self.name, CurrentTime());
        }
    }
    batch.commit();
}

void Simulation::obey()
{
    CMessageCommandRequest request;
    request.NMax = CommandsAtOnce;
    request.TakeFirst1_Last0 = 1;
    request.UseCommandID0 = 1;
    request.CommandID0 = lastCommandSeen + 1;
    const auto commands = store.commands(request);
    for (int i = 0; i < commands->size(); ++i) {
        obey((*commands)[i]);
        lastCommandSeen = (*commands)[i].CommandID;
    }
    if (commands->size() > 0) {
        noteCommandsRead();
    }
}

/** Also for the sensors that the commands were not meant for: the next run would read them all again. */
void Simulation::noteCommandsRead()
{
    Store::Batch batch(store);
    for (const Sensor &sensor : sensors) {
        store.setLastCommand(sensor.self.name, lastCommandSeen);
    }
    batch.commit();
    for (Sensor &sensor : sensors) {
        sensor.lastCommand = std::max(sensor.lastCommand, lastCommandSeen);
    }
}

/** Its effect, the report of it, and the note that it was read are one transaction: a command is obeyed once. */
void Simulation::obey(const CMessageCommand &command)
{
    const auto found = sensorByName.find(command.SensorID ? command.SensorID : "");
    if (found == sensorByName.end() || command.CommandID <= sensors[found->second].lastCommand) {
        return;
    }
    Sensor after = sensors[found->second];
    after.lastCommand = command.CommandID;
    int reportId = 0;
    Store::Batch batch(store);
    const bool hears = after.state != SensorState::Killed || command.CommandType == CommandStart;
    if (hears) {
        after.state = stateAfter(command.CommandType, after.state);
        store.setState(after.self.name, after.state);
        store.keepAlive(after.self.name, CurrentTime());
        reportId = report(after, command);
    }
    store.setLastCommand(after.self.name, command.CommandID);
    batch.commit();
    sensors[found->second] = after;
    if (hears) {
        ++written;
        ++commandsDone;
        note("event", reportId, after.self.name, ReportName);
        note("command", command.CommandID, after.self.name, orderName(command.CommandType));
    }
}

int Simulation::report(const Sensor &sensor, const CMessageCommand &command)
{
    ParameterWriter writer;
    writer.addInteger("command", command.CommandID)
        .addText("order", orderName(command.CommandType))
        .addText("result", isKnownOrder(command.CommandType) ? stateName(sensor.state) : "unknown order");
    return store.putEvent(message(sensor, ReportName, writer.finish(), CurrentTime()));
}

void Simulation::note(const char *what, int id, const std::string &sensor, std::string_view name)
{
    if (log) {
        std::fprintf(log, "%s %d %s %.*s\n", what, id, sensor.c_str(), int(name.size()), name.data());
        std::fflush(log);
    }
}

Simulation::Portion Simulation::drawPortion(int count, std::int64_t oldestAge, double historyRate, std::int64_t now)
{
    Portion portion;
    portion.params = std::make_unique<std::string>();
    std::vector<DrawnEvent> events;
    std::vector<std::size_t> starts;
    events.reserve(std::size_t(count));
    starts.reserve(std::size_t(count) + 1);
    for (int i = 0; i < count; ++i) {
        events.push_back(source.draw());
        starts.push_back(portion.params->size());
        *portion.params += events.back().params;
    }
    starts.push_back(portion.params->size());
    portion.messages.reserve(events.size());
    for (std::size_t i = 0; i < events.size(); ++i) {
        const double age = double(oldestAge - std::int64_t(i)) / historyRate;
        const std::string_view own(portion.params->data() + starts[i], starts[i + 1] - starts[i]);
        portion.messages.push_back(message(sensors[events[i].sensor], events[i].name, own, now - std::int64_t(age)));
    }
    return portion;
}

void Simulation::fill(int count, const std::function<bool(int)> &progress)
{
    const double historyRate = rate > 0 ? rate : DefaultHistoryRate;
    const std::int64_t now = CurrentTime();
    // Each checkpoint waits for the disk: one for several portions is enough.
    store.connection().run("PRAGMA wal_autocheckpoint=10000");
    // The next portion is drawn while the store is busy with this one.
    const auto startDrawing = [&](int done) {
        return std::async(std::launch::async, [this, done, count, historyRate, now] {
            return drawPortion(std::min(FillBatch, count - done), count - 1 - done, historyRate, now);
        });
    };
    std::future<Portion> next = startDrawing(0);
    for (int done = 0; done < count;) {
        const Portion portion = next.get();
        const int drawnUpTo = done + int(portion.messages.size());
        if (drawnUpTo < count) {
            next = startDrawing(drawnUpTo);
        }
        store.putEvents(portion.messages);
        done = drawnUpTo;
        written += std::int64_t(portion.messages.size());
        if (!progress(done)) {
            return;
        }
    }
}

SimulationTotals Simulation::totals() const
{
    SimulationTotals totals;
    totals.events = written;
    totals.commands = commandsDone;
    totals.sensors = int(sensors.size());
    totals.dead = int(std::count_if(sensors.begin(), sensors.end(),
                                    [](const Sensor &sensor) { return sensor.state == SensorState::Killed; }));
    return totals;
}
