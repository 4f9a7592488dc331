// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Twenty windows that fetch what is new every two seconds, opened and closed
// at random, while the sensors write 500 events a second. OBRIM_SOAK_SECONDS
// says for how long (120), OBRIM_SOAK_SEED what is opened and closed.
#include "operator.h"

#include <QDir>
#include <QElapsedTimer>
#include <malloc.h>
#include <random>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
constexpr bool heapIsMeasured = false; // the sanitizer has a heap of its own, and looks for leaks itself
#else
constexpr bool heapIsMeasured = true;
#endif

namespace
{

constexpr std::size_t windowCount = 20;
/** A row, its share of the list, and what its text in the store brings along. */
constexpr qint64 bytesPerRow = 250;
/** Caches of fonts, names and pages that fill with use, up to a bound. */
constexpr qint64 cachesAtMost = 8 << 20;

struct Sample {
    qint64 heap = 0;
    qint64 rows = 0;
    int descriptors = 0;
};

/** The windows that are open, each updating itself. */
class Windows
{
public:
    void open(std::mt19937 &random)
    {
        static const char *const buttons[] = {"Sensors_list", "BEventsList", "BCommandList"};
        const char *button = buttons[std::uniform_int_distribution<std::size_t>(0, 2)(random)];
        QWidget *window = OpenList(button);
        if (window->findChild<QComboBox *>("AutoUpdate"))
            Choose(window, "AutoUpdate", 1);
        m_windows.push_back(window);
    }

    void closeOne(std::mt19937 &random)
    {
        const std::size_t i = std::uniform_int_distribution<std::size_t>(0, m_windows.size() - 1)(random);
        m_windows[i]->close();
        m_windows.erase(m_windows.begin() + std::ptrdiff_t(i));
    }

    void closeAll()
    {
        for (QWidget *window : m_windows)
            window->close();
        m_windows.clear();
    }

    Sample measure() const
    {
        Sample sample;
        for (const QWidget *window : m_windows)
            sample.rows += ListOf(window)->childCount();
        sample.heap = qint64(mallinfo2().uordblks) + qint64(mallinfo2().hblkhd);
        sample.descriptors = int(QDir("/proc/self/fd").entryList(QDir::AllEntries | QDir::System).size());
        return sample;
    }

    std::size_t count() const
    {
        return m_windows.size();
    }

private:
    std::vector<QWidget *> m_windows;
};

int fromEnvironment(const char *name, int otherwise)
{
    return qEnvironmentVariableIsSet(name) ? qEnvironmentVariableIntValue(name) : otherwise;
}

void Tell(const char *when, const Sample &sample)
{
    std::printf("soak: %s: %lld KiB on the heap, %lld rows, %d descriptors\n", when, sample.heap / 1024, sample.rows,
                sample.descriptors);
}

void Compare(const char *when, const Sample &first, const Sample &last)
{
    Tell(when, last);
    Require(last.descriptors <= first.descriptors, "no descriptor more than at first");
    const qint64 rows = std::max<qint64>(0, last.rows - first.rows);
    const qint64 most = first.heap + rows * bytesPerRow + cachesAtMost;
    Require(!heapIsMeasured || last.heap <= most, QString("at most %1 KiB on the heap").arg(most / 1024));
}

void Fill(Windows &windows, std::mt19937 &random)
{
    while (windows.count() < windowCount)
        windows.open(random);
    QTest::qWait(0);
}

} // namespace

void Work()
{
    const int seconds = fromEnvironment("OBRIM_SOAK_SECONDS", 120);
    const int seed = fromEnvironment("OBRIM_SOAK_SEED", 20);
    std::printf("soak: %d seconds, seed %d\n", seconds, seed);
    std::mt19937 random{unsigned(seed)};
    Simulator simulator({"--rate", "500", "--seed", "1"});
    Windows windows;
    // Once round before anything is measured: what is loaded at first use stays loaded.
    Fill(windows, random);
    windows.closeAll();
    QTest::qWait(0);
    const Sample empty = windows.measure();
    Tell("without windows", empty);

    Fill(windows, random);
    const Sample full = windows.measure();
    Tell("with all windows", full);
    QElapsedTimer clock;
    clock.start();
    int changes = 0;
    std::exponential_distribution<double> pause(2.0);
    while (clock.elapsed() < qint64(seconds) * 1000) {
        QTest::qWait(int(pause(random) * 1000));
        windows.closeOne(random);
        windows.open(random);
        if (++changes % 100 == 0)
            Compare("under way", full, windows.measure());
    }
    Compare("at the end", full, windows.measure());
    windows.closeAll();
    QTest::qWait(0);
    Compare("after all windows", empty, windows.measure());
    simulator.stop();
    std::printf("soak: %d windows closed and opened\n", changes);
}
