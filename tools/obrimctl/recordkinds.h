// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"

#include <cstdint>
#include <type_traits>

/**
 * @file
 * What is alike in events and commands under different names.
 */
template <class Record> struct RecordKind;

template <> struct RecordKind<CMessageEvent> {
    using Request = CMessageEventRequest;
    static int id(const CMessageEvent &event)
    {
        return event.MessageID;
    }
    static std::time_t time(const CMessageEvent &event)
    {
        return event.EventTime;
    }
    static void useIdsFrom(Request &request, int least)
    {
        request.MessageID0 = least;
        request.UseMessageID0 = 1;
    }
    static void useIdsTo(Request &request, int most)
    {
        request.MessageID1 = most;
        request.UseMessageID1 = 1;
    }
};

template <> struct RecordKind<CMessageCommand> {
    using Request = CMessageCommandRequest;
    static int id(const CMessageCommand &command)
    {
        return command.CommandID;
    }
    static std::time_t time(const CMessageCommand &command)
    {
        return command.CommandTime;
    }
    static void useIdsFrom(Request &request, int least)
    {
        request.CommandID0 = least;
        request.UseCommandID0 = 1;
    }
    static void useIdsTo(Request &request, int most)
    {
        request.CommandID1 = most;
        request.UseCommandID1 = 1;
    }
};

/** Which of two texts is of such records. */
template <class Record> constexpr const char *forKind(const char *ofEvents, const char *ofCommands)
{
    return std::is_same_v<Record, CMessageEvent> ? ofEvents : ofCommands;
}

template <class Record> using RequestOf = typename RecordKind<Record>::Request;
