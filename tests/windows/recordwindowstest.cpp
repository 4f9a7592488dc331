// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What the windows of events and of commands do alike. Every test runs for both.
#include "capturedoutput.h"
#include "columnfitting.h"
#include "recordkinds.h"
#include "timezone.h"
#include "windowtestbase.h"

#include <QComboBox>
#include <QElapsedTimer>
#include <QFile>
#include <QHeaderView>
#include <QMenuBar>
#include <QScrollBar>
#include <QTemporaryDir>
#include <climits>

class RecordWindowsTest : public WindowTestBase
{
    Q_OBJECT

private slots:
    void initTestCase_data();

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

    void requestCarriesTheControls();
    void maskIsPartOfTheRequest();
    void noWhichButtonCheckedAsksForMinusOneAndCountsAsFirst();
    void numberThatIsNoneAsksForZero();

    void timePresetFillsTheEditAndTicksTheBox_data();
    void timePresetFillsTheEditAndTicksTheBox();
    void oneMonthBefore31MarchIsTheLastOfFebruary();
    void choosingTheSamePresetAgainTakesTheNewTime();

    void autoUpdateIntervals();
    void noAutoUpdateStopsTheTimer();
    void selectingTheSameIntervalTwiceRestartsIt();
    void tickFetchesOnlyWhatIsNew();
    void returnKeyReloadsNothing();

    void rightClickOpensTheMenuAtThePointer();
    void menuKeyOpensTheMenuForTheCurrentRow();
    void rightClickOnEmptySpaceOpensTheMenuWhichThenDoesNothing();
    void escapeFromTheMenuDoesNothing();
    void menusAreFreedAfterUse();
    void deleteAsksAndDeletes();
    void deleteAnsweredNoChangesNothing();
    void escapeAndClosingDoNotAnswerTheDeleteQuestion();
    void deleteOfANegativeIdentifier();
    void rowThatGoesAwayTakesItemSelectedWithIt();
    void reloadUnderAnOpenQuestionDeletesTheRecordButNoRow();

    void columnEntriesAreMarkedAndNamed();
    void clickOnAColumnEntryTurnsTheColumnOverOnce();
    void slotTurnsTheColumnOverOnce();
    void keyboardTurnsAColumnOver();
    void setColumnsVisibilityToAValue();
    void columnIsTurnedOverFromWhatItsEntryShows();
    void columnsThatAreNoneAreIgnored();
    void hidingAllColumnsLeavesTheWidths();
    void widthModeOfEveryColumnFollowsColumnZero();
    void columnTextWidthIsTheWidestTextAndThree();
    void widthsFollowTheTimeZone();
    void columnsAreFittedWhenTheWindowIsBuilt();
    void columnsAreFittedByTheRule();
    void firstPaintFitsTheColumns();
    void loadsDoNotFitTheColumns();

    void menuBarLiesAboveTheListAndTakesNoRoom();
    void identifiersSortAsNumbersAndDatesAsTimes();
    void languageSwitchKeepsTheCaptionAndDoublesNothing();
    void damagedRecordsAreShownAsFarAsTheyGo();

    void testDataShowsItsRows();
    void testDataIsFetchedOnceALoad();
    void moreTestDataThanTheSourceHoldsIsNotOverrun();
    void emptyTestDataShowsNothing();

    void nothingIsPaintedWhenNothingIsNew();
    void newRowsLeavePlaceAndSelection();
    void newRowsAreFollowedWhereTheyLand();
    void pointerWaitsDuringALoadAndIsRestoredInABox();
    void longLoadIsPaintedAtOnce();
    void shortLoadIsPaintedInItsTime();

private:
    template <class Body> void eachKind(Body body)
    {
        QFETCH_GLOBAL(bool, ofEvents);
        if (ofEvents)
            body(EventsKind());
        else
            body(CommandsKind());
    }
};

template <class Kind> static std::unique_ptr<typename Kind::Window> open(Kind, const char *mask = nullptr)
{
    return std::make_unique<typename Kind::Window>(nullptr, "A list", mask);
}

template <class Kind> static auto openWith(Kind kind, int from, int count)
{
    Kind::source().answer = Kind::records(from, count);
    return open(kind);
}

template <class Window> static void chooseFirst(Window *window)
{
    QTest::mouseClick(window->rb_First, Qt::LeftButton);
}

void RecordWindowsTest::initTestCase_data()
{
    QTest::addColumn<bool>("ofEvents");
    QTest::newRow("events") << true;
    QTest::newRow("commands") << false;
}

void RecordWindowsTest::opensWithCaptionNameAndDefaults()
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

void RecordWindowsTest::captionAndMaskAreCopied()
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

void RecordWindowsTest::fullLoadOf100InLastMode()
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

void RecordWindowsTest::fullLoadOf100InFirstMode()
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

void RecordWindowsTest::fullLoadOfAThousandHasFourDigits()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 1000);
        QCOMPARE(window->AccSensorID, 4);
        const QStringList numbers = columnTexts(kind.list(window.get()), 0);
        QCOMPARE(numbers.first(), QStringLiteral("0999"));
        QCOMPARE(numbers.last(), QStringLiteral("0000"));
    });
}

void RecordWindowsTest::fiveAndNinetyNineRowsHaveThreeDigits()
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

void RecordWindowsTest::rowShowsTheRecord()
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

void RecordWindowsTest::incrementalFetchAfter900RowsOutgrowsTheDigits()
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

void RecordWindowsTest::incrementalFetchInFirstModeGoesToTheBottom()
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

void RecordWindowsTest::incrementalFetchSortsAsTheChoiceStandsThen()
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

void RecordWindowsTest::incrementalFetchWidensTheIdentifiers()
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

void RecordWindowsTest::incrementalFetchAddsWhateverTheSourceReturns()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 2);
        kind.getNew(window.get());
        kind.getNew(window.get());
        QCOMPARE(columnTexts(kind.list(window.get()), 2), QStringList({"2", "1", "2", "1", "1", "2"}));
        QCOMPARE(window->iLast, 5);
    });
}

void RecordWindowsTest::incrementalFetchSortsByNumberAgain()
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

void RecordWindowsTest::emptyIncrementalFetchChangesNothing()
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

void RecordWindowsTest::failedIncrementalFetchChangesNothing()
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

void RecordWindowsTest::failedReloadLeavesTheListEmpty()
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

void RecordWindowsTest::arrayOfAFailedFetchIsReleased()
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

void RecordWindowsTest::identifiersSurviveAReloadWithoutRecords()
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

void RecordWindowsTest::rowNumbersStopAtTheLargestNumber()
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

void RecordWindowsTest::nothingIsAddedAboveTheLargestIdentifier()
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

void RecordWindowsTest::nullArrayWithACountGivesNoRowsAndNoSecondFetch()
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

void RecordWindowsTest::firstColumnIs30WideAfterEveryLoad()
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

void RecordWindowsTest::loadsWithoutRecordsLeaveTheFirstColumn()
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

void RecordWindowsTest::requestCarriesTheControls()
{
    eachKind([](auto kind) {
        const auto window = open(kind);
        window->NMax->clear();
        QTest::keyClicks(window->NMax, "250");
        QTest::mouseClick(window->rb_First, Qt::LeftButton);
        QTest::mouseClick(window->rbType_Converters, Qt::LeftButton);
        QTest::mouseClick(window->timeFromUsed, Qt::LeftButton, {}, QPoint(8, 12));
        window->timeFrom->setDateTime(QDateTime::fromSecsSinceEpoch(1000));
        window->timeTo->setDateTime(QDateTime::fromSecsSinceEpoch(5000000000));
        QTest::mouseClick(window->BUpdateList, Qt::LeftButton);

        const auto &request = kind.source().requests.back();
        QCOMPARE(request.NMax, 250);
        QCOMPARE(request.TakeFirst1_Last0, 1);
        QCOMPARE(kind.type(request), 2);
        QVERIFY(kind.useType(request));
        QCOMPARE(kind.from(request), 1000);
        QVERIFY(kind.useFrom(request));
        QCOMPARE(kind.to(request), INT_MAX);
        QVERIFY(!kind.useTo(request));
        QCOMPARE(kind.lowestID(request), -1);
        QVERIFY(!request.SensorID);
        QCOMPARE(request.UseSensorID, 0);
    });
}

void RecordWindowsTest::maskIsPartOfTheRequest()
{
    eachKind([](auto kind) {
        const auto window = open(kind, "pump*");
        const auto &request = kind.source().requests.back();
        QCOMPARE(request.SensorID, "pump*");
        QCOMPARE(request.LSensorID, 6);
        QCOMPARE(request.UseSensorID, 1);
        kind.getNew(window.get());
        QCOMPARE(kind.source().requests.back().SensorID, "pump*");
    });
}

void RecordWindowsTest::noWhichButtonCheckedAsksForMinusOneAndCountsAsFirst()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 2);
        window->BG_WhichGet->setButton(-1);
        window->onUpdateList();
        QCOMPARE(kind.source().requests.back().TakeFirst1_Last0, -1);
        QCOMPARE(columnTexts(kind.list(window.get()), 0), QStringList({"000", "001"}));
    });
}

void RecordWindowsTest::numberThatIsNoneAsksForZero()
{
    eachKind([](auto kind) {
        const auto window = open(kind);
        window->NMax->setText("many");
        window->onUpdateList();
        QCOMPARE(kind.source().requests.back().NMax, 0);
    });
}

void RecordWindowsTest::timePresetFillsTheEditAndTicksTheBox_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("expected");
    QTest::newRow("now") << 0 << "2026-11-21 00:31:00";
    QTest::newRow("1 minute ago") << 1 << "2026-11-21 00:30:00";
    QTest::newRow("1 hour ago") << 2 << "2026-11-20 23:31:00";
    QTest::newRow("1 day ago") << 3 << "2026-11-20 00:31:00";
    QTest::newRow("1 week ago") << 4 << "2026-11-14 00:31:00";
    QTest::newRow("1 month ago") << 5 << "2026-10-21 00:31:00";
    QTest::newRow("1 year ago") << 6 << "2025-11-21 00:31:00";
}

static void chooseWithKeys(QComboBox *combo, int index)
{
    // Away from the entry first, as choosing needs a change or the list.
    combo->setCurrentIndex(index == 0 ? 1 : index - 1);
    QTest::keyClick(combo, index == 0 ? Qt::Key_Up : Qt::Key_Down);
}

void RecordWindowsTest::timePresetFillsTheEditAndTicksTheBox()
{
    eachKind([](auto kind) {
        QFETCH(int, index);
        QFETCH(QString, expected);
        const QString format = "yyyy-MM-dd HH:mm:ss";
        const auto window = open(kind);
        const int fetches = kind.source().fetches();

        chooseWithKeys(window->comboFrom_TimeAgo, index);
        QCOMPARE(window->timeFrom->dateTime().toString(format), expected);
        QVERIFY(window->timeFromUsed->isChecked());
        QVERIFY(!window->timeToUsed->isChecked());

        window->timeTo->setDateTime(QDateTime::fromSecsSinceEpoch(0));
        chooseWithKeys(window->comboTo_TimeAgo, index);
        QCOMPARE(window->timeTo->dateTime().toString(format), expected);
        QVERIFY(window->timeToUsed->isChecked());
        QCOMPARE(kind.source().fetches(), fetches);
    });
}

void RecordWindowsTest::oneMonthBefore31MarchIsTheLastOfFebruary()
{
    eachKind([](auto kind) {
        const auto window = open(kind);
        setTime(1774958400); // 2026-03-31 12:00:00 UTC
        window->onSetTimeFrom(5);
        QCOMPARE(window->timeFrom->dateTime(), QDateTime(QDate(2026, 2, 28), QTime(12, 0)));
        window->onSetTimeTo(5);
        QCOMPARE(window->timeTo->dateTime(), QDateTime(QDate(2026, 2, 28), QTime(12, 0)));
    });
}

void RecordWindowsTest::choosingTheSamePresetAgainTakesTheNewTime()
{
    eachKind([](auto kind) {
        const auto window = open(kind);
        chooseWithKeys(window->comboTo_TimeAgo, 1);
        setTime(StartTime + 600);
        QTest::keyClick(window->comboTo_TimeAgo, Qt::Key_Space);
        QTRY_VERIFY(QApplication::activePopupWidget());
        QTest::keyClick(QApplication::activePopupWidget()->focusProxy()
                            ? QApplication::activePopupWidget()->focusProxy()
                            : QApplication::focusWidget(),
                        Qt::Key_Return);
        QCOMPARE(window->timeTo->dateTime().toSecsSinceEpoch(), qint64(StartTime + 540));
    });
}

void RecordWindowsTest::autoUpdateIntervals()
{
    eachKind([](auto kind) {
        const auto window = open(kind);
        const int intervals[] = {0, 2000, 5000, 60000, 600000};
        for (int index = 1; index < 5; ++index) {
            chooseWithKeys(window->AutoUpdate, index);
            QVERIFY(window->timer);
            QVERIFY(window->timer->isActive());
            QVERIFY(!window->timer->isSingleShot());
            QCOMPARE(window->timer->interval(), intervals[index]);
            QCOMPARE(window->timer->timerType(), Qt::PreciseTimer);
            QCOMPARE(window->timer->parent(), window.get());
        }
        window->setAutoUpdate(17);
        QCOMPARE(window->timer->interval(), 1000);
        window->setAutoUpdate(-1);
        QVERIFY(!window->timer);
    });
}

void RecordWindowsTest::noAutoUpdateStopsTheTimer()
{
    eachKind([](auto kind) {
        const auto window = open(kind);
        chooseWithKeys(window->AutoUpdate, 1);
        const QPointer<QTimer> timer = window->timer;
        chooseWithKeys(window->AutoUpdate, 0);
        QVERIFY(!window->timer);
        QVERIFY(!timer);
    });
}

void RecordWindowsTest::selectingTheSameIntervalTwiceRestartsIt()
{
    eachKind([](auto kind) {
        const auto window = open(kind);
        window->setAutoUpdate(1);
        const QPointer<QTimer> first = window->timer;
        QTRY_VERIFY(first->remainingTime() < 1700);
        QElapsedTimer sinceThen;
        sinceThen.start();
        window->setAutoUpdate(1);
        QVERIFY(!first);
        const int remaining = window->timer->remainingTime();
        QVERIFY(remaining + sinceThen.elapsed() > 1800);
    });
}

void RecordWindowsTest::tickFetchesOnlyWhatIsNew()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        kind.source().answer = kind.records(4, 1);
        window->setAutoUpdate(1);
        window->timer->setInterval(1);
        QTRY_VERIFY(kind.list(window.get())->childCount() >= 5);
        window->setAutoUpdate(0);
        QCOMPARE(kind.lowestID(kind.source().requests.back()), 5);
        QCOMPARE(columnTexts(kind.list(window.get()), 2).last(), QStringLiteral("3"));
    });
}

void RecordWindowsTest::returnKeyReloadsNothing()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QVERIFY(showAndWait(window.get()));
        for (QWidget *widget : {static_cast<QWidget *>(window->NMax), static_cast<QWidget *>(kind.list(window.get())),
                                static_cast<QWidget *>(window.get())}) {
            widget->setFocus();
            for (Qt::Key key : {Qt::Key_Return, Qt::Key_Enter})
                QTest::keyClick(widget, key);
        }
        QCOMPARE(kind.source().fetches(), kind.LoadsWhileBuilt);
        QVERIFY(window->isVisible());
    });
}

void RecordWindowsTest::rightClickOpensTheMenuAtThePointer()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QVERIFY(showAndWait(window.get()));
        QCursor::setPos(40, 50);
        QStringList entries;
        QPoint place;
        onMenu([&](QMenu *menu) {
            entries = entryTexts(menu);
            place = menu->pos();
            menu->close();
        });
        rightClick(kind.list(window.get()), 1);
        QCOMPARE(entries, QStringList({kind.DeleteEntry}));
        QCOMPARE(place, QCursor::pos());
        QCOMPARE(window->itemSelected, kind.list(window.get())->itemAt(1));
    });
}

void RecordWindowsTest::menuKeyOpensTheMenuForTheCurrentRow()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QVERIFY(showAndWait(window.get()));
        ListView *list = kind.list(window.get());
        list->setFocus();
        QTest::keyClick(list, Qt::Key_End);
        bool opened = false;
        onMenu([&opened](QMenu *menu) {
            opened = true;
            QTest::keyClick(menu, Qt::Key_Escape);
        });
        QTest::keyClick(list, Qt::Key_Menu);
        QVERIFY(opened);
        QCOMPARE(window->itemSelected, list->itemAt(2));
    });
}

void RecordWindowsTest::rightClickOnEmptySpaceOpensTheMenuWhichThenDoesNothing()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QVERIFY(showAndWait(window.get()));
        window->itemSelected = kind.list(window.get())->itemAt(0);
        chooseFromMenu(kind.DeleteEntry);
        rightClick(kind.list(window.get()), -1);
        QVERIFY(!window->itemSelected);
        QVERIFY(!openBox());
        QVERIFY(kind.source().deleted.empty());
        QCOMPARE(kind.list(window.get())->childCount(), 3);
    });
}

void RecordWindowsTest::escapeFromTheMenuDoesNothing()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QVERIFY(showAndWait(window.get()));
        onMenu([](QMenu *menu) { QTest::keyClick(menu, Qt::Key_Escape); });
        rightClick(kind.list(window.get()), 0);
        QVERIFY(!openMenu());
        QVERIFY(kind.source().deleted.empty());
        QVERIFY(window->isVisible());
    });
}

void RecordWindowsTest::menusAreFreedAfterUse()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QVERIFY(showAndWait(window.get()));
        const int before = window->template findChildren<QMenu *>().size();
        for (int i = 0; i < 5; ++i) {
            onMenu([](QMenu *menu) { menu->close(); });
            rightClick(kind.list(window.get()), 0);
        }
        QTRY_COMPARE(window->template findChildren<QMenu *>().size(), before);
    });
}

void RecordWindowsTest::deleteAsksAndDeletes()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 11, 3);
        QVERIFY(showAndWait(window.get()));
        ListView *list = kind.list(window.get());
        QString question;
        QString caption;
        bool defaultIsYes = false;
        chooseFromMenu(kind.DeleteEntry);
        when([] { return openBox() != nullptr; },
             [&] {
                 QMessageBox *box = openBox();
                 question = box->text();
                 caption = box->windowTitle();
                 QCOMPARE(box->buttons().size(), 2);
                 QVERIFY(buttonOf(box, "No"));
                 QVERIFY(buttonOf(box, "No")->shortcut().isEmpty());
                 QVERIFY(buttonOf(box, "Yes")->shortcut().isEmpty());
                 defaultIsYes = box->defaultButton() == buttonOf(box, "Yes");
                 QTest::keyClick(box, Qt::Key_Return);
             });
        rightClick(list, 1);
        QCOMPARE(question, QString(kind.DeleteQuestion).arg(12));
        QCOMPARE(caption, QStringLiteral("???"));
        QVERIFY(defaultIsYes);
        QCOMPARE(kind.source().deleted, std::vector<int>{12});
        QCOMPARE(columnTexts(list, 2), QStringList({"11", "13"}));
        QCOMPARE(columnTexts(list, 0), QStringList({"002", "000"}));
        QVERIFY(!window->itemSelected);
        QCOMPARE(window->IDFirst, 11);
        QCOMPARE(window->IDLast, 13);
        QCOMPARE(window->iLast, 2);
        QCOMPARE(kind.source().fetches(), kind.LoadsWhileBuilt);
    });
}

void RecordWindowsTest::deleteAnsweredNoChangesNothing()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 11, 3);
        QVERIFY(showAndWait(window.get()));
        ListView *list = kind.list(window.get());
        chooseFromMenu(kind.DeleteEntry);
        pressInBox("No");
        rightClick(list, 1);
        QVERIFY(kind.source().deleted.empty());
        QCOMPARE(list->childCount(), 3);
        QCOMPARE(window->itemSelected, list->itemAt(1));
    });
}

void RecordWindowsTest::escapeAndClosingDoNotAnswerTheDeleteQuestion()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 11, 3);
        window->itemSelected = kind.list(window.get())->itemAt(0);
        bool stillOpen = false;
        when([] { return openBox() != nullptr; },
             [&stillOpen] {
                 QTest::keyClick(openBox(), Qt::Key_Escape);
                 openBox()->close();
                 stillOpen = openBox() != nullptr;
                 if (stillOpen)
                     QTest::mouseClick(buttonOf(openBox(), "No"), Qt::LeftButton);
             });
        window->onDeleteItem();
        QVERIFY(stillOpen);
        QVERIFY(kind.source().deleted.empty());
        QCOMPARE(kind.list(window.get())->childCount(), 3);
    });
}

void RecordWindowsTest::deleteOfANegativeIdentifier()
{
    eachKind([](auto kind) {
        kind.source().answer = {kind.record(-7)};
        const auto window = open(kind);
        window->itemSelected = kind.list(window.get())->firstChild();
        pressInBox("Yes");
        window->onDeleteItem();
        QCOMPARE(kind.source().deleted, std::vector<int>{-7});
    });
}

void RecordWindowsTest::rowThatGoesAwayTakesItemSelectedWithIt()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        ListView *list = kind.list(window.get());
        window->itemSelected = list->itemAt(0);
        list->removeItem(list->itemAt(1));
        QCOMPARE(window->itemSelected, list->itemAt(0));
        list->removeItem(list->itemAt(0));
        QVERIFY(!window->itemSelected);
        window->itemSelected = list->itemAt(0);
        window->onUpdateList();
        QVERIFY(!window->itemSelected);
    });
}

void RecordWindowsTest::reloadUnderAnOpenQuestionDeletesTheRecordButNoRow()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        window->itemSelected = kind.list(window.get())->itemAt(1);
        when([] { return openBox() != nullptr; },
             [&window] {
                 window->onUpdateList();
                 QTest::mouseClick(buttonOf(openBox(), "Yes"), Qt::LeftButton);
             });
        window->onDeleteItem();
        QCOMPARE(kind.source().deleted, std::vector<int>{2});
        QCOMPARE(kind.list(window.get())->childCount(), 3);
    });
}

void RecordWindowsTest::columnEntriesAreMarkedAndNamed()
{
    eachKind([](auto kind) {
        const auto window = open(kind);
        const bool ofEvents = std::is_same_v<decltype(kind), EventsKind>;
        QCOMPARE(entryTexts(window->Menu1),
                 QStringList({"Number", "Sensor", "ID", ofEvents ? "Name" : "Type", "Date", "Params"}));
        for (const QAction *entry : window->Menu1->actions()) {
            QVERIFY(entry->isCheckable());
            QVERIFY(entry->isChecked());
            QVERIFY(entry->shortcut().isEmpty());
        }
        const auto bars = window->template findChildren<QMenuBar *>();
        QCOMPARE(bars.size(), 1);
        QCOMPARE(bars.first()->actions().size(), 1);
        QCOMPARE(bars.first()->actions().first()->text(), QStringLiteral("&Columns"));
        QCOMPARE(bars.first()->actions().first()->menu(), window->Menu1);
        QCOMPARE(window->Menu1->parent(), window.get());
    });
}

void RecordWindowsTest::clickOnAColumnEntryTurnsTheColumnOverOnce()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QVERIFY(showAndWait(window.get()));
        auto *bar = window->template findChild<QMenuBar *>();
        for (int column = 0; column < 6; ++column) {
            for (int expected : {0, 1}) {
                QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(bar->actions().first()).center());
                QTRY_VERIFY(window->Menu1->isVisible());
                clickEntry(window->Menu1, window->Menu1->actions().at(column)->text());
                QVERIFY(!window->Menu1->isVisible());
                QCOMPARE(window->ColumnsVisibiliy[column], expected);
                QCOMPARE(window->Menu1->actions().at(column)->isChecked(), expected == 1);
                QCOMPARE(kind.list(window.get())->columnWidth(column) == 2, expected == 0);
            }
        }
    });
}

void RecordWindowsTest::slotTurnsTheColumnOverOnce()
{
    eachKind([](auto kind) {
        using Window = typename decltype(kind)::Window;
        const auto window = open(kind);
        void (Window::*const turn[])() = {&Window::FSetVisibilityC0, &Window::FSetVisibilityC1,
                                          &Window::FSetVisibilityC2, &Window::FSetVisibilityC3,
                                          &Window::FSetVisibilityC4, &Window::FSetVisibilityC5};
        for (int column = 0; column < 6; ++column) {
            for (int expected : {0, 1}) {
                (window.get()->*turn[column])();
                QCOMPARE(window->ColumnsVisibiliy[column], expected);
                QCOMPARE(window->Menu1->actions().at(column)->isChecked(), expected == 1);
            }
        }
    });
}

void RecordWindowsTest::keyboardTurnsAColumnOver()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QVERIFY(showAndWait(window.get()));
        window->activateWindow();
        QVERIFY(waitForActive(window.get()));
        QTest::keyClick(window.get(), Qt::Key_C, Qt::AltModifier);
        QTRY_VERIFY(window->Menu1->isVisible());
        if (!window->Menu1->activeAction())
            QTest::keyClick(window->Menu1, Qt::Key_Down);
        QTest::keyClick(window->Menu1, Qt::Key_Down);
        QTest::keyClick(window->Menu1, Qt::Key_Return);
        QCOMPARE(window->ColumnsVisibiliy[0], 1);
        QCOMPARE(window->ColumnsVisibiliy[1], 0);
        QVERIFY(!window->Menu1->actions().at(1)->isChecked());
    });
}

void RecordWindowsTest::setColumnsVisibilityToAValue()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        for (int set : {0, 0, 1, 1, 0, 1}) {
            window->SetColumnsVisibiliy(4, set);
            QCOMPARE(window->ColumnsVisibiliy[4], set);
            QCOMPARE(window->Menu1->actions().at(4)->isChecked(), set == 1);
        }
        window->SetColumnsVisibiliy(4, 7);
        QCOMPARE(window->ColumnsVisibiliy[4], 7);
        QVERIFY(window->Menu1->actions().at(4)->isChecked());
        window->SetColumnsVisibiliy(4, -1);
        QCOMPARE(window->ColumnsVisibiliy[4], 0);
    });
}

void RecordWindowsTest::columnIsTurnedOverFromWhatItsEntryShows()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QAction *entry = window->Menu1->actions().at(2);
        entry->setChecked(false);
        window->SetColumnsVisibiliy(2, -1);
        QCOMPARE(window->ColumnsVisibiliy[2], 1);
        QVERIFY(entry->isChecked());
    });
}

void RecordWindowsTest::columnsThatAreNoneAreIgnored()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        for (int column : {-1, 6, 9, INT_MAX, INT_MIN})
            window->SetColumnsVisibiliy(column, -1);
        for (int flag : window->ColumnsVisibiliy)
            QCOMPARE(flag, 1);
    });
}

void RecordWindowsTest::hidingAllColumnsLeavesTheWidths()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        ListView *list = kind.list(window.get());
        for (int column = 0; column < 5; ++column)
            window->SetColumnsVisibiliy(column, 0);
        QList<int> widths = columnWidths(list);
        list->setColumnWidth(1, 55);
        widths[1] = 55;
        window->SetColumnsVisibiliy(5, 0);
        widths[5] = 2;
        QCOMPARE(columnWidths(list), widths);
    });
}

void RecordWindowsTest::widthModeOfEveryColumnFollowsColumnZero()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        ListView *list = kind.list(window.get());
        window->SetColumnsVisibiliy(1, 0);
        QCOMPARE(list->columnWidthMode(1), ListView::Maximum);
        window->SetColumnsVisibiliy(0, 0);
        QCOMPARE(list->columnWidthMode(0), ListView::Manual);
        window->SetColumnsVisibiliy(1, 1);
        QCOMPARE(list->columnWidthMode(1), ListView::Manual);
        window->SetColumnsVisibiliy(2, 0);
        QCOMPARE(list->columnWidthMode(2), ListView::Manual);
        window->SetColumnsVisibiliy(0, 1);
        QCOMPARE(list->columnWidthMode(0), ListView::Maximum);
        window->SetColumnsVisibiliy(2, 1);
        QCOMPARE(list->columnWidthMode(2), ListView::Maximum);
    });
}

template <class Window> static void compareWidths(Window *window, const ListView *list)
{
    for (int column = 0; column < 6; ++column) {
        int widest = 0;
        for (int row = 0; row < list->childCount(); ++row)
            widest = qMax(widest, list->itemAt(row)->width(list->fontMetrics(), list, column));
        QVERIFY(widest > 0);
        QCOMPARE(window->ColumnTextWidth(column), widest + 3);
    }
}

void RecordWindowsTest::columnTextWidthIsTheWidestTextAndThree()
{
    eachKind([](auto kind) {
        auto wide = kind.record(1);
        addParameter(wide, "description", "a parameter that needs its room");
        kind.source().answer = {kind.record(7), wide, kind.record(123456)};
        const auto window = open(kind);
        ListView *list = kind.list(window.get());
        compareWidths(window.get(), list);
        list->clear();
        QCOMPARE(window->ColumnTextWidth(0), 3);
    });
}

void RecordWindowsTest::widthsFollowTheTimeZone()
{
    eachKind([](auto kind) {
        const TimeZone before("UTC");
        // In the evening of Friday, 1 May 2026; it is Saturday already in the east.
        constexpr std::time_t evening = 1777674600;
        for (int i = 0; i < 3; ++i)
            kind.source().answer.push_back(kind.recordAt(i, evening + i));
        const auto window = open(kind);
        ListView *list = kind.list(window.get());
        QVERIFY(list->itemAt(0)->text(DateColumn).startsWith(QStringLiteral("Fri May 1 ")));
        compareWidths(window.get(), list);
        const int width = window->ColumnTextWidth(DateColumn);

        const TimeZone after("Asia/Tokyo");
        QVERIFY(list->itemAt(0)->text(DateColumn).startsWith(QStringLiteral("Sat May 2 ")));
        compareWidths(window.get(), list);
        QVERIFY(window->ColumnTextWidth(DateColumn) != width);
        // Rows of both kinds of days, and rows that go.
        kind.source().answer = {kind.recordAt(10, evening - 86400), kind.recordAt(11, evening + 10 * 86400)};
        kind.getNew(window.get());
        QCOMPARE(list->childCount(), 5);
        compareWidths(window.get(), list);
        while (list->childCount() > 1) {
            list->removeItem(list->itemAt(list->childCount() / 2));
            compareWidths(window.get(), list);
        }

        const TimeZone west("America/Los_Angeles");
        window->resize(window->width() + 50, window->height());
        compareWidths(window.get(), list);
    });
}

template <class Window> static QList<int> fittedWidths(Window *window, const ListView *list)
{
    std::vector<FittedColumn> columns(6);
    for (int c = 0; c < 6; ++c) {
        columns[std::size_t(c)].visible = window->ColumnsVisibiliy[c] != 0;
        columns[std::size_t(c)].textWidth = window->ColumnTextWidth(c);
    }
    fitColumns(list->width(), columns);
    QList<int> widths;
    for (const FittedColumn &column : columns)
        widths << qMax(2, column.width);
    return widths;
}

void RecordWindowsTest::columnsAreFittedWhenTheWindowIsBuilt()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 30);
        const ListView *list = kind.list(window.get());
        QCOMPARE(columnWidths(list), fittedWidths(window.get(), list));
    });
}

void RecordWindowsTest::columnsAreFittedByTheRule()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 30);
        ListView *list = kind.list(window.get());
        QVERIFY(showAndWait(window.get()));
        QTRY_COMPARE(window->firstPaint, 0);
        for (int width : {700, 1200, 2400, 600}) {
            window->resize(width, 700);
            QTRY_COMPARE(window->width(), width);
            QCOMPARE(columnWidths(list), fittedWidths(window.get(), list));
        }
        window->SetColumnsVisibiliy(3, 0);
        QCOMPARE(columnWidths(list), fittedWidths(window.get(), list));
        QCOMPARE(list->columnWidth(3), 2);
        window->SetColumnsVisibiliy(3, 1);
        QCOMPARE(columnWidths(list), fittedWidths(window.get(), list));
    });
}

void RecordWindowsTest::firstPaintFitsTheColumns()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 30);
        ListView *list = kind.list(window.get());
        QVERIFY(showAndWait(window.get()));
        QTRY_COMPARE(window->firstPaint, 0);
        QCOMPARE(columnWidths(list), fittedWidths(window.get(), list));
        list->setColumnWidth(1, 99);
        window->repaint();
        QCOMPARE(list->columnWidth(1), 99);
    });
}

void RecordWindowsTest::loadsDoNotFitTheColumns()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 30);
        ListView *list = kind.list(window.get());
        for (int column = 0; column < 6; ++column) {
            list->setColumnWidthMode(column, ListView::Manual);
            list->setColumnWidth(column, 300 + column);
        }
        window->onUpdateList();
        QCOMPARE(columnWidths(list), QList<int>({30, 301, 302, 303, 304, 305}));
    });
}

void RecordWindowsTest::menuBarLiesAboveTheListAndTakesNoRoom()
{
    eachKind([](auto kind) {
        const auto window = open(kind);
        ListView *list = kind.list(window.get());
        QVERIFY(showAndWait(window.get()));
        auto *bar = window->template findChild<QMenuBar *>();
        const int top = list->y();
        for (int width : {window->width(), 900, 650}) {
            window->resize(width, 720);
            QTRY_COMPARE(window->width(), width);
            QCOMPARE(bar->geometry(), QRect(0, 0, width, bar->sizeHint().height()));
            QVERIFY(bar->geometry().bottom() < list->geometry().top());
            QCOMPARE(list->y(), top);
        }
        QVERIFY(bar->isVisible());
        QVERIFY(!window->layout()->menuBar());
    });
}

void RecordWindowsTest::identifiersSortAsNumbersAndDatesAsTimes()
{
    eachKind([](auto kind) {
        auto old = kind.record(9);
        auto recent = kind.record(100);
        if constexpr (std::is_same_v<decltype(kind), EventsKind>) {
            old.EventTime = 86400 * 3;     // a Sunday
            recent.EventTime = 86400 * 40; // a Tuesday
        } else {
            old.CommandTime = 86400 * 3;
            recent.CommandTime = 86400 * 40;
            old.CommandType = 9;
            recent.CommandType = 10;
        }
        kind.source().answer = {recent, old};
        const auto window = open(kind);
        ListView *list = kind.list(window.get());
        QVERIFY(showAndWait(window.get()));
        for (int column : {2, 4}) {
            list->setSorting(0);
            list->scrollTo(list->model()->index(0, column));
            const int left = list->header()->sectionViewportPosition(column);
            QTest::mouseClick(list->header()->viewport(), Qt::LeftButton, {},
                              QPoint(left + list->columnWidth(column) / 2, 5));
            QCOMPARE(columnTexts(list, 2), QStringList({"9", "100"}));
        }
        if constexpr (std::is_same_v<decltype(kind), CommandsKind>) {
            list->setSorting(3);
            QCOMPARE(columnTexts(list, 3), QStringList({"9", "10"}));
        }
    });
}

void RecordWindowsTest::languageSwitchKeepsTheCaptionAndDoublesNothing()
{
    eachKind([](auto kind) {
        const auto window = open(kind);
        window->AutoUpdate->setCurrentIndex(2);
        const QStringList entries = entryTexts(window->Menu1);
        QEvent change(QEvent::LanguageChange);
        QApplication::sendEvent(window.get(), &change);
        QCOMPARE(window->windowTitle(), QStringLiteral("A list"));
        QCOMPARE(entryTexts(window->Menu1), entries);
        QCOMPARE(window->AutoUpdate->count(), 5);
        QCOMPARE(window->AutoUpdate->currentIndex(), 2);
        QCOMPARE(window->comboFrom_TimeAgo->count(), 7);
    });
}

void RecordWindowsTest::damagedRecordsAreShownAsFarAsTheyGo()
{
    eachKind([](auto kind) {
        using Record = typename decltype(kind)::Record;
        Record empty;
        Record unterminated = kind.record(2);
        unterminated.SensorID[2] = 'x';
        unterminated.LSensorID = 3; // "pux", no NUL
        Record parameters = kind.record(3);
        addParameter(parameters, "a", "b");
        parameters.par[0].LVal = 1;
        parameters.par[0].Val[0] = 'z'; // no NUL
        CMessageEventParam &name = parameters.par[0];
        CopyPtr(&name.Name, &name.LName, nullptr, 0);
        kind.source().answer = {empty, unterminated, parameters};
        const auto window = open(kind);
        ListView *list = kind.list(window.get());
        QCOMPARE(columnTexts(list, 1), QStringList({"", "pux", "pump"}));
        QCOMPARE(columnTexts(list, 5), QStringList({"", "", "(NULL)=z"}));
    });
}

static void writeBlocks(const QString &path, const char *block, int count)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    for (int i = 0; i < count; ++i)
        file.write(QString(block).arg(i).toLatin1());
}

void RecordWindowsTest::testDataShowsItsRows()
{
    eachKind([](auto kind) {
        unsetLibrary();
        const QTemporaryDir directory;
        const QString file = directory.filePath(kind.TestFile);
        writeBlocks(file, kind.TestBlock, 5);
        kind.initTestData(directory.path());
        const auto window = open(kind);
        ListView *list = kind.list(window.get());
        QCOMPARE(columnTexts(list, 1), QStringList({"pump0", "pump1", "pump2", "pump3", "pump4"}));
        QCOMPARE(columnTexts(list, 0), QStringList({"004", "003", "002", "001", "000"}));

        writeBlocks(file, kind.TestBlock, 7);
        window->onUpdateList();
        QCOMPARE(list->childCount(), 7);
        kind.getNew(window.get());
        QCOMPARE(list->childCount(), 14);
    });
}

void RecordWindowsTest::testDataIsFetchedOnceALoad()
{
    eachKind([](auto kind) {
        unsetLibrary();
        const QTemporaryDir directory;
        writeBlocks(directory.filePath(kind.TestFile), kind.TestBlock, 5);
        kind.initTestData(directory.path());
        const std::string load = kind.LoadTrace;
        std::string expected;
        for (int i = 0; i < kind.LoadsWhileBuilt; ++i)
            expected += load;
        const CapturedOutput output(stdout);
        const auto window = open(kind);
        QCOMPARE(output.text(), expected);
        window->onUpdateList();
        QCOMPARE(output.text(), expected + load);
        kind.getNew(window.get());
        QCOMPARE(output.text(), expected + load + load);
    });
}

void RecordWindowsTest::moreTestDataThanTheSourceHoldsIsNotOverrun()
{
    eachKind([](auto kind) {
        unsetLibrary();
        const QTemporaryDir directory;
        writeBlocks(directory.filePath(kind.TestFile), kind.TestBlock, 5000);
        kind.initTestData(directory.path());
        const auto window = open(kind);
        QCOMPARE(kind.list(window.get())->childCount(), kind.TestCapacity);
        QCOMPARE(window->AccSensorID, 4);
    });
}

void RecordWindowsTest::emptyTestDataShowsNothing()
{
    eachKind([](auto kind) {
        unsetLibrary();
        kind.initTestData("/nonexistent");
        const auto window = open(kind);
        QCOMPARE(kind.list(window.get())->childCount(), 0);
    });
}

/** The first row that is wholly in sight. */
static const QListViewItem *topRow(const ListView *list)
{
    return list->itemAt(list->indexAt(QPoint(5, 5)).row());
}

void RecordWindowsTest::nothingIsPaintedWhenNothingIsNew()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 200);
        QVERIFY(showAndWait(window.get()));
        QTRY_COMPARE(window->firstPaint, 0);
        ListView *list = kind.list(window.get());
        list->setCurrentIndex(list->model()->index(20, 0));
        kind.source().answer.clear();
        {
            PaintCounter anywhere(qApp);
            // What showing the window has still to paint comes first.
            QVERIFY(waitForActive(window.get()));
            do {
                anywhere.paints = 0;
                QCoreApplication::processEvents();
            } while (anywhere.paints > 0);
            for (int i = 0; i < 5; ++i) {
                kind.getNew(window.get());
                QCoreApplication::processEvents();
            }
            QCOMPARE(anywhere.paints, 0);
        }
        PaintCounter rows(list->viewport());
        kind.source().answer = kind.records(201, 1);
        kind.getNew(window.get());
        QTRY_VERIFY(rows.paints > 0);
    });
}

void RecordWindowsTest::newRowsLeavePlaceAndSelection()
{
    eachKind([](auto kind) {
        for (const bool first : {false, true}) {
            const auto window = openWith(kind, 1, 500);
            ListView *list = kind.list(window.get());
            if (first)
                chooseFirst(window.get());
            window->onUpdateList();
            QVERIFY(showAndWait(window.get()));
            QTRY_COMPARE(window->firstPaint, 0);
            list->setCurrentIndex(list->model()->index(120, 2));
            list->verticalScrollBar()->setValue(200);
            const QListViewItem *const top = topRow(list);
            const QListViewItem *const current = list->currentItem();
            kind.source().answer = kind.records(501, 40);
            kind.getNew(window.get());
            QCoreApplication::processEvents();
            QCOMPARE(list->childCount(), 540);
            QCOMPARE(topRow(list), top);
            QCOMPARE(list->currentItem(), static_cast<const QListViewItem *>(current));
            const QModelIndexList selected = list->selectionModel()->selectedRows();
            QCOMPARE(selected.size(), 1);
            QCOMPARE(static_cast<const QListViewItem *>(list->itemAt(selected.first().row())), current);
        }
    });
}

void RecordWindowsTest::newRowsAreFollowedWhereTheyLand()
{
    eachKind([](auto kind) {
        for (const bool first : {false, true}) {
            const auto window = openWith(kind, 1, 500);
            ListView *list = kind.list(window.get());
            if (first)
                chooseFirst(window.get());
            window->onUpdateList();
            QVERIFY(showAndWait(window.get()));
            QTRY_COMPARE(window->firstPaint, 0);
            QScrollBar *const bar = list->verticalScrollBar();
            bar->setValue(first ? bar->maximum() : 0);
            for (int fetch = 0; fetch < 3; ++fetch) {
                kind.source().answer = kind.records(501 + 40 * fetch, 40);
                kind.getNew(window.get());
                QCoreApplication::processEvents();
                QCOMPARE(list->childCount(), 540 + 40 * fetch);
                QCOMPARE(bar->value(), first ? bar->maximum() : 0);
            }
        }
    });
}

void RecordWindowsTest::pointerWaitsDuringALoadAndIsRestoredInABox()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        bool waits = false;
        kind.source().onFetch = [&waits] {
            waits = QApplication::overrideCursor() && QApplication::overrideCursor()->shape() == Qt::WaitCursor;
        };
        window->onUpdateList();
        QVERIFY(waits);
        QVERIFY(!QApplication::overrideCursor());

        kind.source().sizes = 1;
        bool usual = false;
        when([] { return openBox() != nullptr; },
             [&usual] {
                 usual = !QApplication::overrideCursor();
                 openBox()->accept();
             });
        window->onUpdateList();
        QVERIFY(usual);
        QVERIFY(!QApplication::overrideCursor());
    });
}

void RecordWindowsTest::longLoadIsPaintedAtOnce()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QVERIFY(showAndWait(window.get()));
        QTRY_COMPARE(window->firstPaint, 0);
        PaintCounter whole(window.get());
        PaintCounter rows(kind.list(window.get())->viewport());
        kind.source().onFetch = [] { setTime(StartTime + 1); };
        window->onUpdateList();
        QVERIFY(whole.paints > 0);
        QVERIFY(rows.paints > 0);
    });
}

void RecordWindowsTest::shortLoadIsPaintedInItsTime()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QVERIFY(showAndWait(window.get()));
        QTRY_COMPARE(window->firstPaint, 0);
        PaintCounter counter(kind.list(window.get())->viewport());
        window->onUpdateList();
        QCOMPARE(counter.paints, 0);
        QTRY_VERIFY(counter.paints > 0);
    });
}

QTEST_MAIN(RecordWindowsTest)
#include "recordwindowstest.moc"
