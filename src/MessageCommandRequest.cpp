// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: BSD-2-Clause
#include "MessageCommandRequest.h"

#include "Messages.h"
#include "recordparts.h"

#include <tuple>

namespace
{
/** All fields but the masks. */
template <class Request> auto numbersOf(Request &r)
{
    return std::tie(r.NMax, r.TakeFirst1_Last0, r.MessageType, r.UseMessageType, r.UseSensorID, r.CommandID0,
                    r.CommandID1, r.UseCommandID0, r.UseCommandID1, r.CommandType, r.UseCommandType, r.CommandTime0,
                    r.UseCommandTime0, r.CommandTime1, r.UseCommandTime1);
}
} // namespace

CMessageCommandRequest::CMessageCommandRequest(const CMessageCommandRequest &other)
    : CMessageCommandRequest()
{
    *this = other;
}

CMessageCommandRequest::~CMessageCommandRequest()
{
    clean();
}

CMessageCommandRequest &CMessageCommandRequest::operator=(const CMessageCommandRequest &other)
{
    if (this == &other)
        return *this;
    numbersOf(*this) = numbersOf(other);
    CopyPtr(&SensorID, &LSensorID, other.SensorID, other.LSensorID);
    return *this;
}

void CMessageCommandRequest::clean()
{
    std::apply([](auto &...number) { ((number = 0), ...); }, numbersOf(*this));
    NMax = 100;
    RecordParts::release(SensorID, LSensorID);
}

int CMessageCommandRequest::operator&(const CMessageCommand &command) const
{
    const bool excluded =
        (UseMessageType && command.MessageType != MessageType) ||
        (UseSensorID && !RecordParts::matches(SensorID, LSensorID, command.SensorID, command.LSensorID)) ||
        (UseCommandID0 && command.CommandID < CommandID0) || (UseCommandID1 && command.CommandID > CommandID1) ||
        (UseCommandType && command.CommandType != CommandType) ||
        (UseCommandTime0 && command.CommandTime < CommandTime0) ||
        (UseCommandTime1 && command.CommandTime > CommandTime1);
    return excluded ? 0 : 1;
}
