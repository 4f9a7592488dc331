// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "statusreport.h"

#include "Messages.h"
#include "filling.h"
#include "format.h"
#include "translation.h"
#include "visibletext.h"

#include <cstdio>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace
{
using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

std::string line(const char *what, const std::string &text)
{
    return padded(what, 14) + text + "\n";
}

std::string symbolsText(const StatusReport &report)
{
    std::string missing;
    for (const std::string &function : report.missing)
        missing += (missing.empty() ? "" : " ") + function;
    if (report.symbols.empty())
        return filled(translated("%1 bits, not all functions, without %2"), report.bits, missing);
    if (missing.empty())
        return filled(translated("%1 bits, %2 symbols, all ten functions"), report.bits, report.symbols);
    return filled(translated("%1 bits, %2 symbols, without %3"), report.bits, report.symbols, missing);
}

std::string sizesText()
{
    return filled(translated("records of %1, %2 and %3 bytes, requests of %4 and %5"), sizeof(CSensor),
                  sizeof(CMessageEvent), sizeof(CMessageCommand), sizeof(CMessageEventRequest),
                  sizeof(CMessageCommandRequest));
}

std::string recordsText(const std::optional<RecordStatus> &records, TimeWriter &times)
{
    if (!records)
        return translated("unknown");
    if (!records->newestId)
        return translated("none");
    const std::string time = times.text(records->newestTime);
    return records->count ? filled(translated("%1, newest %2 of %3"), *records->count, *records->newestId, time)
                          : filled(translated("newest %1 of %2"), *records->newestId, time);
}

std::string sensorsText(const std::optional<SensorStatus> &sensors)
{
    if (!sensors)
        return translated("unknown");
    const SensorStatus &s = *sensors;
    const int count = s.alive + s.dead + s.unknown;
    return s.unknown > 0
               ? filled(translated("%1: %2 alive, %3 dead, %4 never heard of"), count, s.alive, s.dead, s.unknown)
               : filled(translated("%1: %2 alive, %3 dead"), count, s.alive, s.dead);
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
    std::string text = line(translated("installation"), visibleText(report.installation));
    const std::string link = report.linked.empty() ? "" : " -> " + visibleText(report.linked);
    text += line(translated("library"), visibleText(report.library) + link);
    if (report.sensors || report.events || report.commands || !report.symbols.empty()) {
        text += line("", symbolsText(report));
        text += line("", sizesText());
        text += line(translated("sensors"), sensorsText(report.sensors));
        text += line(translated("events"), recordsText(report.events, times));
        text += line(translated("commands"), recordsText(report.commands, times));
    }
    if (report.roundTrip) {
        char milliseconds[32];
        std::snprintf(milliseconds, sizeof(milliseconds), "%.3g ms", *report.roundTrip);
        text += line(translated("round trip"), milliseconds);
    }
    // The word is looked for by programs.
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
