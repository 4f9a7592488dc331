// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "withouttexts.h"

#include <algorithm>

namespace Recording
{
namespace
{
char blank(char byte)
{
    return byte == '\0' ? byte : 'x';
}

/** A text of a record or a request, which owns it. */
void blankText(char *text, int length)
{
    std::transform(text, text + Calls::textSize(text, length), text, blank);
}

template <class Record> void blankParameters(Record &record)
{
    for (int i = 0; record.par && i < record.ParNum; ++i) {
        blankText(record.par[i].Name, record.par[i].LName);
        blankText(record.par[i].Val, record.par[i].LVal);
    }
}
} // namespace

Calls::Call withoutTexts(Calls::Call call)
{
    if (call.directory)
        std::transform(call.directory->begin(), call.directory->end(), call.directory->begin(), blank);
    if (call.eventRequest) {
        blankText(call.eventRequest->SensorID, call.eventRequest->LSensorID);
        blankText(call.eventRequest->EventName, call.eventRequest->LEventName);
    }
    if (call.commandRequest)
        blankText(call.commandRequest->SensorID, call.commandRequest->LSensorID);
    if (call.event) {
        blankText(call.event->SensorID, call.event->LSensorID);
        blankText(call.event->EventName, call.event->LEventName);
        blankParameters(*call.event);
    }
    if (call.command) {
        blankText(call.command->SensorID, call.command->LSensorID);
        blankParameters(*call.command);
    }
    return call;
}

void SinkWithoutTexts::put(std::uint64_t offset, const char *bytes, std::size_t size)
{
    const std::size_t kept =
        offset >= m_textStart ? 0 : std::size_t(std::min<std::uint64_t>(size, m_textStart - offset));
    m_copy.assign(bytes, bytes + size);
    std::transform(m_copy.begin() + std::ptrdiff_t(kept), m_copy.end(), m_copy.begin() + std::ptrdiff_t(kept), blank);
    m_sink.put(offset, m_copy.data(), size);
}
} // namespace Recording
