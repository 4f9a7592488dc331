// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/**
 * @file
 * What the benchmarks of lists and windows have in common. Times are processor
 * time of this thread, the kernel's share included, so that other work on the
 * machine counts little; all work of a window is done on one thread.
 */

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

inline double now()
{
    std::timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + 1e-9 * double(time.tv_nsec);
}

inline double seconds(const std::function<void()> &work)
{
    const double start = now();
    work();
    return now() - start;
}

inline double medianOf(std::vector<double> values)
{
    const auto middle = values.begin() + std::ptrdiff_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/** The median of some runs: one run now and then loses its caches to others. */
inline double median(int runs, const std::function<void()> &work)
{
    std::vector<double> times;
    for (int i = 0; i < runs; ++i)
        times.push_back(seconds(work));
    return medianOf(times);
}

/** Memory of this process by one of the kernel's counts, in bytes. */
inline double memory(const char *count)
{
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        double kilobytes = 0;
        if (word == count && status >> kilobytes)
            return kilobytes * 1024;
    }
    return 0;
}

/** Tells each figure beside its goal and whether that was met. */
class Goals
{
public:
    explicit Goals(std::FILE *to)
        : m_to(to)
    {
    }

    void atMost(const char *work, double value, const char *unit, double goal)
    {
        const bool met = value <= goal;
        m_met = m_met && met;
        std::fprintf(m_to, "%s  %-56s %9.3f %-6s goal at most %.2f\n", met ? "PASS" : "FAIL", work, value, unit, goal);
        std::fflush(m_to);
    }

    /** Both in seconds. */
    void ratio(const char *work, double time, double base, double goal)
    {
        std::fprintf(m_to, "      %.4f ms : %.4f ms\n", 1e3 * time, 1e3 * base);
        atMost(work, time / base, "x", goal);
    }

    bool met() const
    {
        return m_met;
    }

private:
    std::FILE *m_to;
    bool m_met = true;
};

/** Counts the paint events that pass an object. */
struct PaintCounter : QObject {
    bool eventFilter(QObject *, QEvent *event) override
    {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }

    /** Waits for what changed to be painted, as it comes about in the program. */
    void wait(int before) const
    {
        for (int i = 0; i < 100 && count == before; ++i)
            QCoreApplication::processEvents();
    }

    int count = 0;
};
