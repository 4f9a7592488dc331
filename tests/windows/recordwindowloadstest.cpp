// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What the windows fetch and how rows are numbered. Every test runs for the windows of events and of commands.
#include "recordwindowtesting.h"

#include <QComboBox>
#include <QHeaderView>
#include <climits>

class RecordWindowLoadsTest : public RecordWindowTestBase
{
    Q_OBJECT

private slots:
    void opensWithCaptionNameAndDefaults();
    void captionAndMaskAreCopied();
    void fullLoadOf100InLastMode();
    void fullLoadOf100InFirstMode();
    void fullLoadOfAThousandHasFourDigits();
    void fiveAndNinetyNineRowsHaveThreeDigits();
    void rowShowsTheRecord();
    void incrementalFetchAfter900RowsOutgrowsTheDigits();
    void incrementalFetchInFirstModeGoesToTheBottom();
    void incrementalFetchSortsAsTheChoiceStandsThen();
    void incrementalFetchWidensTheIdentifiers();
    void incrementalFetchAddsWhateverTheSourceReturns();
    void incrementalFetchSortsByNumberAgain();
    void emptyIncrementalFetchChangesNothing();
    void failedIncrementalFetchChangesNothing();
    void failedReloadLeavesTheListEmpty();
    void arrayOfAFailedFetchIsReleased();
    void identifiersSurviveAReloadWithoutRecords();
    void rowNumbersStopAtTheLargestNumber();
    void nothingIsAddedAboveTheLargestIdentifier();
    void nullArrayWithACountGivesNoRowsAndNoSecondFetch();
    void firstColumnIs30WideAfterEveryLoad();
    void loadsWithoutRecordsLeaveTheFirstColumn();
};

void RecordWindowLoadsTest::opensWithCaptionNameAndDefaults()
{
    eachKind([](auto kind) {
        const auto window = open(kind);
        QCOMPARE(window->windowTitle(), QStringLiteral("A list"));
        QCOMPARE(window->objectName(), QStringLiteral("A list"));
        QVERIFY(!window->isModal());
        QCOMPARE(kind.source().fetches(), kind.LoadsWhileBuilt);
        QCOMPARE(kind.source().releases, kind.LoadsWhileBuilt);
        QCOMPARE(window->NMax->text(), QStringLiteral("100"));
        QVERIFY(window->rb_Last->isChecked());
        QVERIFY(window->rbType_all->isChecked());
        QVERIFY(!window->timeFromUsed->isChecked());
        QVERIFY(!window->timeToUsed->isChecked());
        QCOMPARE(window->timeFrom->dateTime().toSecsSinceEpoch(), qint64(StartTime - 3600));
        QCOMPARE(window->timeTo->dateTime().toSecsSinceEpoch(), qint64(StartTime));
        QCOMPARE(window->AccSensorID, 3);
        QCOMPARE(window->NColumns, 6);
        for (int flag : window->ColumnsVisibiliy)
            QCOMPARE(flag, 1);
        QCOMPARE(window->IDFirst, 0);
        QCOMPARE(window->IDLast, 0);
        QCOMPARE(window->iFirst, 0);
        QCOMPARE(window->iLast, 0);
        QVERIFY(!window->timer);
        QVERIFY(!window->itemSelected);
        QCOMPARE(window->firstPaint, 1);
        QCOMPARE(window->AutoUpdate->currentIndex(), 0);
        QCOMPARE(kind.list(window.get())->columnWidthMode(0), ListView::Manual);
    });
}

void RecordWindowLoadsTest::captionAndMaskAreCopied()
{
    eachKind([](auto kind) {
        using Window = typename decltype(kind)::Window;
        std::string caption = "Events list for p\xFCmp";
        std::string mask = "p\xFCmp";
        const auto window = std::make_unique<Window>(nullptr, caption.c_str(), mask.c_str());
        caption.assign(caption.size(), 'x');
        mask.assign(mask.size(), 'x');
        QCOMPARE(window->windowTitle(), QString::fromLatin1("Events list for p\xFCmp"));
        QCOMPARE(window->SensorNameMask, QString::fromLatin1("p\xFCmp"));
        window->onUpdateList();
        QCOMPARE(kind.source().requests.back().SensorID, "p\xFCmp");
    });
}

void RecordWindowLoadsTest::fullLoadOf100InLastMode()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 100);
        QCOMPARE(window->AccSensorID, 3);
        const QStringList numbers = columnTexts(kind.list(window.get()), 0);
        QCOMPARE(numbers.size(), 100);
        QCOMPARE(numbers.first(), QStringLiteral("099"));
        QCOMPARE(numbers.last(), QStringLiteral("000"));
        const QStringList ids = columnTexts(kind.list(window.get()), 2);
        QCOMPARE(ids.first(), QStringLiteral("1"));
        QCOMPARE(ids.last(), QStringLiteral("100"));
        QCOMPARE(window->IDFirst, 1);
        QCOMPARE(window->IDLast, 100);
        QCOMPARE(window->iFirst, 0);
        QCOMPARE(window->iLast, 99);
    });
}

void RecordWindowLoadsTest::fullLoadOf100InFirstMode()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 100);
        chooseFirst(window.get());
        window->onUpdateList();
        const QStringList numbers = columnTexts(kind.list(window.get()), 0);
        QCOMPARE(numbers.size(), 100);
        QCOMPARE(numbers.first(), QStringLiteral("000"));
        QCOMPARE(numbers.last(), QStringLiteral("099"));
        const QStringList ids = columnTexts(kind.list(window.get()), 2);
        QCOMPARE(ids.first(), QStringLiteral("1"));
        QCOMPARE(ids.last(), QStringLiteral("100"));
    });
}

void RecordWindowLoadsTest::fullLoadOfAThousandHasFourDigits()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 1000);
        QCOMPARE(window->AccSensorID, 4);
        const QStringList numbers = columnTexts(kind.list(window.get()), 0);
        QCOMPARE(numbers.first(), QStringLiteral("0999"));
        QCOMPARE(numbers.last(), QStringLiteral("0000"));
    });
}

void RecordWindowLoadsTest::fiveAndNinetyNineRowsHaveThreeDigits()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 5);
        QCOMPARE(columnTexts(kind.list(window.get()), 0), QStringList({"004", "003", "002", "001", "000"}));
        kind.source().answer = kind.records(1, 99);
        window->onUpdateList();
        QCOMPARE(window->AccSensorID, 3);
        QCOMPARE(columnTexts(kind.list(window.get()), 0).first(), QStringLiteral("098"));
    });
}

void RecordWindowLoadsTest::rowShowsTheRecord()
{
    eachKind([](auto kind) {
        auto record = kind.record(42);
        addParameter(record, "level", "high");
        addParameter(record, "unit", "mV");
        kind.source().answer = {record};
        const auto window = open(kind);
        const bool ofEvents = std::is_same_v<decltype(kind), EventsKind>;
        QCOMPARE(rowTexts(kind.list(window.get()), 0), QStringList({"000", "pump", "42", ofEvents ? "started" : "1",
                                                                    "Wed Nov 18 11:06:40 2026", "level=high;unit=mV"}));
        QVERIFY(kind.list(window.get())->itemAt(0)->text(6).isNull());
        QVERIFY(kind.list(window.get())->itemAt(0)->text(7).isNull());
    });
}

void RecordWindowLoadsTest::incrementalFetchAfter900RowsOutgrowsTheDigits()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 900);
        kind.source().answer = kind.records(901, 150);
        QTest::mouseClick(window->pushButton2, Qt::LeftButton);
        const QStringList numbers = columnTexts(kind.list(window.get()), 0);
        QCOMPARE(numbers.size(), 1050);
        QCOMPARE(numbers.first(), QStringLiteral("1049"));
        QCOMPARE(numbers.at(149), QStringLiteral("900"));
        QCOMPARE(numbers.at(150), QStringLiteral("899"));
        QCOMPARE(numbers.last(), QStringLiteral("000"));
        QCOMPARE(window->iLast, 1049);
        QCOMPARE(window->AccSensorID, 3);
    });
}

void RecordWindowLoadsTest::incrementalFetchInFirstModeGoesToTheBottom()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        chooseFirst(window.get());
        window->onUpdateList();
        kind.source().answer = kind.records(4, 2);
        kind.getNew(window.get());
        QCOMPARE(columnTexts(kind.list(window.get()), 0), QStringList({"000", "001", "002", "003", "004"}));
        QCOMPARE(columnTexts(kind.list(window.get()), 2), QStringList({"1", "2", "3", "4", "5"}));
    });
}

void RecordWindowLoadsTest::incrementalFetchSortsAsTheChoiceStandsThen()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        chooseFirst(window.get());
        kind.source().answer = kind.records(4, 2);
        kind.getNew(window.get());
        QCOMPARE(columnTexts(kind.list(window.get()), 0), QStringList({"000", "001", "002", "003", "004"}));
        QCOMPARE(columnTexts(kind.list(window.get()), 2), QStringList({"3", "2", "1", "4", "5"}));
    });
}

void RecordWindowLoadsTest::incrementalFetchWidensTheIdentifiers()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 10, 3);
        QCOMPARE(window->IDFirst, 10);
        QCOMPARE(window->IDLast, 12);
        kind.source().answer = {kind.record(11)};
        kind.getNew(window.get());
        QCOMPARE(window->IDFirst, 10);
        QCOMPARE(window->IDLast, 12);
        kind.source().answer = {kind.record(20), kind.record(5), kind.record(15)};
        kind.getNew(window.get());
        QCOMPARE(kind.lowestID(kind.source().requests.back()), 13);
        QVERIFY(kind.endless(kind.source().requests.back()));
        QCOMPARE(window->IDFirst, 5);
        QCOMPARE(window->IDLast, 20);
        kind.getNew(window.get());
        QCOMPARE(kind.lowestID(kind.source().requests.back()), 21);
    });
}

void RecordWindowLoadsTest::incrementalFetchAddsWhateverTheSourceReturns()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 2);
        kind.getNew(window.get());
        kind.getNew(window.get());
        QCOMPARE(columnTexts(kind.list(window.get()), 2), QStringList({"2", "1", "2", "1", "1", "2"}));
        QCOMPARE(window->iLast, 5);
    });
}

void RecordWindowLoadsTest::incrementalFetchSortsByNumberAgain()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        ListView *list = kind.list(window.get());
        list->setSorting(2, false);
        QCOMPARE(columnTexts(list, 2), QStringList({"3", "2", "1"}));
        kind.source().answer.clear();
        kind.getNew(window.get());
        QCOMPARE(columnTexts(list, 2), QStringList({"3", "2", "1"}));
        kind.source().answer = kind.records(4, 1);
        kind.getNew(window.get());
        QCOMPARE(columnTexts(list, 0), QStringList({"003", "002", "001", "000"}));
        QCOMPARE(columnTexts(list, 2), QStringList({"4", "1", "2", "3"}));
    });
}

void RecordWindowLoadsTest::emptyIncrementalFetchChangesNothing()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        ListView *list = kind.list(window.get());
        list->setColumnWidth(0, 77);
        kind.source().answer.clear();
        kind.getNew(window.get());
        QCOMPARE(list->childCount(), 3);
        QCOMPARE(list->columnWidth(0), 77);
        QCOMPARE(window->iLast, 2);
        QCOMPARE(window->IDLast, 3);
    });
}

void RecordWindowLoadsTest::failedIncrementalFetchChangesNothing()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        kind.source().answer = kind.records(4, 3);
        kind.source().result = 1;
        kind.getNew(window.get());
        QCOMPARE(columnTexts(kind.list(window.get()), 2), QStringList({"1", "2", "3"}));
        QCOMPARE(window->iLast, 2);
        QCOMPARE(window->IDLast, 3);
    });
}

void RecordWindowLoadsTest::failedReloadLeavesTheListEmpty()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 1000);
        kind.source().result = -1;
        window->onUpdateList();
        QCOMPARE(kind.list(window.get())->childCount(), 0);
        QCOMPARE(window->AccSensorID, 4);
        QCOMPARE(window->iLast, 0);
        QCOMPARE(window->IDFirst, 1);
        QCOMPARE(window->IDLast, 1000);
    });
}

void RecordWindowLoadsTest::arrayOfAFailedFetchIsReleased()
{
    // The sanitized run sees the records that are not.
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        kind.source().result = 7;
        window->onUpdateList();
        kind.getNew(window.get());
        QCOMPARE(kind.source().releases, kind.source().fetches());
    });
}

void RecordWindowLoadsTest::identifiersSurviveAReloadWithoutRecords()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 10, 3);
        kind.source().answer.clear();
        window->onUpdateList();
        QCOMPARE(kind.list(window.get())->childCount(), 0);
        QCOMPARE(window->IDFirst, 10);
        QCOMPARE(window->IDLast, 12);
        QCOMPARE(window->iLast, 0);
        kind.getNew(window.get());
        QCOMPARE(kind.lowestID(kind.source().requests.back()), 13);
    });
}

void RecordWindowLoadsTest::rowNumbersStopAtTheLargestNumber()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 2);
        window->iLast = INT_MAX - 1;
        kind.getNew(window.get());
        QCOMPARE(columnTexts(kind.list(window.get()), 0), QStringList({"2147483647", "2147483647", "001", "000"}));
        QCOMPARE(window->iLast, INT_MAX);
        kind.getNew(window.get());
        QCOMPARE(window->iLast, INT_MAX);
    });
}

void RecordWindowLoadsTest::nothingIsAddedAboveTheLargestIdentifier()
{
    eachKind([](auto kind) {
        kind.source().answer = {kind.record(INT_MIN), kind.record(INT_MAX)};
        const auto window = open(kind);
        QCOMPARE(columnTexts(kind.list(window.get()), 2), QStringList({"-2147483648", "2147483647"}));
        QCOMPARE(window->IDFirst, INT_MIN);
        QCOMPARE(window->IDLast, INT_MAX);
        kind.getNew(window.get());
        QTest::mouseClick(window->pushButton2, Qt::LeftButton);
        QCOMPARE(kind.list(window.get())->childCount(), 2);
        QCOMPARE(window->iLast, 1);
        // A full load goes on as before.
        kind.source().answer = {kind.record(3)};
        window->onUpdateList();
        kind.getNew(window.get());
        QCOMPARE(kind.lowestID(kind.source().requests.back()), 4);
    });
}

void RecordWindowLoadsTest::nullArrayWithACountGivesNoRowsAndNoSecondFetch()
{
    eachKind([](auto kind) {
        kind.source().nullArray = true;
        kind.source().claimed = 5000;
        const auto window = open(kind);
        QCOMPARE(kind.source().fetches(), kind.LoadsWhileBuilt);
        QCOMPARE(kind.list(window.get())->childCount(), 0);
        QCOMPARE(window->AccSensorID, 3);
        kind.getNew(window.get());
        QCOMPARE(kind.source().fetches(), kind.LoadsWhileBuilt + 1);
        QCOMPARE(window->iLast, 0);
    });
}

void RecordWindowLoadsTest::firstColumnIs30WideAfterEveryLoad()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 200);
        ListView *list = kind.list(window.get());
        list->setColumnWidth(0, 90);
        list->setColumnWidthMode(0, ListView::Maximum);
        window->onUpdateList();
        QCOMPARE(list->columnWidth(0), 30);
        QCOMPARE(list->columnWidthMode(0), ListView::Manual);
        list->setColumnWidth(0, 90);
        list->setColumnWidthMode(0, ListView::Maximum);
        kind.getNew(window.get());
        QCOMPARE(list->columnWidth(0), 30);
        QCOMPARE(list->columnWidthMode(0), ListView::Manual);
    });
}

void RecordWindowLoadsTest::loadsWithoutRecordsLeaveTheFirstColumn()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        ListView *list = kind.list(window.get());
        for (int result : {0, -1}) {
            list->setColumnWidth(0, 77);
            list->setColumnWidthMode(0, ListView::Maximum);
            list->setSorting(2, false);
            if (result == 0)
                kind.source().answer.clear();
            else
                kind.source().answer = kind.records(1, 3);
            kind.source().result = result;
            window->onUpdateList();
            kind.getNew(window.get());
            QCOMPARE(list->columnWidth(0), 77);
            QCOMPARE(list->columnWidthMode(0), ListView::Maximum);
            QCOMPARE(list->header()->sortIndicatorSection(), 2);
        }
    });
}

QTEST_MAIN(RecordWindowLoadsTest)
#include "recordwindowloadstest.moc"
