// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "parameters.h"

#include <random>
#include <string>
#include <string_view>
#include <vector>

/** Kinds of sensors, as the console's windows number them. */
enum SensorKind { Analyser = 1, Converter = 2, Receiver = 3 };

/** A sensor of the installation that is played. */
struct SimulatedSensor {
    std::string name;
    std::string description;
    int kind = Analyser;
};

/** `count` sensors, the kinds in turn: analyser01, converter01, receiver01, analyser02 ... */
std::vector<SimulatedSensor> makeSensors(int count);

/** What a sensor reports; valid until the next one is drawn. */
struct DrawnEvent {
    std::size_t sensor; ///< index into the sensors
    std::string_view name;
    std::string_view params; ///< stored form
};

/** Draws plausible events of sensors. The same seed and sensors give the same events on every machine. */
class EventSource
{
public:
    EventSource(const std::vector<SimulatedSensor> &sensors, unsigned seed);
    DrawnEvent draw();

private:
    std::vector<int> m_kinds;
    std::mt19937 m_random;
    ParameterWriter m_writer;
};
