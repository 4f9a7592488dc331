// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "listmodel.h"
#include "textitem.h"

#include <QAbstractItemModelTester>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>
#include <algorithm>

using SortKey = ListModel::SortKey;

namespace
{

QStringList textsOf(const ListModel &model, int column = 0)
{
    QStringList texts;
    for (int row = 0; row < model.rowCount(); ++row)
        texts << model.item(row)->text(column);
    return texts;
}

/** What rows must look like: sorted by key, equal keys as they arrived. */
struct Plain {
    QStringList arrived;

    QStringList sorted(SortKey key, Qt::SortOrder order) const
    {
        QStringList texts = arrived;
        std::stable_sort(texts.begin(), texts.end(), [&](const QString &a, const QString &b) {
            const QString &x = order == Qt::AscendingOrder ? a : b;
            const QString &y = order == Qt::AscendingOrder ? b : a;
            // The key stands before the colon, the arrival behind it.
            const QString left = x.section(':', 0, 0);
            const QString right = y.section(':', 0, 0);
            return key == SortKey::Number ? left.toLongLong() < right.toLongLong() : left < right;
        });
        return texts;
    }
};

/** A row whose column 0 reads "key:arrival", column 1 only the key. */
class KeyItem : public TextItem
{
public:
    explicit KeyItem(const QString &text)
        : TextItem({text, text.section(':', 0, 0)})
    {
    }
};

/** Says of its column 1 which class its text is of. */
class ClassItem : public KeyItem
{
public:
    using KeyItem::KeyItem;
    TextClass textClass(int column) const override
    {
        return {column == 1 ? 1 + quint64(qHash(text(1)) % 1000000) : 0, false};
    }
};

template <typename Item> ListModel::Rows keyRows(const QStringList &texts)
{
    ListModel::Rows rows;
    for (const QString &text : texts)
        rows.push_back(std::make_unique<Item>(text));
    return rows;
}

ListModel::Rows byteRows(const QStringList &texts)
{
    ListModel::Rows rows;
    for (const QString &text : texts)
        rows.push_back(
            std::make_unique<ByteItem>(std::vector<QByteArray>{text.toLatin1(), text.section(':', 0, 0).toLatin1()}));
    return rows;
}

} // namespace

class ListModelTest : public QObject
{
    Q_OBJECT
private slots:
    void fillingAppendingRemovingSortingAndClearing();
    void sortedLikeAStableSort_data();
    void sortedLikeAStableSort();
    void numbersOutsideOneWordSort();
    void latin1TextsSortByCodePoint();
    void batchesComeInAsFewRuns();
    void rowsAreInOrderWhileABatchComesIn();
    void persistentIndexesFollowTheirRows();
    void strangerIsInNoRow();
    void rowsAreDeletedWithTheModel();
    void unsortedRowsStandAsTheyArrived();
};

void ListModelTest::fillingAppendingRemovingSortingAndClearing()
{
    ListModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.addColumn("N");
    model.addColumn("Key");
    model.setSortKey(0, SortKey::Number);
    QRandomGenerator random(2);
    for (int round = 0; round < 3; ++round) {
        QStringList texts;
        for (int i = 0; i < 300; ++i)
            texts << QString::number(random.bounded(1000));
        model.insert(rowsOf(texts));
        model.insert(rowsOf({"2000", "2001"}));
        model.insert(rowsOf({"-5", "500", "3000"}));
        QCOMPARE(model.rowCount(), 305);
        QCOMPARE(model.data(model.index(0, 0)).toString(), QString("-5"));
        for (int i = 0; i < 100; ++i)
            model.remove(model.item(random.bounded(model.rowCount())));
        QCOMPARE(model.rowCount(), 205);
        model.sort(0, Qt::DescendingOrder);
        model.sort(1, Qt::AscendingOrder);
        model.sort(0, Qt::AscendingOrder);
        const QStringList all = textsOf(model);
        QVERIFY(std::is_sorted(all.begin(), all.end(),
                               [](const QString &a, const QString &b) { return a.toInt() < b.toInt(); }));
        model.clear();
        QCOMPARE(model.rowCount(), 0);
    }
    QCOMPARE(TextItem::alive, 0);
}

void ListModelTest::sortedLikeAStableSort_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<bool>("byNumber");
    QTest::addColumn<bool>("ascending");
    for (const char *kind : {"texts", "classes", "bytes"})
        for (bool byNumber : {false, true})
            for (bool ascending : {true, false})
                QTest::addRow("%s %s %s", kind, byNumber ? "numbers" : "texts", ascending ? "up" : "down")
                    << kind << byNumber << ascending;
}

void ListModelTest::sortedLikeAStableSort()
{
    QFETCH(QString, kind);
    QFETCH(bool, byNumber);
    QFETCH(bool, ascending);
    const SortKey key = byNumber ? SortKey::Number : SortKey::Text;
    const Qt::SortOrder order = ascending ? Qt::AscendingOrder : Qt::DescendingOrder;
    const auto make = kind == "bytes" ? byteRows : kind == "classes" ? keyRows<ClassItem> : keyRows<KeyItem>;
    QRandomGenerator random(3);
    Plain plain;
    const auto some = [&](int count) {
        QStringList texts;
        for (int i = 0; i < count; ++i) {
            const int value = random.bounded(40) - 20;
            const QString head = byNumber ? QString::number(value) : QString("prefix-%1").arg(value);
            texts << head + ':' + QString::number(plain.arrived.size() + i);
        }
        plain.arrived += texts;
        return texts;
    };
    ListModel model;
    model.addColumn("Text");
    model.addColumn("Key");
    model.setSortKey(1, key);
    model.insert(make(some(1000)));
    model.sort(1, order);
    QCOMPARE(textsOf(model), plain.sorted(key, order));
    model.insert(make(some(400)));
    model.insert(make(some(1)));
    QCOMPARE(textsOf(model), plain.sorted(key, order));
    model.sort(0, Qt::DescendingOrder);
    model.sort(1, order);
    QCOMPARE(textsOf(model), plain.sorted(key, order));
    for (int row = 0; row < model.rowCount(); row += 7)
        QCOMPARE(model.rowOf(model.item(row)), row);
}

void ListModelTest::numbersOutsideOneWordSort()
{
    ListModel model;
    model.addColumn("N");
    model.setSortKey(0, SortKey::Number);
    model.insert(rowsOf({"9223372036854775807", "0", "-9223372036854775808", "4294967296", "-1", "0"}));
    QCOMPARE(textsOf(model),
             QStringList({"-9223372036854775808", "-1", "0", "0", "4294967296", "9223372036854775807"}));
    model.sort(0, Qt::DescendingOrder);
    QCOMPARE(textsOf(model),
             QStringList({"9223372036854775807", "4294967296", "0", "0", "-1", "-9223372036854775808"}));
}

void ListModelTest::latin1TextsSortByCodePoint()
{
    const QStringList texts{QString::fromLatin1("\xe9t\xe9"),
                            "zebra",
                            "Zebra",
                            "",
                            QString::fromLatin1("a\0b", 3),
                            "a",
                            "ab",
                            "same head, end 2",
                            "same head, end 1",
                            "same he"};
    QStringList sorted = texts;
    std::sort(sorted.begin(), sorted.end());
    for (bool bytes : {false, true}) {
        ListModel model;
        model.addColumn("Text");
        model.insert(bytes ? byteRows(texts) : rowsOf(texts));
        QCOMPARE(textsOf(model), sorted);
        ListModel single;
        single.addColumn("Text");
        for (const QString &text : texts)
            single.insert(bytes ? byteRows({text}) : rowsOf({text}));
        QCOMPARE(textsOf(single), sorted);
    }
}

void ListModelTest::batchesComeInAsFewRuns()
{
    ListModel model;
    model.addColumn("N");
    model.setSortKey(0, SortKey::Number);
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    model.insert(rowsOf({"30", "10", "20"}));
    QCOMPARE(inserted.count(), 1);
    model.insert(rowsOf({"32", "31", "33"}));
    QCOMPARE(inserted.count(), 2);
    QCOMPARE(inserted.last().at(1).toInt(), 3);
    QCOMPARE(inserted.last().at(2).toInt(), 5);
    model.insert(rowsOf({"15", "5", "16", "40"}));
    QCOMPARE(inserted.count(), 5);
    model.insert(rowsOf({}));
    QCOMPARE(inserted.count(), 5);
}

void ListModelTest::rowsAreInOrderWhileABatchComesIn()
{
    QRandomGenerator random(6);
    ListModel model;
    model.addColumn("N");
    model.setSortKey(0, SortKey::Number);
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    int runs = 0;
    const auto check = [&] {
        ++runs;
        for (int row = 1; row < model.rowCount(); ++row)
            QVERIFY(model.item(row - 1)->number(0) <= model.item(row)->number(0));
        QVERIFY(!model.item(model.rowCount()));
    };
    connect(&model, &QAbstractItemModel::rowsAboutToBeInserted, this, check);
    connect(&model, &QAbstractItemModel::rowsInserted, this, check);
    std::vector<int> all;
    for (int batch = 0; batch < 40; ++batch) {
        QStringList texts;
        for (int i = random.bounded(30); i >= 0; --i) {
            all.push_back(random.bounded(500));
            texts << QString::number(all.back());
        }
        model.insert(rowsOf(texts));
        std::sort(all.begin(), all.end());
        QCOMPARE(model.rowCount(), int(all.size()));
        for (int row = 0; row < model.rowCount(); ++row)
            QCOMPARE(model.item(row)->number(0), qint64(all[size_t(row)]));
        const int gone = random.bounded(model.rowCount());
        model.remove(model.item(gone));
        all.erase(all.begin() + gone);
    }
    QVERIFY(runs > 400);
}

void ListModelTest::persistentIndexesFollowTheirRows()
{
    ListModel model;
    model.addColumn("N");
    model.setSortKey(0, SortKey::Number);
    model.insert(rowsOf({"1", "2", "3", "4", "5"}));
    const QPersistentModelIndex two = model.index(1, 0);
    const QPersistentModelIndex four = model.index(3, 0);
    model.insert(rowsOf({"0", "3"}));
    QCOMPARE(two.data().toString(), QString("2"));
    QCOMPARE(four.data().toString(), QString("4"));
    model.sort(0, Qt::DescendingOrder);
    QCOMPARE(two.row(), 4);
    QCOMPARE(two.data().toString(), QString("2"));
    QCOMPARE(four.data().toString(), QString("4"));
    model.remove(model.item(four.row()));
    QVERIFY(!four.isValid());
    QCOMPARE(two.data().toString(), QString("2"));
}

void ListModelTest::strangerIsInNoRow()
{
    ListModel model;
    model.addColumn("N");
    model.insert(rowsOf({"1", "2"}));
    TextItem stranger({"1"});
    QCOMPARE(model.rowOf(&stranger), -1);
    QCOMPARE(model.rowOf(nullptr), -1);
    model.remove(&stranger);
    model.remove(nullptr);
    QCOMPARE(model.rowCount(), 2);
    QVERIFY(!model.item(2));
    QVERIFY(!model.item(-1));
}

void ListModelTest::rowsAreDeletedWithTheModel()
{
    {
        ListModel model;
        model.addColumn("N");
        model.insert(rowsOf({"1", "2", "3"}));
        QCOMPARE(TextItem::alive, 3);
        model.remove(model.item(1));
        QCOMPARE(TextItem::alive, 2);
    }
    QCOMPARE(TextItem::alive, 0);
}

void ListModelTest::unsortedRowsStandAsTheyArrived()
{
    ListModel model;
    model.addColumn("N");
    model.insert(rowsOf({"b", "a"}));
    model.sort(-1, Qt::AscendingOrder);
    model.insert(rowsOf({"d", "c"}));
    QCOMPARE(textsOf(model), QStringList({"b", "a", "d", "c"}));
}

QTEST_GUILESS_MAIN(ListModelTest)
#include "listmodeltest.moc"
