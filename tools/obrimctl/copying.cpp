// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "copying.h"

#include "bytetext.h"
#include "filling.h"
#include "output.h"
#include "paging.h"
#include "parametertext.h"
#include "recordsum.h"
#include "translation.h"

#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <set>
#include <unistd.h>

namespace
{
/** How far a step has got, on a terminal. */
class Progress
{
public:
    /** The identifiers go from that of the first record to `last`; `what` has a place for the percentage. */
    Progress(const char *what, std::int64_t last)
        : m_what(what)
        , m_last(last)
        , m_isShown(isatty(STDERR_FILENO) != 0)
    {
    }
    ~Progress()
    {
        if (m_percent >= 0)
            std::fputs("\r\x1b[K", stderr);
    }
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void reached(int id)
    {
        m_first = std::min<std::int64_t>(m_first, id);
        const int percent = int((id - m_first + 1) * 100 / (m_last - m_first + 1));
        if (!m_isShown || percent == m_percent)
            return;
        m_percent = percent;
        std::fprintf(stderr, "\r\x1b[K%s", filled(m_what, percent).c_str());
    }

private:
    const char *m_what;
    std::int64_t m_first = INT64_MAX;
    std::int64_t m_last;
    bool m_isShown;
    int m_percent = -1;
};

/** What was compared. */
struct Compared {
    std::int64_t count = 0;
    std::uint64_t sum = 0;
    std::int64_t leastShift = INT64_MAX; ///< of the identifiers, from the source to the target
    std::int64_t mostShift = INT64_MIN;

    void add(int from, const Stored &to)
    {
        ++count;
        sum = joinedSum(sum, to.sum);
        leastShift = std::min(leastShift, std::int64_t(to.id) - from);
        mostShift = std::max(mostShift, std::int64_t(to.id) - from);
    }
};

/** The copy of one kind of records. */
template <class Record> class Copy
{
public:
    Copy(const Source &source, CopyTarget &target, const std::string &targetName)
        : m_pager(source, {})
        , m_target(target)
        , m_targetName(targetName)
    {
        const Page<Record> last = m_pager.last({}, 1);
        m_ids.high = last.size() > 0 ? last.highest() : std::int64_t(INT_MIN) - 1;
    }

    bool isAnything() const
    {
        return !m_ids.isEmpty();
    }

    /** Finds where an earlier copy ended. Throws when the target holds something else. */
    void findBegin()
    {
        Compared compared;
        Stored stored;
        bool more = beginTarget(stored);
        m_next = m_ids.low;
        m_pager.forEach(m_ids, PageSize, [&](const Record &record) {
            if (!more)
                return false;
            if (stored.sum != recordSum(record))
                throw others(stored.id);
            compared.add(RecordKind<Record>::id(record), stored);
            m_next = std::int64_t(RecordKind<Record>::id(record)) + 1;
            more = m_target.nextStored(stored);
            return true;
        });
        if (more)
            throw others(stored.id);
        m_before = compared.count;
    }

    void copy()
    {
        Progress progress(translated(forKind<Record>(translatable("events: %1 %"), translatable("commands: %1 %"))),
                          m_ids.high);
        m_pager.forEach({m_next, m_ids.high}, PageSize, [&](const Record &record) {
            m_target.put(measured(record));
            progress.reached(RecordKind<Record>::id(record));
            return true;
        });
        m_target.settle();
    }

    /** Compares all records of both sides. */
    Compared compare()
    {
        Compared compared;
        Stored stored;
        Progress progress(translated("comparing: %1 %"), m_ids.high);
        bool more = beginTarget(stored);
        m_pager.forEach(m_ids, PageSize, [&](const Record &record) {
            const int id = RecordKind<Record>::id(record);
            if (!more || stored.sum != recordSum(record))
                throw more ? different(id) : lost(id);
            compared.add(id, stored);
            progress.reached(id);
            more = m_target.nextStored(stored);
            return true;
        });
        if (more)
            throw others(stored.id);
        return compared;
    }

    void tell(const Compared &compared, Output &output) const
    {
        char sum[17];
        std::snprintf(sum, sizeof(sum), "%016" PRIx64, compared.sum);
        output.write(
            filled(translated(m_before > 0 ? forKind<Record>(translatable("events: %1 in both, sum %2, %3 of "
                                                                          "them from an earlier copy"),
                                                             translatable("commands: %1 in both, sum %2, %3 of "
                                                                          "them from an earlier copy"))
                                           : forKind<Record>(translatable("events: %1 in both, sum %2"),
                                                             translatable("commands: %1 in both, sum %2"))),
                   compared.count, sum, m_before) +
            "\n");
        if (compared.count > 0 && (compared.leastShift != 0 || compared.mostShift != 0))
            tellShift(compared, output);
        const std::int64_t late = countSince();
        if (late > 0)
            output.write(filled(translatedFor(late, "  %1 more have come meanwhile: copy again to take them too",
                                              "  %1 more have come meanwhile: copy again to take them too"),
                                late) +
                         "\n");
    }

private:
    bool beginTarget(Stored &stored)
    {
        m_target.template beginStored<Record>();
        return m_target.nextStored(stored);
    }
    Failure others(int id) const
    {
        return Failure(filled(
            translated(forKind<Record>(translatable("%1 holds events that are not those of a copy begun before, "
                                                    "such as event %2; copy into an empty installation"),
                                       translatable("%1 holds commands that are not those of a copy begun before, "
                                                    "such as command %2; copy into an empty installation"))),
            m_targetName, id));
    }
    Failure different(int id) const
    {
        return Failure(
            filled(translated(forKind<Record>(translatable("event %1 differs in %2 after it was copied; dblib-check "
                                                           "shows what is wrong with a DB library"),
                                              translatable("command %1 differs in %2 after it was copied; dblib-check "
                                                           "shows what is wrong with a DB library"))),
                   id, m_targetName));
    }
    Failure lost(int id) const
    {
        return Failure(
            filled(translated(forKind<Record>(translatable("event %1 is not there in %2 after it was copied; "
                                                           "dblib-check shows what is wrong with a DB library"),
                                              translatable("command %1 is not there in %2 after it was copied; "
                                                           "dblib-check shows what is wrong with a DB library"))),
                   id, m_targetName));
    }
    void tellShift(const Compared &compared, Output &output) const
    {
        const char *text =
            compared.leastShift == compared.mostShift
                ? translated("  identifiers are others than before: by %1, where the DB library gives its own")
                : translated("  identifiers are others than before: by %1 to %2, where the DB library gives its own");
        output.write(filled(text, compared.leastShift, compared.mostShift) + "\n");
    }
    std::int64_t countSince() const
    {
        std::int64_t count = 0;
        m_pager.forEach({m_ids.high + 1, INT_MAX}, PageSize, [&](const Record &) {
            ++count;
            return true;
        });
        return count;
    }

    Pager<Record> m_pager;
    CopyTarget &m_target;
    std::string m_targetName;
    IdRange m_ids; ///< what there was to copy at the beginning
    std::int64_t m_next = 0;
    std::int64_t m_before = 0;
};

std::string listed(const std::vector<std::string> &names)
{
    constexpr std::size_t most = 5;
    std::string text;
    for (std::size_t i = 0; i < std::min(most, names.size()); ++i)
        text += (i > 0 ? ", " : "") + visible(names[i]);
    return text + (names.size() > most ? ", ..." : "");
}

/** Sensors that are at work would carry out old commands. */
void requireNoneAlive(CopyTarget &target, const std::string &targetName)
{
    const std::vector<std::string> alive = target.sensorsAlive();
    if (!alive.empty()) {
        throw Failure(filled(translated("sensors are at work in %1 (%2) and would carry out the copied commands; end "
                                        "them first"),
                             targetName, listed(alive)));
    }
}

/** Only events make a sensor known: no function of a DB library stores one. */
void tellMissingSensors(const Source &source, CopyTarget &target, Output &output)
{
    const std::vector<std::string> known = target.sensors();
    const std::set<std::string> there(known.begin(), known.end());
    std::vector<std::string> missing;
    for (const CSensor &sensor : source.sensors()) {
        const std::string name(recordBytes(sensor.SensorID, sensor.LSensorID));
        if (there.count(name) == 0)
            missing.push_back(name);
    }
    if (missing.empty())
        return;
    const char *text = translatedFor(std::int64_t(missing.size()), "sensors: %1 are not known there yet: %2",
                                     "sensors: %1 are not known there yet: %2");
    output.write(filled(text, missing.size(), listed(missing)) + "\n");
}
} // namespace

void copyRecords(const Source &source, CopyTarget &target, const std::string &targetName, Output &output)
{
    Copy<CMessageCommand> commands(source, target, targetName);
    Copy<CMessageEvent> events(source, target, targetName);
    commands.findBegin();
    events.findBegin();
    if (commands.isAnything())
        requireNoneAlive(target, targetName);
    commands.copy();
    events.copy();
    commands.tell(commands.compare(), output);
    events.tell(events.compare(), output);
    tellMissingSensors(source, target, output);
}
