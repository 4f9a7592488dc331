// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "rownumbers.h"

#include <QTest>
#include <climits>

class RowNumbersTest : public QObject
{
    Q_OBJECT

private slots:
    void digits_data();
    void digits();
    void text_data();
    void text();
    void numberOfAFullLoad();
    void numberOfAddedRows();
};

void RowNumbersTest::digits_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("expected");
    QTest::newRow("downwards") << -7 << 3;
    QTest::newRow("none") << 0 << 3;
    QTest::newRow("five") << 5 << 3;
    QTest::newRow("99 events give 3 digits") << 99 << 3;
    QTest::newRow("100 events give 3 digits") << 100 << 3;
    QTest::newRow("999") << 999 << 3;
    QTest::newRow("1000 events give 4 digits") << 1000 << 4;
    QTest::newRow("9999") << 9999 << 4;
    QTest::newRow("10000") << 10000 << 5;
    QTest::newRow("a million") << 1000000 << 7;
    QTest::newRow("just below a billion") << 999999999 << 9;
    QTest::newRow("a billion") << 1000000000 << 10;
    QTest::newRow("largest") << INT_MAX << 10;
    QTest::newRow("smallest") << INT_MIN << 3;
}

void RowNumbersTest::digits()
{
    QFETCH(int, count);
    QFETCH(int, expected);
    QCOMPARE(rowNumberDigits(count), expected);
}

void RowNumbersTest::text_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<int>("digits");
    QTest::addColumn<QString>("expected");
    QTest::newRow("first") << 0 << 3 << "000";
    QTest::newRow("last of 100") << 99 << 3 << "099";
    QTest::newRow("outgrows its digits") << 1049 << 3 << "1049";
    QTest::newRow("four digits") << 1 << 4 << "0001";
    QTest::newRow("largest") << INT_MAX << 3 << "2147483647";
    QTest::newRow("negative") << -5 << 3 << "-005";
}

void RowNumbersTest::text()
{
    QFETCH(int, number);
    QFETCH(int, digits);
    QFETCH(QString, expected);
    QCOMPARE(rowNumberText(number, digits), expected);
}

void RowNumbersTest::numberOfAFullLoad()
{
    QCOMPARE(rowNumber(0, 100, true), 0);
    QCOMPARE(rowNumber(99, 100, true), 99);
    QCOMPARE(rowNumber(0, 100, false), 99);
    QCOMPARE(rowNumber(99, 100, false), 0);
    QCOMPARE(rowNumber(0, INT_MAX, false), INT_MAX - 1);
}

void RowNumbersTest::numberOfAddedRows()
{
    QCOMPARE(addedRowNumber(0, 0), 1);
    QCOMPARE(addedRowNumber(899, 0), 900);
    QCOMPARE(addedRowNumber(899, 149), 1049);
    QCOMPARE(addedRowNumber(INT_MAX - 1, 0), INT_MAX);
    QCOMPARE(addedRowNumber(INT_MAX, 0), INT_MAX);
    QCOMPARE(addedRowNumber(INT_MAX - 1, INT_MAX), INT_MAX);
}

QTEST_GUILESS_MAIN(RowNumbersTest)
#include "rownumberstest.moc"
