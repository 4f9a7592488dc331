// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/** @file What the benchmarks of the stores have in common: the filters asked for, and figures held against goals. */

#include "Messages.h"
#include "eventsource.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <map>
#include <string>
#include <utility>
#include <vector>

/** A history of events, oldest first, without gaps from identifier 1 on. */
struct History {
    /** The time at a share of the history. */
    std::time_t timeAt(double share) const
    {
        return std::time_t(double(firstTime) + share * double(lastTime - firstTime));
    }
    int idAt(double share) const
    {
        return int(share * count);
    }
    int count = 0;
    std::int64_t firstTime = 0;
    std::int64_t lastTime = 0;
};

inline void setMask(char *&mask, int &length, const std::string &text)
{
    CopyPtr(&mask, &length, text.c_str(), int(text.size()) + 1);
}

/** One filter, set on a request so that it selects far from both ends where it can. */
struct Filter {
    const char *name;
    void (*set)(CMessageEventRequest &request, const History &history);
};

inline const Filter Filters[] = {
    {"none", [](CMessageEventRequest &, const History &) {}},
    {"id_from",
     [](CMessageEventRequest &request, const History &history) {
         request.UseMessageID0 = 1;
         request.MessageID0 = history.idAt(0.4);
     }},
    {"id_to",
     [](CMessageEventRequest &request, const History &history) {
         request.UseMessageID1 = 1;
         request.MessageID1 = history.idAt(0.6);
     }},
    {"message_type",
     [](CMessageEventRequest &request, const History &) {
         request.UseMessageType = 1;
         request.MessageType = Converter;
     }},
    {"sensor_type",
     [](CMessageEventRequest &request, const History &) {
         request.UseSensorType = 1;
         request.SensorType = Receiver;
     }},
    {"sensor_mask",
     [](CMessageEventRequest &request, const History &) {
         request.UseSensorID = 1;
         setMask(request.SensorID, request.LSensorID, "Analyser07");
     }},
    {"event_mask",
     [](CMessageEventRequest &request, const History &) {
         request.UseEventName = 1;
         setMask(request.EventName, request.LEventName, "signallost");
     }},
    {"time_from",
     [](CMessageEventRequest &request, const History &history) {
         request.UseEventTime0 = 1;
         request.EventTime0 = history.timeAt(0.4);
     }},
    {"time_to",
     [](CMessageEventRequest &request, const History &history) {
         request.UseEventTime1 = 1;
         request.EventTime1 = history.timeAt(0.6);
     }},
    {"time_range",
     [](CMessageEventRequest &request, const History &history) {
         request.UseEventTime0 = request.UseEventTime1 = 1;
         request.EventTime0 = history.timeAt(0.4);
         request.EventTime1 = history.timeAt(0.6);
     }},
};

constexpr int FewRecords = 100;
constexpr int ManyRecords = 1000000;

/** The first or last few events that a filter selects. `Data`: a History with the `store` that holds it. */
template <class Data> void fetchFew(benchmark::State &state, Data &data, const Filter &filter, bool first)
{
    CMessageEventRequest request;
    request.NMax = FewRecords;
    request.TakeFirst1_Last0 = first ? 1 : 0;
    filter.set(request, data);
    for (auto _ : state) {
        const auto events = data.store.events(request);
        if (events->size() != FewRecords)
            state.SkipWithError("not the number of records asked for");
    }
}

/** What is newer than the newest event. */
template <class Data> void fetchNew(benchmark::State &state, Data &data)
{
    CMessageEventRequest request;
    request.NMax = FewRecords;
    request.UseMessageID0 = 1;
    request.MessageID0 = data.count + 1;
    for (auto _ : state)
        if (data.store.events(request)->size() != 0)
            state.SkipWithError("something is new");
}

/** The last million events, all where there are fewer. */
template <class Data> void fetchMany(benchmark::State &state, Data &data)
{
    CMessageEventRequest request;
    request.NMax = ManyRecords;
    for (auto _ : state)
        if (data.store.events(request)->size() != std::min(ManyRecords, data.count))
            state.SkipWithError("not the number of records asked for");
}

/** Shows each figure as the least of its repetitions and keeps them for the goals. */
class Figures : public benchmark::ConsoleReporter
{
public:
    struct Least {
        double cpu = 0;  ///< seconds an iteration
        double real = 0; ///< seconds an iteration
    };

    bool ReportContext(const Context &context) override
    {
        PrintBasicContext(&std::cout, context);
        return true;
    }
    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs) {
            if (run.error_occurred) {
                std::cout << run.benchmark_name() << ": " << run.error_message << "\n";
                failed = true;
            } else if (run.run_type == Run::RT_Iteration) {
                add(run);
            }
        }
    }
    void Finalize() override
    {
        std::printf("%-40s %14s %14s\n", "least of all repetitions", "CPU ms", "real ms");
        for (const std::string &name : order)
            std::printf("%-40s %14.4f %14.4f\n", name.c_str(), least[name].cpu * 1e3, least[name].real * 1e3);
    }

    std::map<std::string, Least> least;
    bool failed = false;

private:
    void add(const Run &run)
    {
        const std::string name = run.run_name.function_name;
        const double iterations = double(run.iterations);
        const Least figure = {run.cpu_accumulated_time / iterations, run.real_accumulated_time / iterations};
        const auto [known, isNew] = least.emplace(name, figure);
        if (isNew)
            order.push_back(name);
        known->second.cpu = std::min(known->second.cpu, figure.cpu);
        known->second.real = std::min(known->second.real, figure.real);
    }

    std::vector<std::string> order;
};

/** Tells each goal and whether it was met. Figures that a filter left out are passed over. */
class Goals
{
public:
    explicit Goals(const Figures &measured)
        : figures(measured)
    {
    }
    /** `name` costs at most `most` times what `base` costs, in processor time. */
    void ratio(const std::string &name, const std::string &base, double most)
    {
        ratio(name, base, most, &Figures::Least::cpu);
    }
    /** The same in what the clock shows: for work that another process does. */
    void clockRatio(const std::string &name, const std::string &base, double most)
    {
        ratio(name, base, most, &Figures::Least::real);
    }
    void ratio(const std::string &name, const std::string &base, double most, double Figures::Least::*time)
    {
        const auto figure = figures.least.find(name);
        const auto reference = figures.least.find(base);
        if (figure == figures.least.end() || reference == figures.least.end())
            return;
        const double value = figure->second.*time / (reference->second.*time);
        tell(value <= most, name, "%.2f times " + base + ", goal at most %.1f", value, most);
    }
    /** `name` does at least `least` of `count` things a second. */
    void rate(const std::string &name, double count, double least)
    {
        const auto figure = figures.least.find(name);
        if (figure == figures.least.end())
            return;
        const double value = count / figure->second.real;
        tell(value >= least, name, "%.0f a second, goal at least %.0f", value, least);
    }
    bool met = true;

private:
    void tell(bool pass, const std::string &name, const std::string &format, double value, double goal)
    {
        std::printf("%s  %-28s ", pass ? "PASS" : "FAIL", name.c_str());
        std::printf(format.c_str(), value, goal);
        std::printf("\n");
        met = met && pass;
    }

    const Figures &figures;
};

inline std::string fewName(const Filter &filter, bool first, const char *size)
{
    return std::string(first ? "first_100/" : "last_100/") + filter.name + "/" + size;
}

/** Reads the command line, with defaults that it can change; false when it cannot be read. */
inline bool initialiseBenchmark(int argc, char *argv[])
{
    static std::vector<std::string> arguments;
    // Short repetitions in random order even out what else the machine does.
    arguments = {argv[0], "--benchmark_repetitions=7", "--benchmark_min_time=0.02",
                 "--benchmark_enable_random_interleaving=true"};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    std::vector<char *> pointers;
    for (std::string &argument : arguments)
        pointers.push_back(argument.data());
    int count = int(pointers.size());
    benchmark::Initialize(&count, pointers.data());
    return !benchmark::ReportUnrecognizedArguments(count, pointers.data());
}
