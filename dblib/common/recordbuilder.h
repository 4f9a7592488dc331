// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"
#include "newmessage.h"
#include "parameters.h"
#include "records.h"
#include "series.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

/** One row; `params` is valid while it is being handed over. */
struct Row {
    int id;
    int series;
    std::int64_t time;
    std::string_view params;
};

/** A text in a result's arena with the length that records give with it. */
struct Text {
    char *bytes = nullptr;
    int length = 0;
};

inline Text textIn(Arena &arena, std::optional<std::string_view> text)
{
    return text ? Text{arena.copy(*text), int(text->size()) + 1} : Text();
}

/** The texts of a series, once for all records of a result that have it. */
struct SeriesTexts {
    SeriesKey key;
    Text sensor;
    Text name;
};

inline void setSeries(CMessageEvent &event, const SeriesTexts &series)
{
    event.MessageType = series.key.messageType;
    event.SensorType = series.key.kind;
    event.SensorID = series.sensor.bytes;
    event.LSensorID = series.sensor.length;
    event.EventName = series.name.bytes;
    event.LEventName = series.name.length;
}

inline void setSeries(CMessageCommand &command, const SeriesTexts &series)
{
    command.MessageType = series.key.messageType;
    command.CommandType = series.key.kind;
    command.SensorID = series.sensor.bytes;
    command.LSensorID = series.sensor.length;
}

inline void setIdentity(CMessageEvent &event, const Row &row)
{
    event.MessageID = row.id;
    event.EventTime = std::time_t(clamped(row.time));
}

inline void setIdentity(CMessageCommand &command, const Row &row)
{
    command.CommandID = row.id;
    command.CommandTime = std::time_t(clamped(row.time));
}

/** Turns rows into records, each with the texts of its series, which are made once. */
template <class Record> class Builder
{
public:
    Builder(Records<Record> &result, const SeriesCatalogue &table)
        : m_records(result)
        , m_series(table)
        , m_places(std::size_t(table.end()), None)
    {
    }

    void add(const Row &row)
    {
        Record &record = m_records.add();
        setIdentity(record, row);
        setSeries(record, textsOf(row.series));
        record.par = m_reader.read(m_records.arena, row.params, record.ParNum);
    }

private:
    const SeriesTexts &textsOf(int series)
    {
        int &place = m_places[std::size_t(series)];
        if (place == None) {
            const SeriesKey key = m_series.key(series);
            m_texts.push_back({key, textIn(m_records.arena, key.sensor), textIn(m_records.arena, key.name)});
            place = int(m_texts.size()) - 1;
        }
        return m_texts[std::size_t(place)];
    }

    Records<Record> &m_records;
    const SeriesCatalogue &m_series;
    static constexpr int None = -1;
    /** Where a series' texts are. A corrupt table may have a huge last number, so the many are kept small. */
    std::vector<int> m_places;
    std::vector<SeriesTexts> m_texts;
    ParameterReader m_reader;
};
