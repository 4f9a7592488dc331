// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "DBFunsDebug.h"
#include "cwd_commandslist.h"
#include "cwd_eventslist.h"
#include "fakesource.h"

/** What a test needs to know to drive the window of events ... */
struct EventsKind {
    using Window = CWD_EventsList;
    using Record = CMessageEvent;
    using Request = CMessageEventRequest;
    static constexpr int LoadsWhileBuilt = 2;
    static constexpr const char *DeleteEntry = "Delete event from DB";
    static constexpr const char *DeleteQuestion = "Delete event with ID=%1?";
    static constexpr const char *TestFile = "DebugInitEvents.txt";
    static constexpr const char *TestBlock = "{\nSENSOR_ID=pump%1\nEVENT_NAME=started\nEVENT_TIME=1795000000\n}\n";
    static constexpr int TestCapacity = DebugEventCapacity;
    static constexpr const char *LoadTrace = "DBGetEvents<\nDBGetEvents> \n";

    static FakeSource<Record, Request> &source()
    {
        return FakeLibrary::current->events;
    }
    static Record record(int id)
    {
        return event(id);
    }
    static Record recordAt(int id, std::time_t time)
    {
        return event(id, "pump", "started", time);
    }
    static std::vector<Record> records(int from, int count)
    {
        return events(from, count);
    }
    static ListView *list(const Window *window)
    {
        return window->listMessages;
    }
    static void getNew(Window *window)
    {
        window->onGetNewEvents();
    }
    static int lowestID(const Request &request)
    {
        return request.UseMessageID0 ? request.MessageID0 : -1;
    }
    static bool endless(const Request &request)
    {
        return request.MessageID1 == 0 && !request.UseMessageID1;
    }
    static int from(const Request &request)
    {
        return int(request.EventTime0);
    }
    static int to(const Request &request)
    {
        return int(request.EventTime1);
    }
    static bool useFrom(const Request &request)
    {
        return request.UseEventTime0;
    }
    static bool useTo(const Request &request)
    {
        return request.UseEventTime1;
    }
    static int type(const Request &request)
    {
        return request.MessageType;
    }
    static bool useType(const Request &request)
    {
        return request.UseMessageType;
    }
    static void initTestData(const QString &directory)
    {
        InitDBEventsDebug(directory);
    }
};

/** ... and the window of commands. */
struct CommandsKind {
    using Window = CWD_CommandsList;
    using Record = CMessageCommand;
    using Request = CMessageCommandRequest;
    static constexpr int LoadsWhileBuilt = 1;
    static constexpr const char *DeleteEntry = "Delete command from DB";
    static constexpr const char *DeleteQuestion = "Delete command with ID=%1?";
    static constexpr const char *TestFile = "DebugInitCommands.txt";
    static constexpr const char *TestBlock = "{\nSENSOR_ID=pump%1\nCOMMAND_TYPE=1\nCOMMAND_TIME=1795000000\n}\n";
    static constexpr int TestCapacity = DebugCommandCapacity;
    static constexpr const char *LoadTrace = "DBGetCommands<\nDBGetCommands> \n";

    static FakeSource<Record, Request> &source()
    {
        return FakeLibrary::current->commands;
    }
    static Record record(int id)
    {
        return command(id);
    }
    static Record recordAt(int id, std::time_t time)
    {
        return command(id, "pump", 1, time);
    }
    static std::vector<Record> records(int from, int count)
    {
        return commands(from, count);
    }
    static ListView *list(const Window *window)
    {
        return window->listCommands;
    }
    static void getNew(Window *window)
    {
        window->noGetNewCommands();
    }
    static int lowestID(const Request &request)
    {
        return request.UseCommandID0 ? request.CommandID0 : -1;
    }
    static bool endless(const Request &request)
    {
        return request.CommandID1 == 0 && !request.UseCommandID1;
    }
    static int from(const Request &request)
    {
        return int(request.CommandTime0);
    }
    static int to(const Request &request)
    {
        return int(request.CommandTime1);
    }
    static bool useFrom(const Request &request)
    {
        return request.UseCommandTime0;
    }
    static bool useTo(const Request &request)
    {
        return request.UseCommandTime1;
    }
    static int type(const Request &request)
    {
        return request.CommandType;
    }
    static bool useType(const Request &request)
    {
        return request.UseCommandType;
    }
    static void initTestData(const QString &directory)
    {
        InitDBCommandsDebug(directory);
    }
};
