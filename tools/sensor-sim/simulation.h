// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "eventsource.h"
#include "store.h"

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

/** Counts for the line of progress. */
struct SimulationTotals {
    std::int64_t events = 0; ///< written and confirmed, reports on commands included
    int commands = 0;        ///< carried out
    int sensors = 0;
    int dead = 0;
};

/**
 * Plays the sensors of one installation on its store. Time is told to it, so
 * that a test can step it. Every function throws StoreError.
 */
class Simulation
{
public:
    /** Seconds between two heartbeats of a sensor. */
    static constexpr double KeepAliveSeconds = 2;
    /** Seconds between two looks for commands. */
    static constexpr double CommandSeconds = 0.2;
    /** Name of the event that reports a command as carried out. */
    static constexpr const char *ReportName = "CommandDone";

    /** Makes the sensors known to the store and goes on in the state in which it has them. `log` may be NULL. */
    Simulation(Store &store, int sensors, unsigned seed, double rate, std::FILE *log);

    /** Goes on with another store in the state in which that has the sensors. What was not written yet goes there. */
    void moveTo(Store &store);
    /** False when that has failed: it has to be done again before anything else. */
    bool hasStore() const
    {
        return m_store != nullptr;
    }

    /**
     * Does what is due `elapsed` seconds after the start: events, heartbeats
     * and commands, each as one transaction. What could not be written when this
     * throws is written by the next call.
     */
    void advance(double elapsed);
    /** Draws the events that are due and keeps them for the next call of advance: for when there is no store. */
    void draw(double elapsed);

    /**
     * Writes `count` events of history that end now, as fast as it goes.
     * `progress` hears the number written after each transaction; false stops it.
     * While it runs the events are drawn in another thread.
     */
    void fill(int count, const std::function<bool(int)> &progress);

    SimulationTotals totals() const;

private:
    struct Sensor {
        SimulatedSensor self;
        SensorState state = SensorState::Running;
        int lastCommand = 0;
    };
    struct Pending {
        std::size_t sensor;
        std::string name;
        std::string params;
        std::int64_t time;
    };

    /** A part of the history; the messages' parameters stand in `params`. */
    struct Portion {
        std::vector<NewMessage> messages;
        std::unique_ptr<std::string> params;
    };

    void writePending();
    void writePortion();
    void keepAlive();
    void obey();
    void obey(const CMessageCommand &command);
    void noteCommandsRead();
    void introduceSensors(Store &store);
    bool takeStates(Store &store);
    SensorState storedState(const std::string &sensor);
    Portion drawPortion(int count, std::int64_t oldestAge, double historyRate, std::int64_t now);
    int report(const Sensor &sensor, const CMessageCommand &command);
    NewMessage message(const Sensor &sensor, std::string_view name, std::string_view params, std::int64_t time) const;
    void note(const char *what, int id, const std::string &sensor, std::string_view name);

    Store *m_store = nullptr; ///< not while moving
    EventSource m_source;
    double m_rate;
    std::FILE *m_log;
    std::vector<Sensor> m_sensors;
    std::unordered_map<std::string, std::size_t> m_sensorByName;
    std::vector<Pending> m_pending;
    std::size_t m_portion = 0; ///< so many of them are being written
    std::int64_t m_drawn = 0;
    std::int64_t m_written = 0;
    int m_commandsDone = 0;
    int m_lastCommandSeen = 0;
    double m_nextKeepAlive = 0;
    double m_nextCommands = 0;
};
