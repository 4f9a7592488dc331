// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "listing.h"

#include "following.h"
#include "output.h"
#include "paging.h"
#include "parametertext.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace
{
/** Below every identifier. */
constexpr std::int64_t NothingSeen = std::int64_t(INT_MIN) - 1;

/** One list of events or commands. */
template <class Record> class Listing
{
public:
    Listing(const Source &source, const ListOptions &options, Output &output)
        : m_options(options)
        , m_filter(options.filter)
        , m_pager(source, m_filter.request())
        , m_format(makeFormat(options.format, columnsOf<Record>(), output))
    {
    }

    void listNow()
    {
        if (m_options.first || isAllWanted())
            listFirst();
        else
            listLast();
        m_newest = std::max(m_newest, m_top);
        m_format->pause();
    }

    /** What has come since the record that was seen last. */
    void listNew()
    {
        if (!m_started) {
            listNow();
            m_started = true;
            return;
        }
        IdRange range = m_filter.ids();
        range.low = std::max(range.low, m_newest + 1);
        const std::int64_t before = m_newest;
        m_pager.forEach(range, PageSize, [&](const Record &record) {
            if (m_filter(record))
                write(record);
            m_newest = RecordKind<Record>::id(record);
            return true;
        });
        m_format->pause();
        if (m_newest == before)
            followBack();
    }

private:
    /** After a failure in the middle of a list it goes on behind what was written. */
    void write(const Record &record)
    {
        m_started = true;
        m_newest = RecordKind<Record>::id(record);
        fillCells(m_cells, record);
        m_format->row(m_cells);
    }

    /** Whether the limit leaves nothing out, as the identifiers tell without a look at what is between them. */
    bool isAllWanted() const
    {
        if (!m_options.limit || *m_options.limit <= PageSize)
            return !m_options.limit;
        const std::int64_t lowest = boundary(m_pager.first(m_filter.ids(), 1), 0);
        const std::int64_t highest = boundary(m_pager.last(m_filter.ids(), 1), -1);
        return highest - lowest < *m_options.limit;
    }
    static std::int64_t boundary(const Page<Record> &page, int otherwise)
    {
        return page.size() > 0 ? page.lowest() : otherwise;
    }

    void listFirst()
    {
        std::int64_t left = m_options.limit ? std::int64_t(*m_options.limit) : INT64_MAX;
        if (left == 0)
            return;
        const std::int64_t wanted = m_filter.isWhole() ? std::min<std::int64_t>(left, PageSize) : PageSize;
        m_pager.forEach(m_filter.ids(), int(wanted), [&](const Record &record) {
            m_top = RecordKind<Record>::id(record);
            if (!m_filter(record))
                return true;
            write(record);
            return --left > 0;
        });
    }

    /**
     * The last ones are found from the end, page by page, and written from the
     * first of them on: pages that were passed on the way are read once more,
     * so that no more than one is in memory.
     */
    void listLast()
    {
        const std::vector<IdRange> passed = findLast();
        for (auto range = passed.rbegin(); range != passed.rend(); ++range)
            writeMatching(m_pager.first(*range), 0);
    }

    /** Writes what is in the page where it begins. Returns where the later ones that hold some are, the newest first.
     */
    std::vector<IdRange> findLast()
    {
        std::vector<IdRange> passed;
        IdRange range = m_filter.ids();
        std::int64_t left = *m_options.limit;
        while (!range.isEmpty()) {
            // Where the request says it all, no more are asked for than are wanted; one tells which is the newest.
            const std::int64_t wanted = m_filter.isWhole() ? std::clamp<std::int64_t>(left, 1, PageSize) : PageSize;
            const Page<Record> page = m_pager.last(range, int(wanted));
            if (page.size() == 0)
                break;
            m_top = std::max<std::int64_t>(m_top, page.highest());
            const std::int64_t count = countMatching(page);
            if (count >= left || page.size() < wanted) {
                writeMatching(page, std::max<std::int64_t>(0, count - left));
                break;
            }
            left -= count;
            range.high = std::int64_t(page.lowest()) - 1;
            if (count > 0)
                passed.push_back({page.lowest(), page.highest()});
        }
        return passed;
    }

    std::int64_t countMatching(const Page<Record> &page) const
    {
        if (m_filter.isWhole())
            return page.size();
        std::int64_t count = 0;
        for (int i = 0; i < page.size(); ++i)
            count += m_filter(page[i]) ? 1 : 0;
        return count;
    }

    /** Writes the matching records of a page but for the first `skipped`. */
    void writeMatching(const Page<Record> &page, std::int64_t skipped)
    {
        for (int i = 0; i < page.size(); ++i)
            if (m_filter(page[i]) && skipped-- <= 0)
                write(page[i]);
    }

    /**
     * A database that was restored from a backup goes on below what was seen
     * last. No identifier is used twice, so that what lies above the newest one
     * now, and was seen, cannot come again.
     */
    void followBack()
    {
        const Page<Record> newest = m_pager.last(m_filter.ids(), 1);
        m_newest = newest.size() > 0 ? std::min<std::int64_t>(m_newest, newest.highest()) : NothingSeen;
    }

    const ListOptions &m_options;
    RecordFilter<Record> m_filter;
    Pager<Record> m_pager;
    std::unique_ptr<Format> m_format;
    Cells m_cells;
    std::int64_t m_newest = NothingSeen; ///< identifier of the record that was seen last
    std::int64_t m_top = NothingSeen;    ///< of the newest that a list found
    bool m_started = false;
};

/** One list of sensors. */
class SensorListing
{
public:
    SensorListing(const Source &source, const ListOptions &options, Output &output)
        : m_source(source)
        , m_options(options)
        , m_filter(options.filter)
        , m_format(makeFormat(options.format, columnsOf<CSensor>(), output))
    {
    }

    void listNow()
    {
        const LentRecords<CSensor> sensors = m_source.sensors();
        std::vector<const CSensor *> chosen;
        for (const CSensor &sensor : sensors)
            if (m_filter(sensor))
                chosen.push_back(&sensor);
        const std::size_t most = m_options.limit ? std::size_t(*m_options.limit) : chosen.size();
        const std::size_t count = std::min(most, chosen.size());
        const auto from = m_options.first ? chosen.begin() : chosen.end() - std::ptrdiff_t(count);
        std::for_each(from, from + std::ptrdiff_t(count), [&](const CSensor *sensor) { write(*sensor); });
        for (const CSensor *sensor : chosen)
            note(*sensor);
        m_format->pause();
    }

    void listChanged()
    {
        if (!m_started) {
            listNow();
            m_started = true;
            return;
        }
        for (const CSensor &sensor : m_source.sensors())
            if (m_filter(sensor) && note(sensor))
                write(sensor);
        m_format->pause();
    }

private:
    using State = std::tuple<int, int, std::string>;

    void write(const CSensor &sensor)
    {
        fillCells(m_cells, sensor);
        m_format->row(m_cells);
    }
    /** Whether the sensor is new or differs from what was seen last. */
    bool note(const CSensor &sensor)
    {
        State state(sensor.SensorType, sensor.MessageType, recordBytes(sensor.Description, sensor.LDescription));
        const std::string name(recordBytes(sensor.SensorID, sensor.LSensorID));
        const auto [known, isNew] = m_known.emplace(name, state);
        if (!isNew && known->second == state)
            return false;
        known->second = std::move(state);
        return true;
    }

    const Source &m_source;
    const ListOptions &m_options;
    SensorFilter m_filter;
    std::unique_ptr<Format> m_format;
    Cells m_cells;
    std::map<std::string, State> m_known;
    bool m_started = false;
};
} // namespace

template <class Record> void listRecords(const Source &source, const ListOptions &options, Output &output)
{
    Listing<Record> listing(source, options, output);
    if (options.follow)
        keepLooking(output, options.interval, [&] { listing.listNew(); });
    else
        listing.listNow();
}

void listSensors(const Source &source, const ListOptions &options, Output &output)
{
    SensorListing listing(source, options, output);
    if (options.follow)
        keepLooking(output, options.interval, [&] { listing.listChanged(); });
    else
        listing.listNow();
}

template void listRecords<CMessageEvent>(const Source &, const ListOptions &, Output &);
template void listRecords<CMessageCommand>(const Source &, const ListOptions &, Output &);
