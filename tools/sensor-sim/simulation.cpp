// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "simulation.h"

#include "clock.h"

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
    : m_source(makeSensors(sensorCount), seed)
    , m_rate(eventRate)
    , m_log(logFile)
{
    for (SimulatedSensor &sensor : makeSensors(sensorCount)) {
        m_sensorByName.emplace(sensor.name, m_sensors.size());
        m_sensors.emplace_back();
        m_sensors.back().self = std::move(sensor);
    }
    moveTo(used);
}

void Simulation::moveTo(Store &store)
{
    m_store = nullptr;
    introduceSensors(store);
    m_store = &store;
}

void Simulation::introduceSensors(Store &store)
{
    Store::Batch batch(store);
    for (const Sensor &sensor : m_sensors)
        store.registerSensor(sensor.self.name, sensor.self.kind, sensor.self.description);
    takeStates(store);
    batch.commit();
}

void Simulation::advance(double elapsed)
{
    if (elapsed >= m_nextCommands) {
        obey();
        m_nextCommands = elapsed + CommandSeconds;
    }
    draw(elapsed);
    writePending();
    if (elapsed >= m_nextKeepAlive) {
        keepAlive();
        m_nextKeepAlive = elapsed + KeepAliveSeconds;
    }
}

void Simulation::draw(double elapsed)
{
    const auto due = std::int64_t(std::floor(elapsed * m_rate));
    for (; m_drawn < due && m_pending.size() < MostPending; ++m_drawn) {
        const DrawnEvent event = m_source.draw();
        if (m_sensors[event.sensor].state == SensorState::Running)
            m_pending.push_back({event.sensor, std::string(event.name), std::string(event.params), currentTime()});
    }
    m_drawn = std::max(m_drawn, due);
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
    while (!m_pending.empty()) {
        // A portion that may have been stored, although that was not confirmed, is tried again as it was:
        // so the store can know it.
        if (m_portion == 0)
            m_portion = m_pending.size();
        writePortion();
        m_pending.erase(m_pending.begin(), m_pending.begin() + std::ptrdiff_t(m_portion));
        m_portion = 0;
    }
}

void Simulation::writePortion()
{
    std::vector<NewMessage> messages;
    for (std::size_t i = 0; i < m_portion; ++i) {
        const Pending &event = m_pending[i];
        messages.push_back(message(m_sensors[event.sensor], event.name, event.params, event.time));
    }
    int id = m_store->putEvents(messages);
    for (std::size_t i = 0; i < m_portion; ++i)
        note("event", id++, m_sensors[m_pending[i].sensor].self.name, m_pending[i].name);
    m_written += std::int64_t(m_portion);
}

void Simulation::keepAlive()
{
    std::vector<std::string> living;
    for (const Sensor &sensor : m_sensors)
        if (sensor.state != SensorState::Killed)
            living.push_back(sensor.self.name);
    m_store->keepAlive(living, currentTime());
}

void Simulation::obey()
{
    // Another state of the database may have been restored under it, with other sensors and fewer commands.
    if (!takeStates(*m_store))
        introduceSensors(*m_store);
    if (m_lastCommandSeen == INT_MAX)
        return; // there is none behind it
    CMessageCommandRequest request;
    request.NMax = CommandsAtOnce;
    request.TakeFirst1_Last0 = 1;
    request.UseCommandID0 = 1;
    request.CommandID0 = m_lastCommandSeen + 1;
    const auto commands = m_store->commands(request);
    for (int i = 0; i < commands->size(); ++i) {
        obey((*commands)[i]);
        m_lastCommandSeen = (*commands)[i].CommandID;
    }
    if (commands->size() > 0)
        noteCommandsRead();
}

/** Also for the sensors that the commands were not meant for: the next run would read them all again. */
void Simulation::noteCommandsRead()
{
    std::vector<std::string> names;
    for (const Sensor &sensor : m_sensors)
        names.push_back(sensor.self.name);
    m_store->readCommands(names, m_lastCommandSeen);
    takeStates(*m_store);
}

SensorState Simulation::storedState(const std::string &sensor)
{
    for (const StoredSensor &stored : m_store->storedSensors())
        if (stored.name == sensor)
            return stored.state;
    return SensorState::Running;
}

/** Goes on from what the store has of the sensors; false when it does not have all. */
bool Simulation::takeStates(Store &store)
{
    std::size_t found = 0;
    m_lastCommandSeen = INT_MAX;
    for (const StoredSensor &stored : store.storedSensors()) {
        const auto own = m_sensorByName.find(stored.name);
        if (own != m_sensorByName.end()) {
            m_sensors[own->second].state = stored.state;
            m_sensors[own->second].lastCommand = stored.lastCommand;
            m_lastCommandSeen = std::min(m_lastCommandSeen, stored.lastCommand);
            ++found;
        }
    }
    return found == m_sensors.size();
}

/** Its effect, the report of it, and the note that it was read are one transaction: a command is obeyed once. */
void Simulation::obey(const CMessageCommand &command)
{
    const auto found = m_sensorByName.find(command.SensorID ? command.SensorID : "");
    if (found == m_sensorByName.end() || command.CommandID <= m_sensors[found->second].lastCommand)
        return;
    Sensor after = m_sensors[found->second];
    after.lastCommand = command.CommandID;
    int reportId = 0;
    Store::Batch batch(*m_store);
    // Other programs may play the same sensors.
    if (m_store->readCommands({after.self.name}, command.CommandID) == 0)
        return;
    after.state = storedState(after.self.name);
    const bool hears = after.state != SensorState::Killed || command.CommandType == CommandStart;
    if (hears) {
        after.state = stateAfter(command.CommandType, after.state);
        m_store->setState(after.self.name, after.state);
        m_store->keepAlive({after.self.name}, currentTime());
        reportId = report(after, command);
    }
    batch.commit();
    m_sensors[found->second] = after;
    if (hears) {
        ++m_written;
        ++m_commandsDone;
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
    return m_store->putEvent(message(sensor, ReportName, writer.finish(), currentTime()));
}

void Simulation::note(const char *what, int id, const std::string &sensor, std::string_view name)
{
    if (m_log) {
        std::fprintf(m_log, "%s %d %s %.*s\n", what, id, sensor.c_str(), int(name.size()), name.data());
        std::fflush(m_log);
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
        events.push_back(m_source.draw());
        starts.push_back(portion.params->size());
        *portion.params += events.back().params;
    }
    starts.push_back(portion.params->size());
    portion.messages.reserve(events.size());
    for (std::size_t i = 0; i < events.size(); ++i) {
        const double age = double(oldestAge - std::int64_t(i)) / historyRate;
        const std::string_view own(portion.params->data() + starts[i], starts[i + 1] - starts[i]);
        portion.messages.push_back(message(m_sensors[events[i].sensor], events[i].name, own, now - std::int64_t(age)));
    }
    return portion;
}

void Simulation::fill(int count, const std::function<bool(int)> &progress)
{
    const double historyRate = m_rate > 0 ? m_rate : DefaultHistoryRate;
    const std::int64_t now = currentTime();
    m_store->expectMany();
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
        if (drawnUpTo < count)
            next = startDrawing(drawnUpTo);
        m_store->putEvents(portion.messages);
        done = drawnUpTo;
        m_written += std::int64_t(portion.messages.size());
        if (!progress(done))
            return;
    }
}

SimulationTotals Simulation::totals() const
{
    SimulationTotals totals;
    totals.events = m_written;
    totals.commands = m_commandsDone;
    totals.sensors = int(m_sensors.size());
    totals.dead = int(std::count_if(m_sensors.begin(), m_sensors.end(),
                                    [](const Sensor &sensor) { return sensor.state == SensorState::Killed; }));
    return totals;
}
