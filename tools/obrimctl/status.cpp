// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "status.h"

#include "filling.h"
#include "output.h"
#include "paging.h"
#include "realpath.h"
#include "source.h"
#include "statusreport.h"
#include "translation.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <functional>
#include <unistd.h>

namespace
{
/** What the console loses when the library has no such function. */
void lookAtLibrary(StatusReport &report, const LoadedLibrary &library)
{
    const DBFunctions &has = library.functions;
    const bool found[DBFunctionCount] = {
        has.getSensors != nullptr,    has.initSensors != nullptr,  has.getEvents != nullptr,  has.initEvents != nullptr,
        has.getCommands != nullptr,   has.initCommands != nullptr, has.putCommand != nullptr, has.putEvent != nullptr,
        has.deleteCommand != nullptr, has.deleteEvent != nullptr};
    report.symbols = library.outcome == LoadOutcome::Cxx ? "C++" : library.outcome == LoadOutcome::C ? "C" : "";
    for (int i = 0; i < DBFunctionCount; ++i)
        if (!found[i])
            report.missing.emplace_back(DBSymbols[i].key);
    if (library.outcome == LoadOutcome::Incomplete && !report.missing.empty())
        report.faults.push_back(filled(translated("the DB library has no %1"), report.missing.front()));
}

std::string linkTarget(const std::string &path)
{
    char link[1];
    return readlink(path.c_str(), link, sizeof(link)) >= 0 ? realPath(path) : "";
}

void lookAtSensors(StatusReport &report, const Source &source, bool requireAlive)
{
    SensorStatus status;
    for (const CSensor &sensor : source.sensors())
        ++(sensor.MessageType == SensorAlive  ? status.alive
           : sensor.MessageType == SensorDead ? status.dead
                                              : status.unknown);
    report.sensors = status;
    const int notAlive = status.dead + status.unknown;
    if (requireAlive && notAlive > 0) {
        report.faults.push_back(
            filled(translatedFor(notAlive, "%1 sensors are not alive", "%1 sensors are not alive"), notAlive));
    }
}

template <class Record> RecordStatus recordStatus(const Source &source, bool quick)
{
    RecordStatus status;
    const Pager<Record> pager(source, {});
    {
        const Page<Record> newest = pager.last({}, 1);
        if (newest.size() > 0) {
            status.newestId = newest.highest();
            status.newestTime = RecordKind<Record>::time(newest[0]);
        }
    }
    if (quick)
        return status;
    status.count = 0;
    pager.forEach({}, PageSize, [&](const Record &) {
        ++*status.count;
        return true;
    });
    return status;
}

double roundTrip(const Source &source)
{
    const auto begin = std::chrono::steady_clock::now();
    Pager<CMessageEvent>(source, {}).last({}, 1);
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}

/** One look; what fails becomes a fault, once, and the others go on. */
void tried(StatusReport &report, const std::function<void()> &look)
{
    try {
        look();
    } catch (const Failure &failure) {
        if (std::find(report.faults.begin(), report.faults.end(), failure.what()) == report.faults.end())
            report.faults.emplace_back(failure.what());
    }
}

StatusReport reportOf(const Installation &installation, const StatusOptions &options)
{
    StatusReport report;
    report.installation = realPath(installation.base);
    report.library = dbLibraryIn(Installation(report.installation).libs);
    report.linked = linkTarget(report.library);
    report.bits = int(sizeof(void *)) * CHAR_BIT;
    const LoadedLibrary library = loadLibraryOf(installation);
    tried(report, [&] {
        const Source source(installation, library);
        lookAtLibrary(report, library);
        tried(report, [&] { lookAtSensors(report, source, options.requireAlive); });
        tried(report, [&] { report.events = recordStatus<CMessageEvent>(source, options.quick); });
        tried(report, [&] { report.commands = recordStatus<CMessageCommand>(source, options.quick); });
        if (report.events)
            tried(report, [&] { report.roundTrip = roundTrip(source); });
    });
    return report;
}
} // namespace

int showStatus(const Installation &installation, const StatusOptions &options, Output &output)
{
    if (options.json)
        setEnglish();
    const StatusReport report = reportOf(installation, options);
    output.write(options.json ? statusJson(report, options.clock) : statusText(report, options.clock));
    return report.faults.empty() ? ExitWell : ExitFailure;
}
