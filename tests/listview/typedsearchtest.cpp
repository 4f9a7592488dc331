// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "typedsearch.h"

#include <QStringList>
#include <QTest>
#include <utility>

namespace
{
/** A search among texts. */
struct Texts {
    explicit Texts(QStringList all = {})
        : texts(std::move(all))
    {
    }

    QStringList texts;
    TypedSearch search;
    int looked = 0;

    /** The row found within so many looks; -1 when there is none so far. */
    int lookOn(int most = 1000)
    {
        return search.lookOn(most, int(texts.size()), [this](int row, const QString &start) {
            ++looked;
            return texts[row].startsWith(start);
        });
    }
    /** Types a key and looks to the end. */
    int type(const QString &key, bool newWord, int current)
    {
        search.type(key, newWord, current, int(texts.size()));
        return lookOn();
    }
};
} // namespace

class TypedSearchTest : public QObject
{
    Q_OBJECT
private slots:
    void findsTheNextRow_data();
    void findsTheNextRow();
    void looksAtFewRowsAtATime();
    void typingOnGoesOn();
    void theSameKeyCountsWhileItLooks();
    void followsRowsThatComeAndGo();
    void endsWithoutRows();
};

void TypedSearchTest::findsTheNextRow_data()
{
    QTest::addColumn<QStringList>("keys"); // all of one word
    QTest::addColumn<int>("current");
    QTest::addColumn<int>("found");
    QTest::newRow("from no row") << QStringList{"b"} << -1 << 2;
    QTest::newRow("a new word starts behind the current row") << QStringList{"a"} << 0 << 1;
    QTest::newRow("round the end") << QStringList{"a"} << 3 << 0;
    QTest::newRow("the current row itself comes last") << QStringList{"b"} << 2 << 2;
    QTest::newRow("more of the word stays on a row that fits") << QStringList{"a", "v"} << 0 << 1;
    QTest::newRow("nothing begins so") << QStringList{"x"} << 2 << -1;
    QTest::newRow("the same key goes on") << QStringList{"a", "a"} << -1 << 1;
    QTest::newRow("and round") << QStringList{"a", "a", "a"} << -1 << 0;
    QTest::newRow("which was typed all the same") << QStringList{"a", "a", "v"} << -1 << -1;
    QTest::newRow("nothing typed") << QStringList{""} << 2 << -1;
}

void TypedSearchTest::findsTheNextRow()
{
    QFETCH(QStringList, keys);
    QFETCH(int, current);
    QFETCH(int, found);
    Texts list({"apple", "avocado", "banana", "cherry"});
    int row = -1;
    for (int i = 0; i < keys.size(); ++i) {
        row = list.type(keys[i], i == 0, current);
        current = row >= 0 ? row : current;
    }
    QCOMPARE(row, found);
    QVERIFY(!list.search.isRunning());
}

void TypedSearchTest::looksAtFewRowsAtATime()
{
    Texts list;
    for (int i = 0; i < 1000; ++i)
        list.texts << "row";
    list.texts << "zebra";
    list.search.type("z", true, 0, 1001);
    for (int turn = 0; turn < 9; ++turn) {
        QCOMPARE(list.lookOn(100), -1);
        QVERIFY(list.search.isRunning());
        QCOMPARE(list.looked, 100 * (turn + 1));
    }
    QCOMPARE(list.lookOn(100), 1000);
    QVERIFY(!list.search.isRunning());
    list.search.type("q", true, 0, 1001);
    list.search.stop();
    QVERIFY(!list.search.isRunning());
    QCOMPARE(list.lookOn(), -1);
}

void TypedSearchTest::typingOnGoesOn()
{
    Texts list({"a", "a", "a", "a", "zebra", "zoo"});
    list.search.type("z", true, 0, 6);
    QCOMPARE(list.lookOn(2), -1);
    list.search.type("o", false, 0, 6);
    QCOMPARE(list.lookOn(), 5);
    QCOMPARE(list.looked, 5);
}

void TypedSearchTest::theSameKeyCountsWhileItLooks()
{
    Texts list({"a", "a", "zebra", "zoo", "zulu"});
    list.search.type("z", true, 0, 5);
    list.search.type("z", false, 0, 5);
    list.search.type("z", false, 0, 5);
    QCOMPARE(list.lookOn(), 4);
    // From the last one round to the first, as often as it was asked for.
    list.search.type("z", false, 4, 5);
    list.search.type("z", false, 4, 5);
    QCOMPARE(list.lookOn(), 3);
}

void TypedSearchTest::followsRowsThatComeAndGo()
{
    Texts list({"a", "a", "a", "a", "a", "zebra"});
    list.search.type("z", true, -1, 6);
    QCOMPARE(list.lookOn(3), -1);
    list.texts = QStringList{"zoo", "a", "a", "a", "a", "a", "a", "zebra"};
    list.search.rowsInserted(0, 2);
    QCOMPARE(list.lookOn(1), -1);
    // Two of those looked at go, and one that was not.
    list.texts = QStringList{"a", "a", "a", "a", "zebra"};
    list.search.rowsRemoved(0, 3);
    QCOMPARE(list.lookOn(1), -1);
    QCOMPARE(list.lookOn(1), 4);
}

void TypedSearchTest::endsWithoutRows()
{
    Texts list({"a", "b"});
    list.search.type("z", true, 0, 2);
    list.texts.clear();
    list.search.rowsRemoved(0, 2);
    QVERIFY(list.search.isRunning());
    QCOMPARE(list.lookOn(), -1);
    QVERIFY(!list.search.isRunning());
    QCOMPARE(list.type("z", true, -1), -1);
    QVERIFY(!list.search.isRunning());
}

QTEST_GUILESS_MAIN(TypedSearchTest)
#include "typedsearchtest.moc"
