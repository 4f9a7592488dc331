// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "heap.h"
#include "isolate.h"
#include "kinds.h"

#include <algorithm>
#include <string>
#include <vector>

/**
 * @file
 * Fetches, and what they brought. A library's array is read with suspicion:
 * only as far as memory reaches, so that a wrong count or length is told by the
 * check that looks for it and does not crash the others.
 */

/** Reads the library's records into records of the checker's own, noting what is wrong with their texts. */
class RecordReader
{
public:
    CSensor read(const CSensor &from);
    CMessageEvent read(const CMessageEvent &from);
    CMessageCommand read(const CMessageCommand &from);

    /** The first few faults that break what the console shows. */
    const std::vector<std::string> &faults() const
    {
        return m_faults;
    }
    /** The first few oddities that do not. */
    const std::vector<std::string> &oddities() const
    {
        return m_oddities;
    }

private:
    void readText(char *&to, int &toLength, const char *from, int length, const char *name);
    void readParameters(CMessageEventParam *&to, int &toCount, const CMessageEventParam *from, int count);
    void readParameter(CMessageEventParam &to, const CMessageEventParam &from);
    void note(std::vector<std::string> &list, const std::string &text);

    int m_number = -1;
    std::vector<std::string> m_faults;
    std::vector<std::string> m_oddities;
};

/** One fetch as it came, between the call and the release. */
template <class Record> struct Fetched {
    int status = 0;
    int count = 0;
    Record *array = nullptr;

    /** Records that can be read: all of them, when the library told the truth. */
    int readableCount() const
    {
        if (count <= 0 || !array)
            return 0;
        return int(Heap::readable(array, std::size_t(count) * sizeof(Record)) / sizeof(Record));
    }
};

/**
 * The variables that a library is given the addresses of, each with room
 * around it, so that writing past one of them harms nothing here.
 */
template <class Record> struct Slots {
    char before[64] = {};
    int count = 0;
    char between[64] = {};
    Record *array = nullptr;
    char after[64] = {};
};

/** Whether the console's size query goes before a fetch; it always does but in the check of just that. */
enum class SizeQuery { Asked, Left };

/** Fetches as the console does. The request goes as a copy: what the library does to it stays without effect. */
template <class Kind>
Fetched<typename Kind::Record> fetch(const Library &library, const typename Kind::Request &request,
                                     SizeQuery query = SizeQuery::Asked)
{
    stage("fetching the " + Kind::describe(request));
    if (query == SizeQuery::Asked)
        Kind::get(library, nullptr, nullptr, nullptr);
    Slots<typename Kind::Record> slots;
    typename Kind::Request copy(request);
    Fetched<typename Kind::Record> fetched;
    fetched.status = Kind::get(library, &slots.count, &slots.array, &copy);
    fetched.count = slots.count;
    fetched.array = slots.array;
    return fetched;
}

/** Hands an array back as the console does. */
template <class Kind>
void release(const Library &library, Fetched<typename Kind::Record> &fetched, const typename Kind::Request &request)
{
    stage("releasing the " + Kind::describe(request));
    Slots<typename Kind::Record> slots;
    slots.array = fetched.array;
    typename Kind::Request copy(request);
    Kind::get(library, nullptr, &slots.array, &copy);
    fetched.array = slots.array;
}

/** The whole of one answer, copied and released. */
template <class Record> struct Answer {
    int status = 0;
    int count = 0; ///< as the library told it
    std::vector<Record> records;
    RecordReader reader;
};

template <class Kind>
Answer<typename Kind::Record> ask(const Library &library, const typename Kind::Request &request,
                                  SizeQuery query = SizeQuery::Asked)
{
    Fetched<typename Kind::Record> fetched = fetch<Kind>(library, request, query);
    stage("reading the " + Kind::describe(request));
    Answer<typename Kind::Record> answer;
    answer.status = fetched.status;
    answer.count = fetched.count;
    const int readable = fetched.readableCount();
    answer.records.reserve(std::size_t(readable));
    for (int i = 0; i < readable; ++i)
        answer.records.push_back(answer.reader.read(fetched.array[i]));
    release<Kind>(library, fetched, request);
    return answer;
}

/** The identifiers of an answer, in its order; much cheaper than ask. */
template <class Kind> std::vector<int> askIds(const Library &library, const typename Kind::Request &request)
{
    Fetched<typename Kind::Record> fetched = fetch<Kind>(library, request);
    std::vector<int> ids;
    for (int i = 0, readable = fetched.readableCount(); i < readable; ++i)
        ids.push_back(Kind::id(fetched.array[i]));
    release<Kind>(library, fetched, request);
    return ids;
}

/** A request for the first or the last records without any filter. */
template <class Kind> typename Kind::Request plain(int nMax, bool first)
{
    typename Kind::Request request;
    request.NMax = nMax;
    request.TakeFirst1_Last0 = first ? 1 : 0;
    return request;
}

/** A request that no record can pass. */
template <class Kind> typename Kind::Request nothing()
{
    auto request = plain<Kind>(20, false);
    Kind::setLowest(request, 1);
    Kind::setHighest(request, 0);
    return request;
}

/** The record with this identifier, or those that come for it. */
template <class Kind> std::vector<typename Kind::Record> withId(const Library &library, int id)
{
    auto request = plain<Kind>(10, false);
    Kind::setLowest(request, id);
    Kind::setHighest(request, id);
    return ask<Kind>(library, request).records;
}

/** Calls `act` with each of the kinds that are selected by requests and that the library can fetch. */
template <class Act> void forEachSelected(const Library &library, Act act)
{
    if (library.has(EventKind::Fetch))
        act(EventKind());
    if (library.has(CommandKind::Fetch))
        act(CommandKind());
}

/** Calls `act` with each kind that the library can fetch. */
template <class Act> void forEachKind(const Library &library, Act act)
{
    if (library.has(SensorKind::Fetch))
        act(SensorKind());
    forEachSelected(library, act);
}

/** The name of the first field in which two records differ; empty when they are the same. */
std::string firstDifference(const CSensor &a, const CSensor &b);
std::string firstDifference(const CMessageEvent &a, const CMessageEvent &b);
std::string firstDifference(const CMessageCommand &a, const CMessageCommand &b);

/** Whether two records show the same to an operator. */
template <class Record> bool same(const Record &a, const Record &b)
{
    return firstDifference(a, b).empty();
}

template <class Record> bool sameRecords(const std::vector<Record> &a, const std::vector<Record> &b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const Record &left, const Record &right) { return same(left, right); });
}

template <class Kind> std::vector<int> idsOf(const std::vector<typename Kind::Record> &records)
{
    std::vector<int> ids;
    for (const auto &record : records)
        ids.push_back(Kind::id(record));
    return ids;
}

/** What a store shows at a glance: the oldest records and the sensors. */
struct Snapshot {
    std::vector<int> results;
    std::vector<int> events; ///< identifiers, sorted: the order of answers is judged elsewhere
    std::vector<int> commands;
    std::size_t sensors = 0;
};

Snapshot takeSnapshot(const Library &library);

/** How two snapshots differ, in words: "60 events became 0"; empty when they do not. */
std::string change(const Snapshot &before, const Snapshot &after);

/** A few identifiers in words: "3, 4, 5 and 12 more". */
std::string listed(const std::vector<int> &ids);
