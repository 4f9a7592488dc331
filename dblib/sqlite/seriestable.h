// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Sqlite
{
class Connection;
class Statement;
} // namespace Sqlite

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

/**
 * The series of one table in memory. They are few and only ever added, so a
 * look at the largest identifier tells whether the memory is up to date.
 */
class SeriesTable
{
public:
    /** `table` is "event" or "command". */
    SeriesTable(Sqlite::Connection &connection, const std::string &table);
    ~SeriesTable();

    /** Reads what other programs have added. Call inside the transaction that uses it. */
    void refresh();
    /** Forgets everything: after a transaction that may have added series was undone. */
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
    /** Of an existing series; the texts are valid until the next refresh or addition. */
    SeriesKey key(int id) const;
    SeriesSet matching(const SeriesFilter &filter) const;
    /** The series with this key, added to the table when it is new. Inside a write transaction. */
    int find(const SeriesKey &key);

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
    void add(std::int64_t id, const SeriesKey &key);
    const std::string &lookupKey(const SeriesKey &key);

    Sqlite::Connection &m_db;
    bool m_hasNames;
    std::unique_ptr<Sqlite::Statement> m_largest;
    std::unique_ptr<Sqlite::Statement> m_newer;
    std::unique_ptr<Sqlite::Statement> m_insert;
    std::vector<Series> m_series;
    std::unordered_map<std::string, int> m_idOf;
    std::string m_scratch;
    Texts m_sensors;
    Texts m_names;
};
