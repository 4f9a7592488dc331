// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * Many events windows that follow a busy installation: what share of one
 * processor the console takes, all its threads and the kernel's part included,
 * the library's work too. The sensors are another process.
 *
 * OBRIM_BENCH_SECONDS says for how long that is looked at (30).
 */

#include "LoadDLL.h"
#include "eventswindow.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTimer>
#include <sys/resource.h>
#include <unistd.h>

namespace
{

constexpr int Windows = 20;
constexpr int Rows = 10000;
constexpr int EventsPerSecond = 500;
/** The entry of the auto-update's list that stands for 2 seconds. */
constexpr int EveryTwoSeconds = 1;

int secondsToLook()
{
    const char *given = std::getenv("OBRIM_BENCH_SECONDS");
    return given ? std::max(4, std::atoi(given)) : 30;
}

/** Processor time of the process. */
double processorTime()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto inSeconds = [](const timeval &time) { return double(time.tv_sec) + 1e-6 * double(time.tv_usec); };
    return inSeconds(usage.ru_utime) + inSeconds(usage.ru_stime);
}

/** Sensors at work on an installation, which end with this. */
class Sensors
{
public:
    explicit Sensors(const QString &config)
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.setStandardOutputFile(QProcess::nullDevice());
        run({"--config", config, "--fill", QString::number(Rows)});
        m_process.waitForFinished(-1);
        if (m_process.exitStatus() != QProcess::NormalExit || m_process.exitCode() != 0)
            std::exit(1);
        run({"--config", config, "--rate", QString::number(EventsPerSecond)});
    }
    Sensors(const Sensors &) = delete;
    Sensors &operator=(const Sensors &) = delete;
    ~Sensors()
    {
        m_process.terminate();
        m_process.waitForFinished(-1);
    }

private:
    void run(const QStringList &arguments)
    {
        m_process.start(SENSOR_SIM, arguments);
        if (!m_process.waitForStarted(-1))
            std::exit(1);
    }

    QProcess m_process;
};

void runFor(int seconds)
{
    QTimer::singleShot(1000 * seconds, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
}

/** The share of one processor that the windows take, from when they run smoothly. */
void bench(Goals &goals, std::FILE *figures, const std::vector<std::unique_ptr<Window>> &windows)
{
    runFor(4);
    const int rowsBefore = windows.back()->list().childCount();
    QElapsedTimer clock;
    clock.start();
    const double before = processorTime();
    runFor(secondsToLook());
    const double taken = processorTime() - before;
    const double passed = 1e-3 * double(clock.elapsed());
    const int came = windows.back()->list().childCount() - rowsBefore;
    std::fprintf(figures, "      %d windows of %d rows and more, %.0f events a second: %.2f s in %.1f s\n", Windows,
                 Rows, came / passed, taken, passed);
    goals.atMost("windows that follow, of one processor", 100 * taken / passed, "%", 5);
    goals.atMost("events a second that did not come", EventsPerSecond - came / passed, "", EventsPerSecond * 0.05);
}

} // namespace

int main(int argc, char **argv)
{
    // The windows trace to standard output; the figures alone go where it went.
    std::FILE *figures = ::fdopen(::dup(STDOUT_FILENO), "w");
    if (!figures || !std::freopen("/dev/null", "w", stdout))
        return 1;
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    const Installations installations({"busy"});
    const Sensors sensors(installations.config("busy"));
    LoadDLL(installations.libs());
    if (!FDBGetEvents)
        return 1;
    useInstallation(installations, "busy");
    std::vector<std::unique_ptr<Window>> windows;
    for (int i = 0; i < Windows; ++i) {
        windows.push_back(std::make_unique<Window>());
        windows.back()->load(Rows);
        windows.back()->follow(EveryTwoSeconds);
    }
    Goals goals(figures);
    bench(goals, figures, windows);
    return goals.met() ? 0 : 1;
}
