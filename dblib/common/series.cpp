// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "series.h"

#include "WCompare.h"

#include <new>

namespace
{
std::string lowered(std::string text)
{
    strlwr_win(text.data());
    return text;
}

/** Where the answer for a text stands; a missing text, -1, has the first place. */
std::size_t placeOf(int text)
{
    return std::size_t(text) + 1;
}
} // namespace

int SeriesCatalogue::Texts::add(std::optional<std::string_view> text)
{
    if (!text)
        return -1;
    const auto [known, isNew] = indexOf.emplace(std::string(*text), int(texts.size()));
    if (isNew) {
        texts.push_back(known->first);
        if (text->find_first_of("*?+") == std::string_view::npos)
            plain[lowered(known->first)].push_back(known->second);
        else
            patterns.push_back(known->second);
    }
    return known->second;
}

std::optional<std::string_view> SeriesCatalogue::Texts::at(int index) const
{
    return index < 0 ? std::nullopt : std::optional<std::string_view>(texts[std::size_t(index)]);
}

std::vector<char> SeriesCatalogue::Texts::matching(const std::string &mask) const
{
    std::vector<char> result(texts.size() + 1, 0);
    // The stored name is the pattern: without wildcards it matches its equals only.
    result[0] = char(WCompareNoCase(mask.c_str(), ""));
    const auto check = [&](int index) {
        const auto place = std::size_t(index);
        result[place + 1] = char(WCompareNoCase(mask.c_str(), texts[place].c_str()));
    };
    const auto equal = plain.find(lowered(mask));
    if (equal != plain.end())
        for (const int index : equal->second)
            check(index);
    for (const int index : patterns)
        check(index);
    return result;
}

void SeriesCatalogue::forget()
{
    m_series.clear();
    m_idOf.clear();
    m_sensors = {};
    m_names = {};
}

const std::string &SeriesCatalogue::lookupKey(const SeriesKey &key) const
{
    m_scratch.assign(reinterpret_cast<const char *>(&key.messageType), sizeof key.messageType);
    m_scratch.append(reinterpret_cast<const char *>(&key.kind), sizeof key.kind);
    m_scratch += key.sensor ? 's' : '-';
    m_scratch += key.name ? 'n' : '-';
    m_scratch.append(key.sensor.value_or("")).append(1, '\0').append(key.name.value_or(""));
    return m_scratch;
}

void SeriesCatalogue::add(std::int64_t id, const SeriesKey &key)
{
    try {
        store(id, key);
    } catch (const std::bad_alloc &) {
        // A text may be known by now without its place: better read all again than mix up names.
        forget();
        throw;
    }
}

void SeriesCatalogue::store(std::int64_t id, const SeriesKey &key)
{
    Series added;
    added.known = true;
    added.messageType = key.messageType;
    added.kind = key.kind;
    added.sensor = m_sensors.add(key.sensor);
    added.name = m_names.add(key.name);
    m_idOf.emplace(lookupKey(key), int(id));
    m_series.resize(std::size_t(id) + 1);
    m_series[std::size_t(id)] = added;
}

SeriesKey SeriesCatalogue::key(int id) const
{
    const Series &found = m_series[std::size_t(id)];
    return {found.messageType, found.kind, m_sensors.at(found.sensor), m_names.at(found.name)};
}

SeriesSet SeriesCatalogue::matching(const SeriesFilter &filter) const
{
    SeriesSet result;
    result.contains.assign(m_series.size(), 0);
    const std::vector<char> bySensor = filter.sensorMask ? m_sensors.matching(*filter.sensorMask) : std::vector<char>();
    const std::vector<char> byName = filter.nameMask ? m_names.matching(*filter.nameMask) : std::vector<char>();
    for (std::size_t id = 0; id < m_series.size(); ++id) {
        const Series &one = m_series[id];
        if (one.known && (!filter.messageType || *filter.messageType == one.messageType) &&
            (!filter.kind || *filter.kind == one.kind) && (!filter.sensorMask || bySensor[placeOf(one.sensor)]) &&
            (!filter.nameMask || byName[placeOf(one.name)])) {
            result.contains[id] = 1;
            result.ids.push_back(int(id));
        }
    }
    return result;
}

std::optional<int> SeriesCatalogue::find(const SeriesKey &key) const
{
    const auto known = m_idOf.find(lookupKey(key));
    return known != m_idOf.end() ? std::optional(known->second) : std::nullopt;
}
