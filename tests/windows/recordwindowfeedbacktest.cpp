// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What shows that a load runs. Every test runs for the windows of events and of commands.
#include "loadguard.h"
#include "recordwindowtesting.h"

#include <KLocalizedString>
#include <new>

class RecordWindowFeedbackTest : public RecordWindowTestBase
{
    Q_OBJECT

private slots:
    void pointerWaitsWhileAWindowLoadsForTheFirstTime();
    void pointerStaysDuringShortLoads();
    void pointerWaitsFromTheStartAfterALongLoad();
    void pointerWaitsFromTheStartOfALoadOfManyMore();
    void newRecordsWaitOnlyAfterALongLoadOfNewOnes();
    void pointerIsUsualInABox();
    void listTellsFromTheStartThatTheDatabaseIsWaitedFor();
    void listTellsHowManyRowsAreMade();
    void rowsOfAShortLoadAreNotToldOf();
    void shortMemoryLeavesNothingThatWaits();
    void longLoadIsPaintedAtOnce();
    void shortLoadIsPaintedInItsTime();
};

namespace
{

bool pointerWaits()
{
    return QApplication::overrideCursor() && QApplication::overrideCursor()->shape() == Qt::WaitCursor;
}

/** Whether the pointer waits in each fetch. */
template <class Kind> void watchPointer(Kind kind, std::vector<bool> &waits, int milliseconds = 0)
{
    kind.source().onFetch = [&waits, milliseconds] {
        waits.push_back(pointerWaits());
        WindowTestBase::passMilliseconds(milliseconds);
    };
}

/** What a list tells one after the other, as it is painted. */
class Notices : public QObject
{
public:
    explicit Notices(const ListView *list)
        : m_list(list)
    {
        list->viewport()->installEventFilter(this);
    }

    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && (painted.isEmpty() || painted.last() != m_list->notice()))
            painted << m_list->notice();
        return false;
    }

    QStringList painted;

private:
    const ListView *m_list;
};

/** A window that has been painted, so that only its loads paint from now on. */
template <class Kind> auto openPainted(Kind kind, int from, int count)
{
    auto window = openWith(kind, from, count);
    if (!showAndWait(window.get()) || !waitForActive(window.get()))
        window.reset();
    QCoreApplication::processEvents();
    return window;
}

int looks = 0; ///< at the clock, since stepWithEachLook()
int lookThatThrows = -1;

/** From now on each look at the clock takes a tenth of a second: the first is a load's start, the last its end. */
void stepWithEachLook()
{
    looks = 0;
    lookThatThrows = -1;
    setLoadClock([] {
        if (looks == lookThatThrows) {
            lookThatThrows = -1;
            throw std::bad_alloc();
        }
        return 100 * looks++;
    });
}

} // namespace

void RecordWindowFeedbackTest::pointerWaitsWhileAWindowLoadsForTheFirstTime()
{
    eachKind([](auto kind) {
        std::vector<bool> waits;
        watchPointer(kind, waits);
        const auto window = openWith(kind, 1, 3);
        QVERIFY(!waits.empty());
        QVERIFY(waits.front());
        QCOMPARE(std::count(waits.begin(), waits.end(), true), std::ptrdiff_t(1));
        QVERIFY(!QApplication::overrideCursor());
    });
}

void RecordWindowFeedbackTest::pointerStaysDuringShortLoads()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        std::vector<bool> waits;
        watchPointer(kind, waits, LongLoad - 1);
        window->onUpdateList();
        window->onUpdateList();
        kind.getNew(window.get());
        kind.getNew(window.get());
        QCOMPARE(waits, std::vector<bool>(4, false));
    });
}

void RecordWindowFeedbackTest::pointerWaitsFromTheStartAfterALongLoad()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        std::vector<bool> waits;
        watchPointer(kind, waits, LongLoad);
        window->onUpdateList();
        window->onUpdateList();
        watchPointer(kind, waits);
        window->onUpdateList();
        window->onUpdateList();
        QCOMPARE(waits, std::vector<bool>({false, true, true, false}));
        QVERIFY(!QApplication::overrideCursor());
    });
}

void RecordWindowFeedbackTest::pointerWaitsFromTheStartOfALoadOfManyMore()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        std::vector<bool> waits;
        watchPointer(kind, waits);
        window->NMax->setText(QStringLiteral("1000000"));
        window->onUpdateList();
        window->onUpdateList();
        QCOMPARE(waits, std::vector<bool>({true, false}));
    });
}

void RecordWindowFeedbackTest::newRecordsWaitOnlyAfterALongLoadOfNewOnes()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        std::vector<bool> waits;
        watchPointer(kind, waits, LongLoad);
        window->NMax->setText(QStringLiteral("1000000"));
        window->onUpdateList();
        waits.clear();
        kind.getNew(window.get());
        kind.getNew(window.get());
        QCOMPARE(waits, std::vector<bool>({false, true}));
    });
}

/** Whether the pointer is the usual one in the box that an action shows, and after it. */
template <class Action> static bool pointerIsUsualInBoxOf(Action action)
{
    bool usual = false;
    when([] { return openBox() != nullptr; },
         [&usual] {
             usual = !QApplication::overrideCursor();
             openBox()->accept();
         });
    action();
    return usual && !QApplication::overrideCursor();
}

void RecordWindowFeedbackTest::pointerIsUsualInABox()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        kind.source().onFetch = [] { passMilliseconds(LongLoad); };
        window->onUpdateList();
        kind.source().sizes = 1;
        QVERIFY(pointerIsUsualInBoxOf([&] { window->onUpdateList(); }));
    });
}

void RecordWindowFeedbackTest::listTellsFromTheStartThatTheDatabaseIsWaitedFor()
{
    eachKind([](auto kind) {
        const auto window = openPainted(kind, 1, 3);
        QVERIFY(window);
        kind.source().onFetch = [] { passMilliseconds(LongLoad); };
        window->onUpdateList();
        Notices notices(kind.list(window.get()));
        QStringList seen;
        kind.source().onFetch = [&] { seen = notices.painted; };
        window->onUpdateList();
        QCOMPARE(seen, QStringList("Waiting for the database"));
        QCOMPARE(kind.list(window.get())->notice(), QString());
        QTRY_VERIFY(notices.painted.size() > 1);
        QCOMPARE(notices.painted.last(), QString());
    });
}

void RecordWindowFeedbackTest::listTellsHowManyRowsAreMade()
{
    eachKind([](auto kind) {
        const auto window = openPainted(kind, 1, 3);
        QVERIFY(window);
        kind.source().answer = kind.records(1, 25000);
        Notices notices(kind.list(window.get()));
        stepWithEachLook();
        bool waits = false;
        kind.source().onRelease = [&waits] { waits = pointerWaits(); };
        window->onUpdateList();
        QVERIFY(waits);
        QStringList expected;
        for (const int rows : {12288, 16384, 20480, 24576})
            expected << i18n("Row %1 of %2", rows, 25000);
        QCOMPARE(notices.painted, expected << QString());
        QCOMPARE(kind.list(window.get())->childCount(), 25000);
        QVERIFY(!QApplication::overrideCursor());
    });
}

void RecordWindowFeedbackTest::rowsOfAShortLoadAreNotToldOf()
{
    eachKind([](auto kind) {
        const auto window = openPainted(kind, 1, 3);
        QVERIFY(window);
        kind.source().answer = kind.records(1, 25000);
        Notices notices(kind.list(window.get()));
        kind.source().onFetch = [] { passMilliseconds(LongLoad - 1); };
        window->onUpdateList();
        QCOMPARE(notices.painted, QStringList());
        QTRY_COMPARE(notices.painted.value(0, "none"), QString());
    });
}

void RecordWindowFeedbackTest::shortMemoryLeavesNothingThatWaits()
{
    eachKind([](auto kind) {
        const auto window = openPainted(kind, 1, 3);
        QVERIFY(window);
        kind.source().answer = kind.records(1, 25000);
        stepWithEachLook();
        lookThatThrows = 5;
        QVERIFY(pointerIsUsualInBoxOf([&] { window->onUpdateList(); }));
        QCOMPARE(kind.list(window.get())->notice(), QString());
        QCOMPARE(kind.list(window.get())->childCount(), 0);
        window->onUpdateList();
        QCOMPARE(kind.list(window.get())->childCount(), 25000);
    });
}

void RecordWindowFeedbackTest::longLoadIsPaintedAtOnce()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QVERIFY(showAndWait(window.get()));
        QTRY_COMPARE(window->firstPaint, 0);
        PaintCounter whole(window.get());
        PaintCounter rows(kind.list(window.get())->viewport());
        kind.source().onFetch = [] { passMilliseconds(LongLoad); };
        window->onUpdateList();
        QVERIFY(whole.paints > 0);
        QVERIFY(rows.paints > 0);
    });
}

void RecordWindowFeedbackTest::shortLoadIsPaintedInItsTime()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QVERIFY(showAndWait(window.get()));
        QTRY_COMPARE(window->firstPaint, 0);
        PaintCounter counter(kind.list(window.get())->viewport());
        kind.source().onFetch = [] { passMilliseconds(LongLoad - 1); };
        window->onUpdateList();
        QCOMPARE(counter.paints, 0);
        QTRY_VERIFY(counter.paints > 0);
    });
}

QTEST_MAIN(RecordWindowFeedbackTest)
#include "recordwindowfeedbacktest.moc"
