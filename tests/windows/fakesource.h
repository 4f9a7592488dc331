// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "DBFuns.h"
#include "LoadDLL.h"
#include "Messages.h"

#include <functional>
#include <string>
#include <vector>

/**
 * A DB library inside the test: answers what the test says and writes down
 * what it was asked. Like a real one it hands out an array of its own at a
 * fetch and takes it back at the release.
 */
template <class Record, class Request> struct FakeSource {
    std::vector<Record> answer;      ///< what every fetch gives
    int result = 0;                  ///< what every fetch returns
    int sizes = 0;                   ///< answer to the size query
    int claimed = -1;                ///< count given instead of the answer's size, unless negative
    bool nullArray = false;          ///< gives no array
    std::function<void()> onFetch;   ///< runs inside each fetch
    std::function<void()> onRelease; ///< runs inside each release
    std::vector<Request> requests;   ///< of all fetches
    int releases = 0;
    std::vector<int> deleted;
    std::vector<Record> put;

    int fetches() const
    {
        return int(requests.size());
    }

    int get(int *n, Record **records, const Request *request)
    {
        if (!n && !records)
            return sizes;
        if (!n) {
            ++releases;
            if (onRelease)
                onRelease();
            delete[] *records;
            *records = nullptr;
            return 0;
        }
        requests.push_back(request ? *request : Request());
        if (onFetch)
            onFetch();
        *n = claimed >= 0 ? claimed : int(answer.size());
        *records = nullptr;
        if (!nullArray && !answer.empty()) {
            *records = new Record[answer.size()];
            std::copy(answer.begin(), answer.end(), *records);
        }
        return result;
    }
};

/** Sensors are fetched without a request. */
struct NoRequest {
};

/** The fake library of the running test. */
struct FakeLibrary {
    FakeSource<CMessageEvent, CMessageEventRequest> events;
    FakeSource<CMessageCommand, CMessageCommandRequest> commands;
    FakeSource<CSensor, NoRequest> sensors;
    std::vector<std::string> initialised; ///< directories given to the sensors' initialiser

    FakeLibrary();
    ~FakeLibrary();
    FakeLibrary(const FakeLibrary &) = delete;
    FakeLibrary &operator=(const FakeLibrary &) = delete;

    static FakeLibrary *current;
};

/** Sets all ten pointers to NULL: the test data source. */
void unsetLibrary();

CMessageEvent event(int id, const char *sensor = "pump", const char *name = "started", std::time_t time = 1795000000);
CMessageCommand command(int id, const char *sensor = "pump", int type = 1, std::time_t time = 1795000000);
CSensor sensor(const char *id, const char *description = "", int liveness = SensorAlive);

/** Appends a parameter with a text. */
template <class Record> void addParameter(Record &record, const char *name, const char *value)
{
    auto *par = new CMessageEventParam[std::size_t(record.ParNum + 1)];
    std::copy(record.par, record.par + record.ParNum, par);
    delete[] record.par;
    record.par = par;
    CMessageEventParam &added = par[record.ParNum++];
    added.Type = ParameterText;
    CopyPtr(&added.Name, &added.LName, name, int(std::char_traits<char>::length(name)) + 1);
    CopyPtr(&added.Val, &added.LVal, value, int(std::char_traits<char>::length(value)) + 1);
}

/** Records with the identifiers `from`, `from` + 1, ... */
template <class Make> auto range(int from, int count, Make make)
{
    std::vector<decltype(make(0))> records;
    for (int i = 0; i < count; ++i)
        records.push_back(make(from + i));
    return records;
}

inline std::vector<CMessageEvent> events(int from, int count)
{
    return range(from, count, [](int id) { return event(id); });
}

inline std::vector<CMessageCommand> commands(int from, int count)
{
    return range(from, count, [](int id) { return command(id); });
}
