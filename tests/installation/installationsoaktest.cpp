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
constexpr bool HeapIsMeasured = false; // the sanitizer has a heap of its own, and looks for leaks itself
#else
constexpr bool HeapIsMeasured = true;
#endif

namespace
{

constexpr std::size_t WindowCount = 20;
/** A row, its share of the list, and what its text in the store brings along. */
constexpr qint64 BytesPerRow = 250;
/** Caches of fonts, names and pages that fill with use, up to a bound. */
constexpr qint64 CachesAtMost = 8 << 20;

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
        QWidget *window = openList(button);
        if (window->findChild<QComboBox *>("AutoUpdate"))
            choose(window, "AutoUpdate", 1);
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
            sample.rows += listOf(window)->childCount();
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

void tell(const char *when, const Sample &sample)
{
    std::printf("soak: %s: %lld KiB on the heap, %lld rows, %d descriptors\n", when, sample.heap / 1024, sample.rows,
                sample.descriptors);
}

void compare(const char *when, const Sample &first, const Sample &last)
{
    tell(when, last);
    require(last.descriptors <= first.descriptors, "no descriptor more than at first");
    const qint64 rows = std::max<qint64>(0, last.rows - first.rows);
    const qint64 most = first.heap + rows * BytesPerRow + CachesAtMost;
    require(!HeapIsMeasured || last.heap <= most, QString("at most %1 KiB on the heap").arg(most / 1024));
}

void fill(Windows &windows, std::mt19937 &random)
{
    while (windows.count() < WindowCount)
        windows.open(random);
    QTest::qWait(0);
}

} // namespace

void work()
{
    const int seconds = fromEnvironment("OBRIM_SOAK_SECONDS", 120);
    const int seed = fromEnvironment("OBRIM_SOAK_SEED", 20);
    std::printf("soak: %d seconds, seed %d\n", seconds, seed);
    std::mt19937 random{unsigned(seed)};
    Simulator simulator({"--rate", "500", "--seed", "1"});
    Windows windows;
    // Once round before anything is measured: what is loaded at first use stays loaded.
    fill(windows, random);
    windows.closeAll();
    QTest::qWait(0);
    const Sample empty = windows.measure();
    tell("without windows", empty);

    fill(windows, random);
    const Sample full = windows.measure();
    tell("with all windows", full);
    QElapsedTimer clock;
    clock.start();
    int changes = 0;
    std::exponential_distribution<double> pause(2.0);
    while (clock.elapsed() < qint64(seconds) * 1000) {
        QTest::qWait(int(pause(random) * 1000));
        windows.closeOne(random);
        windows.open(random);
        if (++changes % 100 == 0)
            compare("under way", full, windows.measure());
    }
    compare("at the end", full, windows.measure());
    windows.closeAll();
    QTest::qWait(0);
    compare("after all windows", empty, windows.measure());
    simulator.stop();
    std::printf("soak: %d windows closed and opened\n", changes);
}
