// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What only the window of events does.
#include "cwd_eventslist.h"
#include "windowtestbase.h"

class EventsWindowTest : public WindowTestBase
{
    Q_OBJECT

private slots:
    void slotsStandInTheirOrder();
    void maskAffectsTheSecondLoadAndNeverTheFirst();
    void firstLoadSeesTheFormsInitialControls();
    void failedSecondLoadLeavesNothingOfTheFirst();
    void onlyTheLowerTimePresetIsTraced();
    void reloadWithoutEventsBringsTheDigitsBackToThree();
    void withoutACheckedTypeThereIsNoTypeFilter();
    void typeGoesIntoTheMessageType();
    void nameIsShownAndSortedAsText();
    void sizingTheColumnsPaintsTheWindowAtOnce();
    void slotForARowNumberDoesNothing();
    void createMakesANativeWindow();
    void firstSize();
    void opensOverItsParent();
};

void EventsWindowTest::slotsStandInTheirOrder()
{
    QCOMPARE(ownSlots(CWD_EventsList::staticMetaObject),
             QStringList({"onUpdateList()", "onGetNewEvents()", "onSetTimeFrom(int)", "onSetTimeTo(int)",
                          "setAutoUpdate(int)", "onDeleteItem()", "onRBList(int)",
                          "onRBList(QListViewItem*,QPoint,int)", "FSetVisibilityC0()", "FSetVisibilityC1()",
                          "FSetVisibilityC2()", "FSetVisibilityC3()", "FSetVisibilityC4()", "FSetVisibilityC5()"}));
}

void EventsWindowTest::maskAffectsTheSecondLoadAndNeverTheFirst()
{
    CWD_EventsList window(nullptr, "Events list for pump", "pump");
    QCOMPARE(m_library->events.fetches(), 2);
    QVERIFY(!m_library->events.requests[0].SensorID);
    QCOMPARE(m_library->events.requests[0].UseSensorID, 0);
    QCOMPARE(m_library->events.requests[1].SensorID, "pump");
    QCOMPARE(m_library->events.requests[1].UseSensorID, 1);
}

void EventsWindowTest::firstLoadSeesTheFormsInitialControls()
{
    CWD_EventsList window(nullptr, "Events list", nullptr);
    const CMessageEventRequest &first = m_library->events.requests[0];
    QCOMPARE(first.NMax, 100);
    QCOMPARE(first.TakeFirst1_Last0, -1);
    QCOMPARE(first.MessageType, -1);
    QCOMPARE(first.UseMessageType, 0);
    QCOMPARE(first.UseEventTime0, 0);
    QCOMPARE(first.UseEventTime1, 0);
    const CMessageEventRequest &second = m_library->events.requests[1];
    QCOMPARE(second.NMax, 100);
    QCOMPARE(second.TakeFirst1_Last0, 0);
    QCOMPARE(second.MessageType, 0);
    QCOMPARE(second.UseMessageType, 0);
    QCOMPARE(second.EventTime0, StartTime - 3600);
    QCOMPARE(second.UseEventTime0, 0);
    QCOMPARE(second.EventTime1, StartTime);
    QCOMPARE(second.UseEventTime1, 0);
    QCOMPARE(second.UseMessageID0, 0);
    QCOMPARE(second.UseMessageID1, 0);
}

void EventsWindowTest::failedSecondLoadLeavesNothingOfTheFirst()
{
    m_library->events.answer = events(1, 2000);
    m_library->events.onFetch = [this] { m_library->events.result = m_library->events.fetches() == 1 ? 0 : -1; };
    const CWD_EventsList window(nullptr, "Events list", nullptr);
    QCOMPARE(m_library->events.fetches(), 2);
    QCOMPARE(window.listMessages->childCount(), 0);
    QCOMPARE(window.AccSensorID, 3);
    QCOMPARE(window.IDFirst, 0);
    QCOMPARE(window.IDLast, 0);
    QCOMPARE(window.iLast, 0);
}

void EventsWindowTest::onlyTheLowerTimePresetIsTraced()
{
    CWD_EventsList window(nullptr, "Events list", nullptr);
    QCOMPARE(MessageWatch::traces(), QStringList({"CWD_EventsList::onSetTimeFrom:i=2"}));
    window.onSetTimeTo(3);
    window.onSetTimeFrom(6);
    QCOMPARE(MessageWatch::traces(),
             QStringList({"CWD_EventsList::onSetTimeFrom:i=2", "CWD_EventsList::onSetTimeFrom:i=6"}));
}

void EventsWindowTest::reloadWithoutEventsBringsTheDigitsBackToThree()
{
    m_library->events.answer = events(1, 2000);
    CWD_EventsList window(nullptr, "Events list", nullptr);
    QCOMPARE(window.AccSensorID, 4);
    m_library->events.answer.clear();
    window.onUpdateList();
    QCOMPARE(window.AccSensorID, 3);
    QCOMPARE(window.iLast, 0);
    m_library->events.answer = events(2001, 2);
    window.onGetNewEvents();
    QCOMPARE(columnTexts(window.listMessages, 0), QStringList({"002", "001"}));
}

void EventsWindowTest::withoutACheckedTypeThereIsNoTypeFilter()
{
    CWD_EventsList window(nullptr, "Events list", nullptr);
    window.BG_Type->setButton(-1);
    window.onUpdateList();
    QCOMPARE(m_library->events.requests.back().MessageType, -1);
    QCOMPARE(m_library->events.requests.back().UseMessageType, 0);
}

void EventsWindowTest::typeGoesIntoTheMessageType()
{
    CWD_EventsList window(nullptr, "Events list", nullptr);
    QTest::mouseClick(window.rbType_Receivers, Qt::LeftButton);
    window.onUpdateList();
    QCOMPARE(m_library->events.requests.back().MessageType, 3);
    QCOMPARE(m_library->events.requests.back().UseMessageType, 1);
    QCOMPARE(m_library->events.requests.back().SensorType, 0);
    QCOMPARE(m_library->events.requests.back().UseSensorType, 0);
    QCOMPARE(m_library->events.requests.back().UseEventName, 0);
}

void EventsWindowTest::nameIsShownAndSortedAsText()
{
    m_library->events.answer = {::event(1, "b", "10"), ::event(2, "a", "9"), ::event(3, "c", "1")};
    CWD_EventsList window(nullptr, "Events list", nullptr);
    window.listMessages->setSorting(3);
    QCOMPARE(columnTexts(window.listMessages, 3), QStringList({"1", "10", "9"}));
    window.listMessages->setSorting(1);
    QCOMPARE(columnTexts(window.listMessages, 1), QStringList({"a", "b", "c"}));
}

void EventsWindowTest::sizingTheColumnsPaintsTheWindowAtOnce()
{
    m_library->events.answer = events(1, 3);
    CWD_EventsList window(nullptr, "Events list", nullptr);
    QVERIFY(showAndWait(&window));
    QTRY_COMPARE(window.firstPaint, 0);
    PaintCounter counter(&window);
    window.SetColumnsVisibiliy(1, -1);
    QVERIFY(counter.paints > 0);
}

void EventsWindowTest::slotForARowNumberDoesNothing()
{
    m_library->events.answer = events(1, 3);
    CWD_EventsList window(nullptr, "Events list", nullptr);
    window.itemSelected = window.listMessages->itemAt(0);
    window.onRBList(1);
    QCOMPARE(window.itemSelected, window.listMessages->itemAt(0));
    QVERIFY(!openMenu());
}

void EventsWindowTest::createMakesANativeWindow()
{
    CWD_EventsList window(nullptr, "Events list", nullptr);
    QVERIFY(!window.internalWinId());
    window.create(0, true, true);
    QVERIFY(window.internalWinId());
}

void EventsWindowTest::firstSize()
{
    CWD_EventsList window(nullptr, "Events list", nullptr);
    QVERIFY(showAndWait(&window));
    QVERIFY(window.width() >= 543);
    QVERIFY(window.height() >= 655);
    QVERIFY(window.minimumSizeHint().width() > 543 || window.width() == 543);
    QVERIFY(window.minimumSizeHint().height() > 655 || window.height() == 655);
}

void EventsWindowTest::opensOverItsParent()
{
    QWidget parent;
    parent.setGeometry(300, 250, 300, 200);
    QVERIFY(showAndWait(&parent));
    CWD_EventsList window(&parent, "Events list", nullptr);
    QVERIFY(showAndWait(&window));
    // In the corner lie windows that were placed by hand, at no place.
    QVERIFY(window.x() > 0);
    QVERIFY(window.geometry().intersects(parent.geometry()));
}

QTEST_MAIN(EventsWindowTest)
#include "eventswindowtest.moc"
