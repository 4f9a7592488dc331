// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "filling.h"
#include "options.h"
#include "sensorsdatabase.h"
#include "settings.h"
#include "simulation.h"
#include "translation.h"
#include "visibletext.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <system_error>
#include <unistd.h>

namespace
{
using Clock = std::chrono::steady_clock;

constexpr double TickSeconds = 0.05;
constexpr double ProgressSeconds = 1;

/** The signals that end the program, taken when it is ready for them instead of anywhere. */
class EndSignals
{
public:
    EndSignals()
    {
        sigemptyset(&m_signals);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP})
            sigaddset(&m_signals, signal);
        sigprocmask(SIG_BLOCK, &m_signals, nullptr);
    }
    /** Waits up to `seconds`; true when the end was asked for. */
    bool wait(double seconds)
    {
        const timespec time = {std::time_t(seconds), long((seconds - double(std::time_t(seconds))) * 1e9)};
        m_ended = m_ended || sigtimedwait(&m_signals, nullptr, &time) > 0;
        return m_ended;
    }

private:
    sigset_t m_signals;
    bool m_ended = false;
};

/** One line that is written over on a terminal; elsewhere only its last state is shown. */
class ProgressLine
{
public:
    void show(const std::string &text)
    {
        if (m_isTerminal && text != m_shown) {
            std::printf("\r%s\033[K", text.c_str());
            std::fflush(stdout);
            m_shown = text;
        }
    }
    void finish(const std::string &text)
    {
        std::printf("%s%s%s\n", m_isTerminal ? "\r" : "", text.c_str(), m_isTerminal ? "\033[K" : "");
        std::fflush(stdout);
    }

private:
    bool m_isTerminal = ::isatty(STDOUT_FILENO) == 1;
    std::string m_shown;
};

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

std::string describe(const SimulationTotals &totals)
{
    return "sensor-sim: " + filled(translated("%1 sensors, %2 dead, %3 events written, %4 commands carried out"),
                                   totals.sensors, totals.dead, totals.events, totals.commands);
}

/** Faults may name files and hold what a file holds. */
void print(const std::string &fault)
{
    std::fprintf(stderr, "sensor-sim: %s\n", visibleText(fault, "\n").c_str());
}

/** Says a fault once, not with each try. */
void complain(std::string &last, const std::string &fault)
{
    if (fault != last)
        print(fault);
    last = fault;
}

int fill(Simulation &simulation, int count, EndSignals &signals, ProgressLine &line)
{
    const Clock::time_point start = Clock::now();
    simulation.fill(count, [&](int done) {
        line.show("sensor-sim: " + filled(translated("%1 of %2 events written"), done, count));
        return !signals.wait(0);
    });
    const double seconds = std::max(secondsSince(start), 1e-9);
    const std::int64_t events = simulation.totals().events;
    line.finish("sensor-sim: " + filled(translated("%1 of %2 events of history written, %3 a second"), events, count,
                                        std::llround(double(events) / seconds)));
    return 0;
}

/** One round on whichever database is there. */
void advance(Simulation &simulation, SensorsDatabase &database, double elapsed)
{
    const int before = database.generation();
    try {
        Store &store = database.store();
        if (database.generation() != before || !simulation.hasStore())
            simulation.moveTo(store);
    } catch (const std::exception &) {
        simulation.draw(elapsed);
        throw;
    }
    simulation.advance(elapsed);
}

int run(Simulation &simulation, SensorsDatabase &database, const Options &options, EndSignals &signals,
        ProgressLine &line)
{
    const Clock::time_point start = Clock::now();
    std::string fault;
    double nextProgress = 0;
    bool last = false;
    while (!last) {
        const double elapsed = secondsSince(start);
        // A last round, so that nothing drawn before the end stays unwritten.
        last = signals.wait(0) || (options.duration && elapsed >= *options.duration);
        try {
            advance(simulation, database, options.duration ? std::min(elapsed, *options.duration) : elapsed);
            fault.clear();
        } catch (const std::exception &error) {
            complain(fault, error.what());
        }
        if (elapsed >= nextProgress) {
            line.show(describe(simulation.totals()));
            nextProgress = elapsed + ProgressSeconds;
        }
        if (!last)
            signals.wait(TickSeconds);
    }
    line.finish(describe(simulation.totals()));
    return fault.empty() ? 0 : 1;
}

struct FileCloser {
    void operator()(std::FILE *file) const
    {
        std::fclose(file);
    }
};

/** The default database lies beside DIR, and would bring a mistyped DIR into being with it. */
bool isDirectory(const std::string &path)
{
    std::error_code error;
    if (std::filesystem::is_directory(path, error))
        return true;
    print("--config " + path + ": " + (error ? error : std::make_error_code(std::errc::not_a_directory)).message());
    return false;
}

int play(const Options &options)
{
    EndSignals signals;
    ProgressLine line;
    std::unique_ptr<std::FILE, FileCloser> log;
    if (!options.log.empty()) {
        log.reset(std::fopen(options.log.c_str(), "ae"));
        if (!log) {
            print(options.log + ": " + std::strerror(errno));
            return 1;
        }
    }
    const Settings settings = readSettings(options.configDir);
    const unsigned seed = options.seed ? *options.seed : std::random_device()();
    if (options.fill) {
        const std::unique_ptr<Store> store = openDatabase(settings);
        Simulation simulation(*store, options.sensors, seed, options.rate, log.get());
        return fill(simulation, *options.fill, signals, line);
    }
    SensorsDatabase database(settings);
    Simulation simulation(database.store(), options.sensors, seed, options.rate, log.get());
    return run(simulation, database, options, signals, line);
}
} // namespace

int main(int argc, char *argv[])
{
    setLanguage();
    setLetters();
    try {
        std::string fault;
        const Options options = parseOptions(argc, argv, fault);
        if (!fault.empty()) {
            print(fault);
            std::fputs(usage().c_str(), stderr);
            return 2;
        }
        if (options.help) {
            std::fputs(usage().c_str(), stdout);
            return 0;
        }
        if (options.version) {
            std::puts("sensor-sim " OBRIM_VERSION);
            return 0;
        }
        return isDirectory(options.configDir) ? play(options) : 2;
    } catch (const std::exception &error) {
        print(error.what());
        return 1;
    }
}
