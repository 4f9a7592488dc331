// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "timepresets.h"

#include "clock.h"
#include "timezone.h"

#include <QTest>
#include <QTimeZone>
#include <climits>

class TimePresetsTest : public QObject
{
    Q_OBJECT

private slots:
    void steps_data();
    void steps();
    void dayAcrossSummerTimeKeepsTheTimeOfDay();
    void hourAcrossSummerTimeIsAnHourOfTime();
    void dayBackIntoTheSkippedHourIsAValidTime();
    void nowComesFromTheOneClock();
    void recordTime_data();
    void recordTime();
};

static QDateTime local(const QString &text)
{
    return QDateTime::fromString(text, QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

void TimePresetsTest::steps_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("now");
    QTest::addColumn<QString>("expected");
    const QString now = "2026-11-21 10:20:30";
    QTest::newRow("now") << 0 << now << now;
    QTest::newRow("1 minute ago") << 1 << now << "2026-11-21 10:19:30";
    QTest::newRow("1 hour ago") << 2 << now << "2026-11-21 09:20:30";
    QTest::newRow("1 day ago") << 3 << now << "2026-11-20 10:20:30";
    QTest::newRow("1 week ago") << 4 << now << "2026-11-14 10:20:30";
    QTest::newRow("1 month ago") << 5 << now << "2026-10-21 10:20:30";
    QTest::newRow("1 year ago") << 6 << now << "2025-11-21 10:20:30";
    QTest::newRow("index beyond") << 7 << now << now;
    QTest::newRow("index below") << -1 << now << now;
    QTest::newRow("1 month before 31 March") << 5 << "2026-03-31 23:59:59"
                                             << "2026-02-28 23:59:59";
    QTest::newRow("1 month before 31 March of a leap year") << 5 << "2024-03-31 00:00:00"
                                                            << "2024-02-29 00:00:00";
    QTest::newRow("1 month before 31 July") << 5 << "2026-07-31 12:00:00"
                                            << "2026-06-30 12:00:00";
    QTest::newRow("1 month before January") << 5 << "2026-01-15 12:00:00"
                                            << "2025-12-15 12:00:00";
    QTest::newRow("1 year before a leap day") << 6 << "2024-02-29 12:00:00"
                                              << "2023-02-28 12:00:00";
    QTest::newRow("1 minute before midnight of the new year") << 1 << "2026-01-01 00:00:30"
                                                              << "2025-12-31 23:59:30";
    QTest::newRow("1 week before the first") << 4 << "2026-03-01 12:00:00"
                                             << "2026-02-22 12:00:00";
}

void TimePresetsTest::steps()
{
    QFETCH(int, index);
    QFETCH(QString, now);
    QFETCH(QString, expected);
    QCOMPARE(timePreset(index, local(now)), local(expected));
}

void TimePresetsTest::dayAcrossSummerTimeKeepsTheTimeOfDay()
{
    const TimeZone zone("Europe/Berlin");
    const QDateTime now = local("2026-03-29 12:00:00");
    const QDateTime before = timePreset(TimeDayAgo, now);
    QCOMPARE(before, local("2026-03-28 12:00:00"));
    QCOMPARE(before.secsTo(now), 23 * 3600);
}

void TimePresetsTest::hourAcrossSummerTimeIsAnHourOfTime()
{
    const TimeZone zone("Europe/Berlin");
    const QDateTime now = local("2026-03-29 03:30:00");
    QCOMPARE(timePreset(TimeHourAgo, now), local("2026-03-29 01:30:00"));
}

void TimePresetsTest::dayBackIntoTheSkippedHourIsAValidTime()
{
    const TimeZone zone("Europe/Berlin");
    const QDateTime now = local("2026-03-30 02:30:00");
    const QDateTime before = timePreset(TimeDayAgo, now);
    QVERIFY(before.isValid());
    QVERIFY(before.secsTo(now) >= 23 * 3600);
    QVERIFY(before.secsTo(now) <= 24 * 3600);
}

void TimePresetsTest::nowComesFromTheOneClock()
{
    setClock([]() -> std::time_t { return 1000000000; });
    const QDateTime now = currentDateTime();
    setClock(nullptr);
    QCOMPARE(now.toSecsSinceEpoch(), 1000000000);
    QCOMPARE(now.timeSpec(), Qt::LocalTime);
}

void TimePresetsTest::recordTime_data()
{
    QTest::addColumn<QDateTime>("time");
    QTest::addColumn<qint64>("expected");
    const auto utc = [](qint64 seconds) { return QDateTime::fromSecsSinceEpoch(seconds, QTimeZone::utc()); };
    QTest::newRow("epoch") << utc(0) << qint64(0);
    QTest::newRow("local time") << QDateTime::fromSecsSinceEpoch(1795000000) << qint64(1795000000);
    QTest::newRow("before the epoch") << utc(-1) << qint64(-1);
    QTest::newRow("largest") << utc(INT_MAX) << qint64(INT_MAX);
    QTest::newRow("beyond the largest") << utc(qint64(INT_MAX) + 1) << qint64(INT_MAX);
    QTest::newRow("smallest") << utc(INT_MIN) << qint64(INT_MIN);
    QTest::newRow("beyond the smallest") << utc(qint64(INT_MIN) - 1) << qint64(INT_MIN);
    QTest::newRow("year 9999") << QDateTime(QDate(9999, 12, 31), QTime(23, 59, 59)) << qint64(INT_MAX);
    QTest::newRow("year 1752") << QDateTime(QDate(1752, 9, 14), QTime(0, 0)) << qint64(INT_MIN);
}

void TimePresetsTest::recordTime()
{
    QFETCH(QDateTime, time);
    QFETCH(qint64, expected);
    QCOMPARE(qint64(toRecordTime(time)), expected);
}

QTEST_GUILESS_MAIN(TimePresetsTest)
#include "timepresetstest.moc"
