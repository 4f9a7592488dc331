// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Where list windows open, and what the mouse wheel does to their controls. The test runs on the
// usual screen and on one that is lower than the windows.
#include "recordkinds.h"
#include "windowtestbase.h"

#include <QComboBox>
#include <QDateTimeEdit>
#include <QGroupBox>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QWheelEvent>

class WindowPlaceTest : public WindowTestBase
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void aFurtherWindowOpensBesideTheOneBefore();
    void manyWindowsLieWhollyOnTheScreen();
    void afterTheLastOneWasClosedTheNextTakesItsPlace();
    void everyControlCanBeReached();
    void theWheelChangesControlsWithTheFocusOnly();

private:
    template <class Window> Window *open(QWidget *parent)
    {
        auto *window = openListWindow<Window>(parent, "a list", nullptr);
        return QTest::qWaitForWindowExposed(window) ? window : nullptr;
    }
    std::unique_ptr<QWidget> m_panel;
};

void WindowPlaceTest::init()
{
    WindowTestBase::init();
    m_panel = std::make_unique<QWidget>();
    m_panel->resize(200, 100);
    QVERIFY(showAndWait(m_panel.get()));
}

void WindowPlaceTest::cleanup()
{
    m_panel.reset();
    WindowTestBase::cleanup();
}

static QRect screenArea()
{
    return QGuiApplication::primaryScreen()->availableGeometry();
}

void WindowPlaceTest::aFurtherWindowOpensBesideTheOneBefore()
{
    const auto *first = open<CWD_EventsList>(m_panel.get());
    QVERIFY(screenArea().contains(first->frameGeometry()));
    const auto *other = open<CWD_CommandsList>(m_panel.get());
    QVERIFY(screenArea().contains(other->frameGeometry()));
    const auto *second = open<CWD_EventsList>(m_panel.get());
    QVERIFY(second->pos() != first->pos());
    QVERIFY(screenArea().contains(second->frameGeometry()));
    // Whatever it opens over: here a list of the same kind, in which it would otherwise be centred.
    const auto *third = open<CWD_EventsList>(open<CWD_CommandsList>(m_panel.get()));
    QVERIFY(third->pos() != second->pos() && third->pos() != first->pos());
}

void WindowPlaceTest::manyWindowsLieWhollyOnTheScreen()
{
    QPoint before(-1, -1);
    for (int i = 0; i < 30; ++i) {
        const auto *window = open<CWD_EventsList>(m_panel.get());
        QVERIFY(window);
        QVERIFY2(screenArea().contains(window->frameGeometry()), qPrintable(QString::number(i)));
        QVERIFY(window->pos() != before);
        before = window->pos();
    }
}

void WindowPlaceTest::afterTheLastOneWasClosedTheNextTakesItsPlace()
{
    open<CWD_EventsList>(m_panel.get());
    auto *second = open<CWD_EventsList>(m_panel.get());
    const QPoint place = second->pos();
    QVERIFY(closeAndWait(second));
    QCOMPARE(open<CWD_EventsList>(m_panel.get())->pos(), place);
}

template <class Window> static void reachEveryControl(const Window *window)
{
    for (QWidget *control : window->GB0->template findChildren<QWidget *>()) {
        if (control->focusPolicy() == Qt::NoFocus || !control->isVisible())
            continue;
        // As the Tab key does.
        if (auto *area = window->template findChild<QScrollArea *>(); area && area->isAncestorOf(control))
            area->ensureWidgetVisible(control);
        const QRect shown = control->visibleRegion().boundingRect();
        QVERIFY2(shown == control->rect(), qPrintable(control->objectName()));
    }
}

void WindowPlaceTest::everyControlCanBeReached()
{
    reachEveryControl(open<CWD_EventsList>(m_panel.get()));
    reachEveryControl(open<CWD_CommandsList>(m_panel.get()));
}

/** Turns the wheel by one notch over the middle of a control: what ignores that leaves it to what it lies in. */
static void turnWheel(QWidget *control)
{
    const QPointF place = control->mapToGlobal(control->rect().center());
    QWidget *under = control->childAt(control->rect().center());
    for (QWidget *widget = under ? under : control; widget; widget = widget->parentWidget()) {
        QWheelEvent turn(widget->mapFromGlobal(place.toPoint()), place, {}, {0, -120}, Qt::NoButton, Qt::NoModifier,
                         Qt::NoScrollPhase, false);
        QApplication::sendEvent(widget, &turn);
        if (turn.isAccepted())
            return;
    }
}

void WindowPlaceTest::theWheelChangesControlsWithTheFocusOnly()
{
    auto *window = open<CWD_EventsList>(m_panel.get());
    window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window));
    window->NMax->setFocus();
    const QDateTime from = window->timeFrom->dateTime();
    for (QWidget *control : QList<QWidget *>{window->timeFrom, window->comboFrom_TimeAgo, window->AutoUpdate}) {
        turnWheel(control);
        QCOMPARE(control->focusPolicy(), Qt::StrongFocus); // the toolkit gives no focus for a wheel then
    }
    QCOMPARE(window->timeFrom->dateTime(), from);
    QVERIFY(!window->timeFromUsed->isChecked());
    QCOMPARE(window->AutoUpdate->currentIndex(), 0);
    QVERIFY(!window->timer);

    window->AutoUpdate->setFocus();
    turnWheel(window->AutoUpdate);
    QCOMPARE(window->AutoUpdate->currentIndex(), 1);
    QVERIFY(window->timer);
    window->timeFrom->setFocus(Qt::TabFocusReason);
    turnWheel(window->timeFrom);
    QVERIFY(window->timeFrom->dateTime() != from);
}

QTEST_MAIN(WindowPlaceTest)
#include "windowplacetest.moc"
