// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "checks.h"

#include <algorithm>
#include <functional>
#include <new>
#include <string>
#include <sys/mman.h>
#include <type_traits>
#include <vector>

/**
 * @file
 * Putting, finding again and deleting, for the checks that write.
 */

/** Events for commands and the reverse. */
template <class Kind> using Other = std::conditional_t<std::is_same_v<Kind, EventKind>, CommandKind, EventKind>;

/** Throws a skip when records of this kind cannot be put and deleted. */
template <class Kind> void require(const Library &library)
{
    for (DBFunction function : {Kind::Put, Kind::Remove})
        if (!library.has(function))
            throw skipped(std::string("the library has no ") + DBSymbols[function].key);
}

void setId(CMessageEvent &event, int id);
void setId(CMessageCommand &command, int id);

/** Puts a copy of the record, which is gone when this returns: the library must not have kept any of it. */
template <class Kind> int put(const Library &library, const typename Kind::Record &record)
{
    stage(std::string("putting one of the ") + Kind::Plural);
    typename Kind::Record given(record);
    return Kind::putRecord(library, &given);
}

template <class Kind> void remove(const Library &library, int id)
{
    stage(std::string("deleting one of the ") + Kind::Plural + ", " + std::to_string(id));
    Kind::deleteRecord(library, id);
}

/** Every identifier of the store, sorted. */
template <class Kind> std::vector<int> everyId(const Library &library)
{
    constexpr int most = 100000000;
    std::vector<int> ids;
    // Not more room than needed: what a library does with a very large NMax is judged elsewhere.
    for (int room = 1000; room <= most; room *= 10) {
        ids = askIds<Kind>(library, plain<Kind>(room, false));
        if (int(ids.size()) < room)
            break;
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

/** Puts records and finds each again: what is there then and was not before, whatever identifiers the library gives. */
template <class Kind> class Putter
{
public:
    using Record = typename Kind::Record;

    explicit Putter(const Library &library)
        : m_library(library)
        , m_known(everyId<Kind>(library))
    {
    }

    /** The record as the store has it. Throws a failure when there is not exactly one new one. */
    Record put(const Record &record)
    {
        const int result = ::put<Kind>(m_library, record);
        if (result != 0)
            throw failed(std::string("putting one of the ") + Kind::Plural + " returned " + std::to_string(result));
        std::vector<Record> fresh = unknown(plain<Kind>(Watched, false));
        if (fresh.empty() && !m_known.empty() && m_known.back() < INT_MAX) {
            auto above = plain<Kind>(Watched, false);
            Kind::setLowest(above, m_known.back() + 1);
            fresh = unknown(above);
        }
        if (fresh.empty())
            fresh = unknownOfAll();
        if (fresh.size() != 1)
            throw failed(std::to_string(fresh.size()) + " new " + Kind::Plural + " after putting one");
        const int id = Kind::id(fresh.front());
        m_known.insert(std::upper_bound(m_known.begin(), m_known.end(), id), id);
        return fresh.front();
    }

private:
    static constexpr int Watched = 200;

    std::vector<Record> unknown(const typename Kind::Request &request) const
    {
        std::vector<Record> records = ask<Kind>(m_library, request).records;
        const auto isKnown = [this](const Record &record) {
            return std::binary_search(m_known.begin(), m_known.end(), Kind::id(record));
        };
        records.erase(std::remove_if(records.begin(), records.end(), isKnown), records.end());
        return records;
    }
    /** Where the newest records are not those that were put last. */
    std::vector<Record> unknownOfAll() const
    {
        std::vector<Record> records;
        for (int id : everyId<Kind>(m_library)) {
            if (std::binary_search(m_known.begin(), m_known.end(), id))
                continue;
            for (const Record &record : withId<Kind>(m_library, id))
                records.push_back(record);
        }
        return records;
    }

    const Library &m_library;
    std::vector<int> m_known;
};

/** Calls `act` with each kind that the library can put. */
template <class Act> void forEachPut(const Library &library, Act act)
{
    if (library.has(EventKind::Put))
        act(EventKind());
    if (library.has(CommandKind::Put))
        act(CommandKind());
}

/** Puts fifty records of each kind and deletes every third. */
void writeAndDelete(const Library &library, const Target &target);

/** Memory that a process shares with those that it forks from then on. */
template <class Value> class SharedValue
{
public:
    SharedValue()
        : m_memory(mmap(nullptr, sizeof(Value), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
    {
        if (m_memory == MAP_FAILED)
            throw skipped("no memory to share");
    }
    ~SharedValue()
    {
        munmap(m_memory, sizeof(Value));
    }
    SharedValue(const SharedValue &) = delete;
    SharedValue &operator=(const SharedValue &) = delete;

    Value &operator*() const
    {
        return *static_cast<Value *>(m_memory);
    }

private:
    void *m_memory;
};

/**
 * Runs `act` in a process of its own, as another program on the same store that
 * ends by itself. False when it did not come so far; how it ends afterwards
 * is judged elsewhere.
 */
bool inAnotherProcess(const std::function<void()> &act);
