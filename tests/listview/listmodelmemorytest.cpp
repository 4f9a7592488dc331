// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// A list model that runs out of memory: each allocation of an insertion fails
// in turn, up to where views hear of the rows.
#include "failingallocation.h"
#include "listmodel.h"

#include <QTest>
#include <climits>

namespace
{
/** A row of a number, which allocates nothing when it is compared. */
class NumberItem : public QListViewItem
{
public:
    explicit NumberItem(int number)
        : m_number(number)
    {
        ++alive;
    }
    ~NumberItem() override
    {
        --alive;
    }
    QString text(int) const override
    {
        return QString::number(m_number);
    }
    qint64 number(int) const override
    {
        return m_number;
    }

    static int alive;

private:
    int m_number;
};

int NumberItem::alive = 0;

ListModel::Rows rows(int from, int step, int count)
{
    ListModel::Rows made;
    for (int i = 0; i < count; ++i)
        made.push_back(std::make_unique<NumberItem>(from + step * i));
    return made;
}

QList<qint64> numbers(const ListModel &model)
{
    QList<qint64> result;
    for (int row = 0; row < model.rowCount(); ++row)
        result << model.item(row)->number(0);
    return result;
}
} // namespace

class ListModelMemoryTest : public QObject
{
    Q_OBJECT

private slots:
    void insertionComesInWholeOrNotAtAll_data();
    void insertionComesInWholeOrNotAtAll();
    void rowsAreDeletedWithoutMemory();
};

void ListModelMemoryTest::insertionComesInWholeOrNotAtAll_data()
{
    QTest::addColumn<int>("before");
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("step");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("least"); // allocations that fail; rows in order need no keys to be sorted
    QTest::newRow("into an empty list") << 0 << 2999 << -1 << 3000 << 3;
    QTest::newRow("at the end") << 3000 << 3009 << -1 << 10 << 3;
    QTest::newRow("at the start") << 3000 << -1 << -1 << 10 << 3;
    QTest::newRow("many at the end") << 100 << 5099 << -1 << 5000 << 3;
    QTest::newRow("in order") << 3000 << 3000 << 1 << 10 << 2;
}

void ListModelMemoryTest::insertionComesInWholeOrNotAtAll()
{
    QFETCH(int, before);
    QFETCH(int, from);
    QFETCH(int, step);
    QFETCH(int, count);
    QFETCH(int, least);
    int failures = 0;
    for (int n = 0;; ++n) {
        QVERIFY(n < 1000);
        ListModel model;
        model.addColumn("number");
        model.setSortKey(0, ListModel::SortKey::Number);
        model.insert(rows(0, 1, before));
        const QList<qint64> old = numbers(model);
        // What fails from there on fails within Qt.
        bool heard = false;
        connect(&model, &QAbstractItemModel::rowsAboutToBeInserted, &model, [&heard] {
            heard = true;
            FailingAllocation::refuse(INT_MAX, false);
        });
        ListModel::Rows arriving = rows(from, step, count);
        FailingAllocation::refuse(n, false);
        bool threw = false;
        try {
            model.insert(std::move(arriving));
        } catch (const std::bad_alloc &) {
            threw = true;
        }
        FailingAllocation::grant();
        if (!threw) {
            QVERIFY(heard);
            QCOMPARE(model.rowCount(), before + count);
            break;
        }
        ++failures;
        QVERIFY(!heard);
        QCOMPARE(numbers(model), old);
        arriving.clear();
        QCOMPARE(NumberItem::alive, before);
        model.insert(rows(from, step, count));
        QCOMPARE(model.rowCount(), before + count);
    }
    QVERIFY2(failures >= least, QByteArray::number(failures).constData());
    QCOMPARE(NumberItem::alive, 0);
}

void ListModelMemoryTest::rowsAreDeletedWithoutMemory()
{
    for (bool byClear : {true, false}) {
        auto model = std::make_unique<ListModel>();
        model->addColumn("number");
        model->insert(rows(0, 1, 3000));
        QCOMPARE(NumberItem::alive, 3000);
        FailingAllocation::refuse(0, true);
        if (byClear)
            model->clear();
        else
            model.reset();
        FailingAllocation::grant();
        QCOMPARE(NumberItem::alive, 0);
    }
}

QTEST_GUILESS_MAIN(ListModelMemoryTest)
#include "listmodelmemorytest.moc"
