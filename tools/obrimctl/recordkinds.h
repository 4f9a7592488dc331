// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"

#include <cstdint>

/**
 * @file
 * What is alike in events and commands under different names.
 */
template <class Record> struct RecordKind;

template <> struct RecordKind<CSensor> {
    static constexpr const char *One = "sensor";
    static constexpr const char *Many = "sensors";
};

template <> struct RecordKind<CMessageEvent> {
    using Request = CMessageEventRequest;
    static constexpr const char *One = "event";
    static constexpr const char *Many = "events";

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
    static constexpr const char *One = "command";
    static constexpr const char *Many = "commands";

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

template <class Record> using RequestOf = typename RecordKind<Record>::Request;
