// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The rows of the lists of events and commands, and what they are made of.
#include "Messages.h"
#include "datetext.h"
#include "parametertext.h"
#include "recorditem.h"
#include "timezone.h"

#include <QDateTime>
#include <QHash>
#include <QTest>
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <set>
#include <vector>

class RowsTest : public QObject
{
    Q_OBJECT

private slots:
    void poolKeepsEachNameOnce();
    void clearedPoolStartsAnew();
    void rowIsSmall();
    void rowCopiesItsParameters();
    void longParametersAreKeptWhole();
    void memoryIsUsedAgainWhenAllRowsAreGone();
    void textsAndNumbersOfAnEvent();
    void textsAndNumbersOfACommand();
    void keptTextsAreTheTexts();
    void timeOutsideSigned32BitsIsClamped();
    void textsOfOneClassDifferInDigitsOnly();
    void datesOfOneClassDifferInDigitsOnly_data();
    void datesOfOneClassDifferInDigitsOnly();
    void datesThatLieCloseTogetherStillDiffer();
    void parametersAsTheFormatsOfTheTextsSay();
    void parametersAreTheRecordsOwn();
    void lentRecordsShowWhatACopyOfThemShows();
    void lentNamesAreThePoolsWhereverTheyLie();
};

static QString withoutDigits(QString text)
{
    for (QChar &c : text)
        if (c.isDigit())
            c = '0';
    return text;
}

void RowsTest::poolKeepsEachNameOnce()
{
    NamePool pool;
    const NamePool::Name *pump = pool.name("pump");
    const NamePool::Name *fan = pool.name("fan");
    QVERIFY(pump != fan);
    QVERIFY(pump->id != fan->id);
    QVERIFY(pump->id != 0 && fan->id != 0);
    for (int i = 0; i < 1000; ++i)
        pool.name("name" + std::to_string(i));
    QCOMPARE(pool.name(std::string("pump")), pump);
    QCOMPARE(pump->text, std::string("pump"));
    QCOMPARE(pool.name(""), pool.name({}));
}

void RowsTest::clearedPoolStartsAnew()
{
    NamePool pool;
    pool.name("pump");
    pool.clear();
    QCOMPARE(pool.name("fan")->id, std::uint32_t(1));
    QCOMPARE(pool.name("fan")->text, std::string("fan"));
}

void RowsTest::rowIsSmall()
{
    // Without the parameters' own text, which lies behind the object.
    QVERIFY(sizeof(EventItem) <= 40);
    QVERIFY(sizeof(CommandItem) <= 40);
}

static EventItem::Fields eventFields(NamePool &pool)
{
    DateClasses dates;
    return {7, 3, pool.name("p\xFCmp"), 42, {pool.name("started")}, 1795221060, dates.of(1795221060), "level=high"};
}

void RowsTest::rowCopiesItsParameters()
{
    NamePool pool;
    RowMemory memory;
    auto fields = eventFields(pool);
    std::string parameters = "level=high";
    fields.parameters = parameters;
    const auto row = EventItem::create(memory, fields);
    parameters.assign(parameters.size(), 'x');
    QCOMPARE(row->text(ParametersColumn), QStringLiteral("level=high"));
    fields.parameters = {};
    QCOMPARE(EventItem::create(memory, fields)->text(ParametersColumn), QString());
}

void RowsTest::longParametersAreKeptWhole()
{
    NamePool pool;
    RowMemory memory;
    auto fields = eventFields(pool);
    std::vector<std::unique_ptr<QListViewItem>> rows;
    for (int length : {0, 1, 7, 8, 8000, 8100, 8130, 8150, 8192, 32000, 32768, 65536, 1 << 20, 3}) {
        const std::string parameters(std::size_t(length), char('a' + length % 26));
        fields.parameters = parameters;
        rows.push_back(EventItem::create(memory, fields));
    }
    for (const auto &row : rows) {
        const QLatin1String text = row->latin1(ParametersColumn);
        QCOMPARE(QString(text), QString(text.size(), QLatin1Char(char('a' + text.size() % 26))));
    }
}

void RowsTest::memoryIsUsedAgainWhenAllRowsAreGone()
{
    NamePool pool;
    RowMemory memory;
    for (int round = 0; round < 3; ++round) {
        std::vector<std::unique_ptr<QListViewItem>> rows;
        for (int i = 0; i < 3000; ++i) {
            auto fields = eventFields(pool);
            fields.id = i;
            rows.push_back(EventItem::create(memory, fields));
        }
        std::mt19937 random(2);
        std::shuffle(rows.begin(), rows.end(), random);
        rows.resize(2000);
        std::set<qint64> ids;
        for (const auto &row : rows) {
            ids.insert(row->number(IdentifierColumn));
            QCOMPARE(QString(row->latin1(ParametersColumn)), QStringLiteral("level=high"));
        }
        QCOMPARE(int(ids.size()), 2000);
        rows.clear();
        memory.release();
    }
}

void RowsTest::textsAndNumbersOfAnEvent()
{
    const TimeZone zone("UTC");
    NamePool pool;
    RowMemory memory;
    const auto row = EventItem::create(memory, eventFields(pool));
    const QStringList expected = {"007",     QString::fromLatin1("p\xFCmp"), "42",
                                  "started", "Sat Nov 21 00:31:00 2026",     "level=high"};
    for (int column = 0; column < RecordColumnCount; ++column)
        QCOMPARE(row->text(column), expected[column]);
    for (int column : {-1, 6, 7, 99})
        QVERIFY(row->text(column).isNull());
    QCOMPARE(row->number(NumberColumn), qint64(7));
    QCOMPARE(row->number(IdentifierColumn), qint64(42));
    QCOMPARE(row->number(DateColumn), qint64(1795221060));
}

void RowsTest::textsAndNumbersOfACommand()
{
    NamePool pool;
    RowMemory memory;
    const auto row = CommandItem::create(memory, {1234, 3, pool.name("pump"), -5, {-12}, 0, 1, ""});
    QCOMPARE(row->text(NumberColumn), QStringLiteral("1234"));
    QCOMPARE(row->text(IdentifierColumn), QStringLiteral("-5"));
    QCOMPARE(row->text(KindColumn), QStringLiteral("-12"));
    QCOMPARE(row->number(KindColumn), qint64(-12));
    QVERIFY(row->text(ParametersColumn).isEmpty());
}

void RowsTest::keptTextsAreTheTexts()
{
    NamePool pool;
    RowMemory memory;
    const auto event = EventItem::create(memory, eventFields(pool));
    const auto command = CommandItem::create(memory, {1, 3, pool.name("pump"), 2, {3}, 4, 1, "a=b"});
    for (const QListViewItem *row : {event.get(), command.get()}) {
        for (int column = -1; column < 9; ++column)
            if (!row->latin1(column).isNull())
                QCOMPARE(QString(row->latin1(column)), row->text(column));
    }
    QCOMPARE(event->latin1(SensorColumn), QLatin1String("p\xFCmp"));
    QCOMPARE(event->latin1(KindColumn), QLatin1String("started"));
    QCOMPARE(command->latin1(ParametersColumn), QLatin1String("a=b"));
    QVERIFY(command->latin1(KindColumn).isNull());
}

void RowsTest::timeOutsideSigned32BitsIsClamped()
{
    if constexpr (sizeof(std::time_t) > 4) {
        NamePool pool;
        RowMemory memory;
        auto fields = eventFields(pool);
        fields.time = std::time_t(5000000000);
        QCOMPARE(EventItem::create(memory, fields)->number(DateColumn), qint64(INT32_MAX));
        fields.time = std::time_t(-5000000000);
        QCOMPARE(EventItem::create(memory, fields)->number(DateColumn), qint64(INT32_MIN));
    }
}

void RowsTest::textsOfOneClassDifferInDigitsOnly()
{
    std::mt19937 random(1);
    const int numbers[] = {0, 1, -1, 9, 10, 99, 100, -9, -10, 12345, INT32_MAX, INT32_MIN};
    const char *names[] = {"", "a", "b", "pump", "0", "1"};
    const auto number = [&] { return random() % 2 ? numbers[random() % std::size(numbers)] : int(random()); };
    NamePool pool;
    RowMemory memory;
    DateClasses dates;
    std::array<QHash<quint64, QString>, RecordColumnCount> seen;
    for (int i = 0; i < 5000; ++i) {
        const std::time_t time = number();
        const auto row = CommandItem::create(memory, {number(),
                                                      3 + int(random() % 8),
                                                      pool.name(names[random() % std::size(names)]),
                                                      number(),
                                                      {number()},
                                                      time,
                                                      dates.of(time),
                                                      "x"});
        for (int column = 0; column < RecordColumnCount; ++column) {
            const auto known = row->textClass(column);
            if (known.id == 0)
                continue;
            const QString text = known.digitsVary ? withoutDigits(row->text(column)) : row->text(column);
            QString &first = seen[std::size_t(column)][known.id];
            if (first.isNull())
                first = text.isNull() ? QStringLiteral("") : text;
            QCOMPARE(text, first);
        }
    }
    for (int column : {NumberColumn, SensorColumn, IdentifierColumn, KindColumn, DateColumn})
        QVERIFY(!seen[std::size_t(column)].isEmpty());
}

void RowsTest::datesOfOneClassDifferInDigitsOnly_data()
{
    QTest::addColumn<QByteArray>("zone");
    // With summer time, without, changed at midnight (two of these), a day left out.
    for (const char *zone : {"Europe/Berlin", "UTC", "America/St_Johns", "America/Sao_Paulo", "Pacific/Apia"})
        QTest::newRow(zone) << QByteArray(zone);
}

void RowsTest::datesOfOneClassDifferInDigitsOnly()
{
    QFETCH(QByteArray, zone);
    const TimeZone here(zone.constData());
    DateClasses dates;
    QHash<int, QString> seen;
    // Every quarter of an hour of two years, then steps over all there is.
    const auto check = [&](qint64 time) {
        QString &first = seen[dates.of(std::time_t(time))];
        const QString text = withoutDigits(dateText(std::time_t(time)));
        if (first.isNull())
            first = text;
        return text == first;
    };
    for (qint64 time = 1136073600; time < 1136073600 + 2 * 366 * 86400; time += 900)
        QVERIFY2(check(time), qPrintable(dateText(std::time_t(time))));
    for (qint64 time = INT32_MIN; time <= INT32_MAX; time += 765432)
        QVERIFY2(check(time), qPrintable(dateText(std::time_t(time))));
    // 2006 in Newfoundland: at 00:01 the clock went back to 23:01 of the day before.
    for (qint64 time = 1162080000; time < 1162180000; time += 13)
        QVERIFY2(check(time), qPrintable(dateText(std::time_t(time))));
}

void RowsTest::datesThatLieCloseTogetherStillDiffer()
{
    const TimeZone zone("UTC");
    DateClasses dates;
    const int ninth = dates.of(1794268799); // Mon Nov 9 23:59:59 2026
    const int tenth = dates.of(1794268800); // Tue Nov 10 00:00:00 2026
    const int later = dates.of(1794268801);
    QVERIFY(ninth != tenth);
    QCOMPARE(later, tenth);
    QCOMPARE(dates.of(1794268799), ninth);
}

static CMessageEventParam parameter(int type, const void *value, int bytes)
{
    CMessageEventParam param;
    param.Type = type;
    CopyPtr(&param.Name, &param.LName, "x", 2);
    CopyPtr(&param.Val, &param.LVal, static_cast<const char *>(value), bytes);
    return param;
}

static QString appended(const CMessageEventParam &param)
{
    std::string text;
    appendParameters(text, &param, 1);
    return QString::fromLatin1(text.c_str());
}

/** What the C library prints in the C locale: the toolkit's own printf drops the sign of a negative zero. */
static QString printedByC(const char *format, double value)
{
    char text[64];
    std::snprintf(text, sizeof(text), format, value);
    return QString::fromLatin1(text);
}

void RowsTest::parametersAsTheFormatsOfTheTextsSay()
{
    std::mt19937_64 random(2);
    std::vector<double> doubles = {0.0,
                                   -0.0,
                                   0.5,
                                   1e20,
                                   -1e-20,
                                   123456,
                                   1234567,
                                   0.0001,
                                   0.00001,
                                   99999.95,
                                   1e308,
                                   5e-324,
                                   100000.0,
                                   1e6,
                                   2.5,
                                   -7.25e5,
                                   1e100,
                                   std::numeric_limits<double>::infinity(),
                                   -std::numeric_limits<double>::infinity(),
                                   std::numeric_limits<double>::quiet_NaN()};
    for (int i = 0; i < 20000; ++i) {
        const quint64 bits = random();
        double value = 0;
        std::memcpy(&value, &bits, sizeof(value));
        doubles.push_back(value);
        doubles.push_back(double(qint64(bits)) / 1e15);
    }
    for (double value : doubles)
        QCOMPARE(appended(parameter(ParameterDouble, &value, sizeof(value))), printedByC("x=%lg", value));
    for (int value : {0, -1, 5, INT32_MAX, INT32_MIN})
        QCOMPARE(appended(parameter(ParameterInteger, &value, sizeof(value))), QString::asprintf("x=%d", value));
}

void RowsTest::parametersAreTheRecordsOwn()
{
    CMessageEvent event;
    event.ParNum = 3;
    event.par = new CMessageEventParam[3];
    const int level = 5;
    event.par[0] = parameter(ParameterInteger, &level, sizeof(level));
    event.par[1] = parameter(4, "abc", 4);
    event.par[2] = parameter(ParameterText, "m\xFC", 3);
    std::string text = "before ";
    appendParameters(text, event.par, event.ParNum);
    QCOMPARE(text, std::string("before x=5;x=;x=m\xFC"));
    QCOMPARE(event.AllParameters(), QString::fromLatin1("x=5;x=;x=m\xFC"));
    text.clear();
    appendParameters(text, nullptr, 3);
    appendParameters(text, event.par, -3);
    QVERIFY(text.empty());
}

void RowsTest::lentRecordsShowWhatACopyOfThemShows()
{
    const int level = 5;
    for (int lost : {-100, 0, 1, 2, 3, 4, 5}) {
        CMessageEvent lent;
        CopyPtr(&lent.SensorID, &lent.LSensorID, "pump", 5);
        lent.ParNum = 3;
        lent.par = new CMessageEventParam[3];
        lent.par[0] = parameter(ParameterInteger, &level, sizeof(level));
        lent.par[1] = parameter(ParameterText, "abcd", 5);
        CopyPtr(&lent.par[2].Name, &lent.par[2].LName, "name", 5);
        lent.LSensorID -= lost;
        for (int i = 0; i < lent.ParNum; ++i) {
            lent.par[i].LName -= lost;
            lent.par[i].LVal -= lost > 0 ? lost : 0; // no further than the value goes
        }
        if (lost < 0) { // longer than they are by their NUL
            lent.LSensorID = 5;
            for (int i = 0; i < lent.ParNum; ++i)
                lent.par[i].LName = lent.par[i].Name ? int(std::strlen(lent.par[i].Name)) + 1 : 7;
        }
        const CMessageEvent copy(lent);
        std::string text;
        appendLentParameters(text, lent.par, lent.ParNum);
        QCOMPARE(QString::fromLatin1(text.c_str()), copy.AllParameters());
        QCOMPARE(lentBytes(lent.SensorID, lent.LSensorID), recordBytes(copy.SensorID, copy.LSensorID));
    }
    QCOMPARE(lentBytes(nullptr, 4), std::string_view());
}

void RowsTest::lentNamesAreThePoolsWhereverTheyLie()
{
    // More than are remembered by their addresses, so that some are looked up again.
    constexpr int count = 40000;
    NamePool pool;
    std::vector<std::string> texts;
    for (int i = 0; i < count; ++i)
        texts.push_back("sensor " + std::to_string(i % 50));
    LentNames few(pool, 1);
    LentNames names(pool, count);
    for (int round = 0; round < 2; ++round) {
        for (const std::string &text : texts) {
            QCOMPARE(names.name(text.c_str(), int(text.size()) + 1), pool.name(text));
            QCOMPARE(few.name(text.c_str(), int(text.size()) + 1), pool.name(text));
        }
    }
    // The same bytes up to another length are another name.
    QCOMPARE(names.name(texts[0].c_str(), 6), pool.name("sensor"));
    QCOMPARE(names.name(texts[0].c_str(), 0), pool.name(""));
    QCOMPARE(names.name(nullptr, 0), pool.name(""));
}

QTEST_GUILESS_MAIN(RowsTest)
#include "rowstest.moc"
