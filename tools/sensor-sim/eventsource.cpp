// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "eventsource.h"

#include <iterator>

namespace
{
/** A kind of event: an integer, a measured value and a text. */
struct EventKind {
    const char *name;
    const char *integer;
    int least;
    int most;
    const char *measure;
    double low;
    double high;
    const char *text;
    const char *values[4];
};

constexpr EventKind AnalyserEvents[] = {
    {"LevelMeasured",
     "channel",
     1,
     16,
     "level",
     -90,
     0,
     "place",
     {"north antenna", "south antenna", "roof, east side", "test input"}},
    {"LimitExceeded",
     "limit",
     10,
     80,
     "value",
     10,
     120,
     "unit",
     {"dB above noise", "dB above carrier", "percent of range", "mV at the input"}},
    {"SpectrumReady",
     "points",
     256,
     8192,
     "resolution",
     0.5,
     50,
     "window",
     {"Hann window", "Blackman window", "flat top window", "no window"}},
    {"SelfTest",
     "errors",
     0,
     3,
     "temperature",
     18,
     61,
     "result",
     {"all parts in order", "reference drifts", "fan runs slowly", "all parts in order"}},
};

constexpr EventKind ConverterEvents[] = {
    {"BlocksConverted",
     "blocks",
     1,
     5000,
     "ratio",
     0.1,
     0.9,
     "format",
     {"16 bit linear, mono", "24 bit linear, stereo", "8 bit logarithmic", "raw samples"}},
    {"BufferLow",
     "free",
     0,
     64,
     "load",
     0.5,
     1,
     "buffer",
     {"input of stage one", "input of stage two", "output to the archive", "output to the network"}},
    {"FormatChanged",
     "channels",
     1,
     8,
     "samplerate",
     8,
     192,
     "cause",
     {"asked for by operator", "source has changed", "after a restart", "line quality fell"}},
};

constexpr EventKind ReceiverEvents[] = {
    {"SignalFound",
     "channel",
     1,
     120,
     "frequency",
     0.15,
     960,
     "modulation",
     {"amplitude modulation", "frequency modulation", "single sideband, upper", "keyed carrier"}},
    {"SignalLost",
     "seconds",
     1,
     3600,
     "frequency",
     0.15,
     960,
     "cause",
     {"faded below threshold", "ended by the sender", "covered by another", "retuned"}},
    {"Tuned",
     "step",
     1,
     1000,
     "frequency",
     0.15,
     960,
     "mode",
     {"search over all bands", "list of known signals", "set by an operator", "follows a signal"}},
};

struct Repertoire {
    const EventKind *kinds;
    std::size_t count;
};

Repertoire repertoire(int sensorKind)
{
    switch (sensorKind) {
    case Converter:
        return {ConverterEvents, std::size(ConverterEvents)};
    case Receiver:
        return {ReceiverEvents, std::size(ReceiverEvents)};
    default:
        return {AnalyserEvents, std::size(AnalyserEvents)};
    }
}

SimulatedSensor makeSensor(int index)
{
    static const char *const names[] = {"analyser", "converter", "receiver"};
    static const char *const tasks[] = {"Analyser of input ", "Converter of stream ", "Receiver at site "};
    const int kind = index % 3;
    const std::string number = std::to_string(index / 3 + 1);
    SimulatedSensor sensor;
    sensor.kind = kind + 1;
    sensor.name = names[kind] + std::string(number.size() < 2 ? "0" : "") + number;
    sensor.description = tasks[kind] + number;
    return sensor;
}
} // namespace

std::vector<SimulatedSensor> makeSensors(int count)
{
    std::vector<SimulatedSensor> sensors;
    sensors.reserve(std::size_t(count));
    for (int i = 0; i < count; ++i)
        sensors.push_back(makeSensor(i));
    return sensors;
}

EventSource::EventSource(const std::vector<SimulatedSensor> &sensors, unsigned seed)
    : m_random(seed)
{
    m_kinds.reserve(sensors.size());
    for (const SimulatedSensor &sensor : sensors)
        m_kinds.push_back(sensor.kind);
}

DrawnEvent EventSource::draw()
{
    // The library's distributions differ between implementations, the generator does not.
    const std::size_t sensor = m_random() % m_kinds.size();
    const Repertoire events = repertoire(m_kinds[sensor]);
    const EventKind &kind = events.kinds[m_random() % events.count];
    const int integer = kind.least + int(m_random() % unsigned(kind.most - kind.least + 1));
    // Three decimals, as an instrument would show them.
    const double share = double(m_random() % 1000) / 1000;
    const double measure = double(int((kind.low + share * (kind.high - kind.low)) * 1000)) / 1000;
    m_writer.addInteger(kind.integer, integer)
        .addDouble(kind.measure, measure)
        .addText(kind.text, kind.values[m_random() % std::size(kind.values)]);
    return {sensor, kind.name, m_writer.finish()};
}
