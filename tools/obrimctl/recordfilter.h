// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "paging.h"

#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

/** What a person asks for. Masks are patterns in Latin-1; all ranges include both ends. */
struct Filter {
    std::optional<std::string> sensor;
    std::optional<std::string> event;
    std::optional<int> messageType;
    std::optional<int> sensorType;
    std::optional<int> commandType;
    std::optional<std::time_t> since;
    std::optional<std::time_t> until;
    IdRange ids;
};

/** Why a mask, that of an option, is beyond the matcher's bounds; empty when it is not. */
std::string maskFault(const std::string &option, std::string_view mask);

/**
 * Whether names match a mask. The mask is the pattern here, as a person means
 * it; a request has it the other way round, where the record's name is.
 */
class MaskMatcher
{
public:
    explicit MaskMatcher(std::string mask);

    bool matches(std::string_view name) const;

private:
    std::string m_mask;
    mutable std::unordered_map<std::string, bool> m_known; ///< names repeat, comparing takes its time
    mutable std::string m_name;
};

/**
 * What a filter selects of events or commands: as much of it as a request can
 * say, and the rest, which is looked at here.
 */
template <class Record> class RecordFilter
{
public:
    explicit RecordFilter(const Filter &filter);

    /** Without identifiers, count and end. What it selects holds all that the filter selects. */
    const RequestOf<Record> &request() const
    {
        return m_request;
    }
    IdRange ids() const
    {
        return m_ids;
    }
    /** Whether the request says it all. */
    bool isWhole() const
    {
        return !m_sensor && !m_event;
    }
    /** Whether a record that the request selects is meant. */
    bool operator()(const Record &record) const;

private:
    RequestOf<Record> m_request;
    IdRange m_ids;
    std::optional<MaskMatcher> m_sensor;
    std::optional<MaskMatcher> m_event;
};

/** The same for sensors, for which there is no request. */
class SensorFilter
{
public:
    explicit SensorFilter(const Filter &filter);

    bool operator()(const CSensor &sensor) const;

private:
    Filter m_filter;
    std::optional<MaskMatcher> m_sensor;
};

extern template class RecordFilter<CMessageEvent>;
extern template class RecordFilter<CMessageCommand>;
