// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What the filter controls ask for, time presets and automatic updates. Every test runs for the windows of events and
// of commands.
#include "recordwindowtesting.h"

#include <QComboBox>
#include <QElapsedTimer>
#include <climits>

class RecordWindowFiltersTest : public RecordWindowTestBase
{
    Q_OBJECT

private slots:
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
};

void RecordWindowFiltersTest::requestCarriesTheControls()
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

void RecordWindowFiltersTest::maskIsPartOfTheRequest()
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

void RecordWindowFiltersTest::noWhichButtonCheckedAsksForMinusOneAndCountsAsFirst()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 2);
        window->BG_WhichGet->setButton(-1);
        window->onUpdateList();
        QCOMPARE(kind.source().requests.back().TakeFirst1_Last0, -1);
        QCOMPARE(columnTexts(kind.list(window.get()), 0), QStringList({"000", "001"}));
    });
}

void RecordWindowFiltersTest::numberThatIsNoneAsksForZero()
{
    eachKind([](auto kind) {
        const auto window = open(kind);
        window->NMax->setText("many");
        window->onUpdateList();
        QCOMPARE(kind.source().requests.back().NMax, 0);
    });
}

void RecordWindowFiltersTest::timePresetFillsTheEditAndTicksTheBox_data()
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

void RecordWindowFiltersTest::timePresetFillsTheEditAndTicksTheBox()
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

void RecordWindowFiltersTest::oneMonthBefore31MarchIsTheLastOfFebruary()
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

void RecordWindowFiltersTest::choosingTheSamePresetAgainTakesTheNewTime()
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

void RecordWindowFiltersTest::autoUpdateIntervals()
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

void RecordWindowFiltersTest::noAutoUpdateStopsTheTimer()
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

void RecordWindowFiltersTest::selectingTheSameIntervalTwiceRestartsIt()
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

void RecordWindowFiltersTest::tickFetchesOnlyWhatIsNew()
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

void RecordWindowFiltersTest::returnKeyReloadsNothing()
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

QTEST_MAIN(RecordWindowFiltersTest)
#include "recordwindowfilterstest.moc"
