// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "datetext.h"

#include "timezone.h"

#include <QDateTime>
#include <QLocale>
#include <QTest>
#include <climits>

class DateTextTest : public QObject
{
    Q_OBJECT

private slots:
    void text_data();
    void text();
    void aroundSummerTime();
    void aroundMidnight();
    void followsASwitchOfTheTimeZone();
    void timesOutsideSigned32BitsShowTheNearestBound();
    void shortNamesAreTheSystemLocales();
    void sameAsTheToolkitsTextFormat();
};

void DateTextTest::text_data()
{
    QTest::addColumn<qint64>("seconds");
    QTest::addColumn<QString>("expected");
    QTest::newRow("epoch") << qint64(0) << "Thu Jan 1 00:00:00 1970";
    QTest::newRow("before the epoch") << qint64(-1) << "Wed Dec 31 23:59:59 1969";
    QTest::newRow("two-digit day") << qint64(1795221060) << "Sat Nov 21 00:31:00 2026";
    QTest::newRow("leap day") << qint64(1709164800) << "Thu Feb 29 00:00:00 2024";
    QTest::newRow("largest") << qint64(INT_MAX) << "Tue Jan 19 03:14:07 2038";
    QTest::newRow("smallest") << qint64(INT_MIN) << "Fri Dec 13 20:45:52 1901";
}

void DateTextTest::text()
{
    QFETCH(qint64, seconds);
    QFETCH(QString, expected);
    const TimeZone zone("UTC");
    QCOMPARE(dateText(std::time_t(seconds)), expected);
}

void DateTextTest::aroundSummerTime()
{
    const TimeZone zone("Europe/Berlin");
    QCOMPARE(dateText(1774745999), QStringLiteral("Sun Mar 29 01:59:59 2026"));
    QCOMPARE(dateText(1774746000), QStringLiteral("Sun Mar 29 03:00:00 2026"));
    QCOMPARE(dateText(1792889999), QStringLiteral("Sun Oct 25 02:59:59 2026"));
    QCOMPARE(dateText(1792890000), QStringLiteral("Sun Oct 25 02:00:00 2026"));
}

void DateTextTest::aroundMidnight()
{
    const TimeZone zone("America/St_Johns");
    QCOMPARE(dateText(1795231799), QStringLiteral("Fri Nov 20 23:59:59 2026"));
    QCOMPARE(dateText(1795231800), QStringLiteral("Sat Nov 21 00:00:00 2026"));
    QCOMPARE(dateText(1798774200), QStringLiteral("Fri Jan 1 00:00:00 2027"));
    QCOMPARE(dateText(1798774199), QStringLiteral("Thu Dec 31 23:59:59 2026"));
}

void DateTextTest::followsASwitchOfTheTimeZone()
{
    const TimeZone zone("UTC");
    const QByteArray basis = dateTextBasis();
    QCOMPARE(dateText(1795221060), QStringLiteral("Sat Nov 21 00:31:00 2026"));
    {
        const TimeZone west("America/New_York");
        QVERIFY(dateTextBasis() != basis);
        QCOMPARE(dateText(1795221060), QStringLiteral("Fri Nov 20 19:31:00 2026"));
    }
    QCOMPARE(dateTextBasis(), basis);
    QCOMPARE(dateText(1795221060), QStringLiteral("Sat Nov 21 00:31:00 2026"));
}

void DateTextTest::timesOutsideSigned32BitsShowTheNearestBound()
{
    if constexpr (sizeof(std::time_t) > 4) {
        const TimeZone zone("UTC");
        QCOMPARE(dateText(std::time_t(INT_MAX) + 1), dateText(INT_MAX));
        QCOMPARE(dateText(std::time_t(INT_MIN) - 1), dateText(INT_MIN));
    }
}

void DateTextTest::shortNamesAreTheSystemLocales()
{
    const QLocale locale = QLocale::system();
    const QString text = dateText(1795221060);
    const QDateTime time = QDateTime::fromSecsSinceEpoch(1795221060);
    QVERIFY2(text.startsWith(locale.dayName(time.date().dayOfWeek(), QLocale::ShortFormat) + ' '), qPrintable(text));
    QVERIFY2(text.contains(' ' + locale.monthName(time.date().month(), QLocale::ShortFormat) + ' '), qPrintable(text));
}

void DateTextTest::sameAsTheToolkitsTextFormat()
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    for (const char *name : {"UTC", "Europe/Berlin", "America/St_Johns", "Pacific/Apia"}) {
        const TimeZone zone(name);
        for (qint64 seconds = INT_MIN; seconds <= INT_MAX; seconds += 7654321)
            QCOMPARE(dateText(std::time_t(seconds)), QDateTime::fromSecsSinceEpoch(seconds).toString(Qt::TextDate));
        // Two days around each change of the clock in Berlin.
        for (const qint64 change : {1774746000, 1792890000})
            for (qint64 seconds = change - 86400; seconds <= change + 86400; seconds += 599)
                QCOMPARE(dateText(std::time_t(seconds)), QDateTime::fromSecsSinceEpoch(seconds).toString(Qt::TextDate));
    }
#else
    QSKIP("from Qt 6 on the toolkit's own text format is English only");
#endif
}

QTEST_GUILESS_MAIN(DateTextTest)
#include "datetexttest.moc"
