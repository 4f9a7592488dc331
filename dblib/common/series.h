// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/** What many rows have in common. A missing name differs from an empty one. */
struct SeriesKey {
    int messageType = 0;
    int kind = 0; ///< an event's sensor type, a command's order
    std::optional<std::string_view> sensor;
    std::optional<std::string_view> name; ///< an event's name; commands have none
};

/** Filters on series; what is not set lets all pass. */
struct SeriesFilter {
    std::optional<int> messageType;
    std::optional<int> kind;
    std::optional<std::string> sensorMask;
    std::optional<std::string> nameMask;

    bool passesAll() const
    {
        return !messageType && !kind && !sensorMask && !nameMask;
    }
};

/** The set of series that a filter lets through. */
struct SeriesSet {
    std::vector<int> ids;       ///< ascending
    std::vector<char> contains; ///< by identifier
    bool has(std::int64_t id) const
    {
        return id >= 0 && id < std::int64_t(contains.size()) && contains[std::size_t(id)];
    }
};

/** The series of one table in memory, by number. They are few and only ever added. */
class SeriesCatalogue
{
public:
    /** More series than this and the table is no series table; the bound keeps a corrupt one from taking all memory. */
    static constexpr std::int64_t LargestId = 1 << 22;

    /** Adds a series under a number of at most LargestId, above all numbers so far. On std::bad_alloc all are
     * forgotten. */
    void add(std::int64_t id, const SeriesKey &key);
    void forget();

    /** One past the largest identifier. */
    int end() const
    {
        return int(m_series.size());
    }
    bool exists(std::int64_t id) const
    {
        return id >= 0 && id < std::int64_t(m_series.size()) && m_series[std::size_t(id)].known;
    }
    /** Of an existing series; the texts are valid until the next addition. */
    SeriesKey key(int id) const;
    SeriesSet matching(const SeriesFilter &filter) const;
    /** The series with this key, if there is one. */
    std::optional<int> find(const SeriesKey &key) const;

private:
    struct Series {
        bool known = false;
        int messageType = 0;
        int kind = 0;
        int sensor = -1; ///< index into texts, -1: none
        int name = -1;
    };
    /** Distinct texts, each with its answer to a mask being asked for but once. */
    struct Texts {
        std::vector<std::string> texts;
        std::unordered_map<std::string, int> indexOf;
        std::unordered_map<std::string, std::vector<int>> plain; ///< lowered texts without wildcards
        std::vector<int> patterns;                               ///< texts with wildcards

        int add(std::optional<std::string_view> text);
        std::optional<std::string_view> at(int index) const;
        /** By index + 1, so that a missing text has a place too. */
        std::vector<char> matching(const std::string &mask) const;
    };

    void store(std::int64_t id, const SeriesKey &key);
    const std::string &lookupKey(const SeriesKey &key) const;

    std::vector<Series> m_series;
    std::unordered_map<std::string, int> m_idOf;
    mutable std::string m_scratch;
    Texts m_sensors;
    Texts m_names;
};
