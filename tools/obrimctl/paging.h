// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "failure.h"
#include "filling.h"
#include "source.h"
#include "translation.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <string>
#include <vector>

/** Records that are read at once: enough to make a call's own cost small, few enough to stay small in memory. */
constexpr int PageSize = 16384;

/** Identifiers from `low` to `high`, both included; none when `high` is below. */
struct IdRange {
    std::int64_t low = INT_MIN;
    std::int64_t high = INT_MAX;

    bool isEmpty() const
    {
        return low > high;
    }
};

/** Records of one fetch, by ascending identifier whatever the order in which the library gave them. */
template <class Record> class Page
{
public:
    /** Throws Failure when the library gives an identifier outside of `range`: paging would not end. */
    Page(const Source &source, const RequestOf<Record> &request, IdRange range)
        : m_records(source.fetch(request))
    {
        const auto byId = [](const Record &a, const Record &b) {
            return RecordKind<Record>::id(a) < RecordKind<Record>::id(b);
        };
        const auto fallsById = [&](const Record &a, const Record &b) { return byId(b, a); };
        if (!std::is_sorted(m_records.begin(), m_records.end(), byId)) {
            m_falls = std::is_sorted(m_records.begin(), m_records.end(), fallsById);
            if (!m_falls)
                sort(byId);
        }
        if (size() > 0 && (lowest() < range.low || highest() > range.high))
            throw outside(lowest() < range.low ? lowest() : highest());
    }

    int size() const
    {
        return m_records.size();
    }
    const Record &operator[](int i) const
    {
        if (!m_sorted.empty())
            return *m_sorted[std::size_t(i)];
        return m_records.begin()[m_falls ? size() - 1 - i : i];
    }
    int lowest() const
    {
        return RecordKind<Record>::id((*this)[0]);
    }
    int highest() const
    {
        return RecordKind<Record>::id((*this)[size() - 1]);
    }

private:
    template <class ById> void sort(ById byId)
    {
        for (const Record &record : m_records)
            m_sorted.push_back(&record);
        std::stable_sort(m_sorted.begin(), m_sorted.end(),
                         [&](const Record *a, const Record *b) { return byId(*a, *b); });
    }
    static Failure outside(int id)
    {
        return Failure(
            filled(translated(forKind<Record>(translatable("the DB library gives event %1, which was not asked for; "
                                                           "dblib-check shows what is wrong with a DB library"),
                                              translatable("the DB library gives command %1, which was not asked for; "
                                                           "dblib-check shows what is wrong with a DB library"))),
                   id));
    }

    LentRecords<Record> m_records;
    bool m_falls = false;
    std::vector<const Record *> m_sorted; ///< empty when the order of the records tells
};

/** Pages through what a request selects. Its identifiers, count and end are the pages' own. */
template <class Record> class Pager
{
public:
    Pager(const Source &source, const RequestOf<Record> &request)
        : m_source(source)
        , m_request(request)
    {
    }

    /** The oldest records of a range, at most `count`. */
    Page<Record> first(IdRange range, int count = PageSize) const
    {
        return page(range, count, 1);
    }
    /** The newest ones. */
    Page<Record> last(IdRange range, int count = PageSize) const
    {
        return page(range, count, 0);
    }
    /**
     * Hands over each record of a range, from the oldest on and `pageSize` at a
     * time, until none is left or `take` returns false.
     */
    template <class Take> void forEach(IdRange range, int pageSize, Take take) const
    {
        while (!range.isEmpty()) {
            const Page<Record> records = first(range, pageSize);
            for (int i = 0; i < records.size(); ++i)
                if (!take(records[i]))
                    return;
            if (records.size() == 0)
                return;
            range.low = std::int64_t(records.highest()) + 1;
        }
    }

private:
    /** A bound is only asked for where it says something: a library is quicker without. */
    Page<Record> page(IdRange range, int count, int takeFirst) const
    {
        RequestOf<Record> request = m_request;
        request.NMax = count;
        request.TakeFirst1_Last0 = takeFirst;
        if (range.low > INT_MIN)
            RecordKind<Record>::useIdsFrom(request, int(range.low));
        if (range.high < INT_MAX)
            RecordKind<Record>::useIdsTo(request, int(range.high));
        return Page<Record>(m_source, request, range);
    }

    const Source &m_source;
    RequestOf<Record> m_request;
};
