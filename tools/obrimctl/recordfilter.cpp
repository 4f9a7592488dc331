// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "recordfilter.h"

#include "WCompare.h"
#include "filling.h"
#include "parametertext.h"
#include "translation.h"

#include <algorithm>

namespace
{
constexpr const char *Metacharacters = "*?+";
constexpr std::size_t MostKnownNames = 4096;
constexpr std::size_t MostMaskBytes = 1023;
constexpr std::size_t MostLiteralBytes = 255;
constexpr int MostMetacharacters = 99;

template <class Value> void use(Value &field, int &isUsed, const std::optional<Value> &value)
{
    field = value.value_or(0);
    isUsed = value ? 1 : 0;
}

/**
 * A mask without metacharacters selects the names that are equal, and a request selects these too, since its mask is
 * compared with the name as a pattern. One with metacharacters would be compared letter by letter: it stays out.
 */
void useMask(char *&field, int &length, int &isUsed, const std::optional<std::string> &mask)
{
    if (!mask || mask->find_first_of(Metacharacters) != std::string::npos)
        return;
    CopyPtr(&field, &length, mask->c_str(), int(mask->size()) + 1);
    isUsed = 1;
}

void fill(CMessageEventRequest &request, const Filter &filter)
{
    use(request.MessageType, request.UseMessageType, filter.messageType);
    use(request.SensorType, request.UseSensorType, filter.sensorType);
    useMask(request.SensorID, request.LSensorID, request.UseSensorID, filter.sensor);
    useMask(request.EventName, request.LEventName, request.UseEventName, filter.event);
    use(request.EventTime0, request.UseEventTime0, filter.since);
    use(request.EventTime1, request.UseEventTime1, filter.until);
}

void fill(CMessageCommandRequest &request, const Filter &filter)
{
    use(request.MessageType, request.UseMessageType, filter.messageType);
    use(request.CommandType, request.UseCommandType, filter.commandType);
    useMask(request.SensorID, request.LSensorID, request.UseSensorID, filter.sensor);
    use(request.CommandTime0, request.UseCommandTime0, filter.since);
    use(request.CommandTime1, request.UseCommandTime1, filter.until);
}

std::string_view sensorOf(const CMessageEvent &event)
{
    return recordBytes(event.SensorID, event.LSensorID);
}

std::string_view sensorOf(const CMessageCommand &command)
{
    return recordBytes(command.SensorID, command.LSensorID);
}

std::string_view nameOf(const CMessageEvent &event)
{
    return recordBytes(event.EventName, event.LEventName);
}

std::string_view nameOf(const CMessageCommand &)
{
    return {};
}

std::optional<MaskMatcher> matcher(const std::optional<std::string> &mask)
{
    return mask ? std::optional<MaskMatcher>(*mask) : std::nullopt;
}
} // namespace

std::string maskFault(const std::string &option, std::string_view mask)
{
    if (mask.size() > MostMaskBytes) {
        return filled(translated("the mask of %1 has %2 characters, and more than %3 match nothing"), option,
                      mask.size(), MostMaskBytes);
    }
    if (mask.find_first_of(Metacharacters) == std::string_view::npos)
        return {};
    int metacharacters = 0;
    for (std::size_t from = 0; from <= mask.size(); ++metacharacters) {
        const std::size_t to = std::min(mask.find_first_of(Metacharacters, from), mask.size());
        if (to - from > MostLiteralBytes) {
            return filled(translated("the mask of %1 has %2 characters in a row without a wildcard, and more than %3 "
                                     "match nothing"),
                          option, to - from, MostLiteralBytes);
        }
        from = to + 1;
    }
    if (metacharacters - 1 > MostMetacharacters) {
        return filled(translated("the mask of %1 has %2 wildcards, and more than %3 match nothing"), option,
                      metacharacters - 1, MostMetacharacters);
    }
    return {};
}

MaskMatcher::MaskMatcher(std::string mask)
    : m_mask(std::move(mask))
{
}

bool MaskMatcher::matches(std::string_view name) const
{
    m_name.assign(name);
    const auto found = m_known.find(m_name);
    if (found != m_known.end())
        return found->second;
    if (m_known.size() >= MostKnownNames)
        m_known.clear();
    const bool result = WCompareNoCase(m_name.c_str(), m_mask.c_str()) != 0;
    m_known.emplace(m_name, result);
    return result;
}

template <class Record>
RecordFilter<Record>::RecordFilter(const Filter &filter)
    : m_ids(filter.ids)
    , m_sensor(matcher(filter.sensor))
    , m_event(matcher(filter.event))
{
    fill(m_request, filter);
}

template <class Record> bool RecordFilter<Record>::operator()(const Record &record) const
{
    return (!m_sensor || m_sensor->matches(sensorOf(record))) && (!m_event || m_event->matches(nameOf(record)));
}

SensorFilter::SensorFilter(const Filter &filter)
    : m_filter(filter)
    , m_sensor(matcher(filter.sensor))
{
}

bool SensorFilter::operator()(const CSensor &sensor) const
{
    return (!m_sensor || m_sensor->matches(recordBytes(sensor.SensorID, sensor.LSensorID))) &&
           (!m_filter.messageType || sensor.MessageType == *m_filter.messageType) &&
           (!m_filter.sensorType || sensor.SensorType == *m_filter.sensorType) &&
           (!m_filter.since || sensor.EventTime >= *m_filter.since) &&
           (!m_filter.until || sensor.EventTime <= *m_filter.until);
}

template class RecordFilter<CMessageEvent>;
template class RecordFilter<CMessageCommand>;
