// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "statusreport.h"

#include "Messages.h"
#include "format.h"
#include "visibletext.h"

#include <cstdio>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace
{
using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

std::string number(std::int64_t value)
{
    return std::to_string(value);
}

std::string line(const char *what, const std::string &text)
{
    std::string padded = what;
    padded.resize(14, ' ');
    return padded + text + "\n";
}

std::string symbolsText(const StatusReport &report)
{
    std::string text = number(report.bits) + " bits, ";
    text += report.symbols.empty() ? "not all functions" : report.symbols + " symbols";
    if (report.missing.empty())
        return text + ", all ten functions";
    text += ", without";
    for (const std::string &function : report.missing)
        text += " " + function;
    return text;
}

std::string sizesText()
{
    return "records of " + number(sizeof(CSensor)) + ", " + number(sizeof(CMessageEvent)) + " and " +
           number(sizeof(CMessageCommand)) + " bytes, requests of " + number(sizeof(CMessageEventRequest)) + " and " +
           number(sizeof(CMessageCommandRequest));
}

std::string recordsText(const std::optional<RecordStatus> &records, TimeWriter &times)
{
    if (!records)
        return "unknown";
    if (!records->newestId)
        return "none";
    const std::string newest = "newest " + number(*records->newestId) + " of " + times.text(records->newestTime);
    return (records->count ? number(*records->count) + ", " : "") + newest;
}

std::string sensorsText(const std::optional<SensorStatus> &sensors)
{
    if (!sensors)
        return "unknown";
    const SensorStatus &s = *sensors;
    std::string text =
        number(s.alive + s.dead + s.unknown) + ": " + number(s.alive) + " alive, " + number(s.dead) + " dead";
    return text + (s.unknown > 0 ? ", " + number(s.unknown) + " never heard of" : "");
}

void write(Writer &writer, const char *key, const std::string &text)
{
    writer.Key(key);
    text.empty() ? writer.Null() : writer.String(text.c_str(), rapidjson::SizeType(text.size()));
}

void writeNumber(Writer &writer, const char *key, std::int64_t value)
{
    writer.Key(key);
    writer.Int64(value);
}

/** Sizes in bytes of what crosses the boundary to the library, whose own were found to be the same unless a fault says
 * so. */
void writeSizes(Writer &writer)
{
    writer.Key("sizes");
    writer.StartObject();
    writeNumber(writer, "sensor", sizeof(CSensor));
    writeNumber(writer, "event", sizeof(CMessageEvent));
    writeNumber(writer, "event_request", sizeof(CMessageEventRequest));
    writeNumber(writer, "command", sizeof(CMessageCommand));
    writeNumber(writer, "command_request", sizeof(CMessageCommandRequest));
    writer.EndObject();
}

void writeList(Writer &writer, const char *key, const std::vector<std::string> &texts)
{
    writer.Key(key);
    writer.StartArray();
    for (const std::string &text : texts)
        writer.String(text.c_str(), rapidjson::SizeType(text.size()));
    writer.EndArray();
}

void writeLibrary(Writer &writer, const StatusReport &report)
{
    writer.Key("library");
    writer.StartObject();
    write(writer, "file", visibleText(report.library));
    write(writer, "link", visibleText(report.linked));
    writeNumber(writer, "bits", report.bits);
    write(writer, "symbols", report.symbols);
    writeList(writer, "missing", report.missing);
    writeSizes(writer);
    writer.EndObject();
}

void writeSensors(Writer &writer, const std::optional<SensorStatus> &sensors)
{
    writer.Key("sensors");
    if (!sensors) {
        writer.Null();
        return;
    }
    writer.StartObject();
    writeNumber(writer, "count", sensors->alive + sensors->dead + sensors->unknown);
    writeNumber(writer, "alive", sensors->alive);
    writeNumber(writer, "dead", sensors->dead);
    writeNumber(writer, "unknown", sensors->unknown);
    writer.EndObject();
}

void writeRecords(Writer &writer, const char *key, const std::optional<RecordStatus> &records, TimeWriter &times)
{
    writer.Key(key);
    if (!records) {
        writer.Null();
        return;
    }
    writer.StartObject();
    writer.Key("count");
    records->count ? writer.Int64(*records->count) : writer.Null();
    writer.Key("newest_id");
    records->newestId ? writer.Int(*records->newestId) : writer.Null();
    write(writer, "newest_time", records->newestId ? times.text(records->newestTime) : "");
    writer.EndObject();
}
} // namespace

std::string statusText(const StatusReport &report, Clock clock)
{
    TimeWriter times(clock);
    std::string text = line("installation", visibleText(report.installation));
    const std::string link = report.linked.empty() ? "" : " -> " + visibleText(report.linked);
    text += line("library", visibleText(report.library) + link);
    if (report.sensors || report.events || report.commands || !report.symbols.empty()) {
        text += line("", symbolsText(report));
        text += line("", sizesText());
        text += line("sensors", sensorsText(report.sensors));
        text += line("events", recordsText(report.events, times));
        text += line("commands", recordsText(report.commands, times));
    }
    if (report.roundTrip) {
        char milliseconds[32];
        std::snprintf(milliseconds, sizeof(milliseconds), "%.3g ms", *report.roundTrip);
        text += line("round trip", milliseconds);
    }
    for (const std::string &fault : report.faults)
        text += line("WRONG", visibleText(fault));
    return text;
}

std::string statusJson(const StatusReport &report, Clock clock)
{
    TimeWriter times(clock);
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    writer.Key("well");
    writer.Bool(report.faults.empty());
    write(writer, "installation", visibleText(report.installation));
    writeLibrary(writer, report);
    writeSensors(writer, report.sensors);
    writeRecords(writer, "events", report.events, times);
    writeRecords(writer, "commands", report.commands, times);
    writer.Key("round_trip_ms");
    report.roundTrip ? writer.Double(*report.roundTrip) : writer.Null();
    std::vector<std::string> faults;
    for (const std::string &fault : report.faults)
        faults.push_back(visibleText(fault));
    writeList(writer, "faults", faults);
    writer.EndObject();
    return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}
