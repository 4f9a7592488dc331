// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "library.h"

#include <functional>
#include <random>
#include <string>
#include <vector>

/**
 * @file
 * What events and commands have in common for the checks, and what tells them
 * apart: each check of answers is written once, for a kind.
 */

/** One filter switched on with one value. */
template <class Request> struct Term {
    std::string text; ///< "MessageID0=5"
    std::function<void(Request &)> apply;
};

/** The values of one filter that are worth asking for. */
template <class Request> struct Filter {
    enum Group { Identifier, Time, SensorMask, NameMask, Type };
    Group group;
    std::string name;
    std::vector<Term<Request>> terms;
};

/** Events, as the checks need them. */
struct EventKind {
    using Record = CMessageEvent;
    using Request = CMessageEventRequest;
    static constexpr const char *Plural = "events";
    static constexpr int Sizes = EventSizes;
    static constexpr DBFunction Fetch = DBFunctionGetEvents;
    static constexpr DBFunction Put = DBFunctionPutEvent;
    static constexpr DBFunction Remove = DBFunctionDeleteEvent;

    static int id(const Record &record)
    {
        return record.MessageID;
    }
    static int get(const Library &library, int *n, Record **records, Request *request)
    {
        return library.getEvents(n, records, request);
    }
    static int putRecord(const Library &library, Record *record)
    {
        return library.putEvent(record);
    }
    static int deleteRecord(const Library &library, int recordId)
    {
        return library.deleteEvent(recordId);
    }
    static void setLowest(Request &request, int lowest);
    static void setHighest(Request &request, int highest);
    static bool hasLowest(const Request &request)
    {
        return request.UseMessageID0 != 0;
    }
    static std::time_t time(const Record &record)
    {
        return record.EventTime;
    }
    /** The switches of all filters. */
    static const std::vector<int Request::*> &switches();
    /** Lowers the request's highest identifier to `highest`, or sets it. */
    static void bound(Request &request, int highest);
    /** Every filter with values that lie on, beside and far from those of `records`. */
    static std::vector<Filter<Request>> filters(const std::vector<Record> &records, std::mt19937 &random);
    /** The masks of a request. */
    static const std::vector<char * Request::*> &masks();
    /** The filters of a request in words, for messages. */
    static std::string describe(const Request &request);
    /** A record made up from `number`, with texts, parameters and times of every sort among them. */
    static Record sample(int number, std::mt19937 &random);
    /** A record whose every text is this one. */
    static Record withText(const std::string &text);
};

/** Commands, likewise. */
struct CommandKind {
    using Record = CMessageCommand;
    using Request = CMessageCommandRequest;
    static constexpr const char *Plural = "commands";
    static constexpr int Sizes = CommandSizes;
    static constexpr DBFunction Fetch = DBFunctionGetCommands;
    static constexpr DBFunction Put = DBFunctionPutCommand;
    static constexpr DBFunction Remove = DBFunctionDeleteCommand;

    static int id(const Record &record)
    {
        return record.CommandID;
    }
    static int get(const Library &library, int *n, Record **records, Request *request)
    {
        return library.getCommands(n, records, request);
    }
    static int putRecord(const Library &library, Record *record)
    {
        return library.putCommand(record);
    }
    static int deleteRecord(const Library &library, int recordId)
    {
        return library.deleteCommand(recordId);
    }
    static void setLowest(Request &request, int lowest);
    static void setHighest(Request &request, int highest);
    static bool hasLowest(const Request &request)
    {
        return request.UseCommandID0 != 0;
    }
    static std::time_t time(const Record &record)
    {
        return record.CommandTime;
    }
    static const std::vector<int Request::*> &switches();
    static void bound(Request &request, int highest);
    static std::vector<Filter<Request>> filters(const std::vector<Record> &records, std::mt19937 &random);
    static const std::vector<char * Request::*> &masks();
    static std::string describe(const Request &request);
    static Record sample(int number, std::mt19937 &random);
    static Record withText(const std::string &text);
};

/** Sensors come whole: nothing in such a request counts. */
struct SensorRequest {
    int NMax = 0;
    int TakeFirst1_Last0 = 0;
};

/** Sensors, as far as they are fetched and released like the others. */
struct SensorKind {
    using Record = CSensor;
    using Request = SensorRequest;
    static constexpr const char *Plural = "sensors";
    static constexpr int Sizes = SensorSize;
    static constexpr DBFunction Fetch = DBFunctionGetSensors;

    static int get(const Library &library, int *n, Record **records, Request *)
    {
        return library.getSensors(n, records);
    }
    static std::string describe(const Request &)
    {
        return Plural;
    }
};

/** Times that a record can have, at the ends and before 1970: 32 bits, on every machine. */
std::vector<std::time_t> recordTimes();

/** Every byte that a text can hold. */
std::string everyByte();

/** The text with its ASCII letters in one case. */
std::string upper(std::string text);
std::string lower(std::string text);

/** The text with every byte that is not printable ASCII as \xNN, in double quotes. */
std::string quoted(const char *text);
