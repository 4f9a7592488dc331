// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// How list windows end, and what may happen while a box or a menu of theirs
// is open. Every test runs for all three windows, as far as it applies.
#include "cwd_sensorslist.h"
#include "recordkinds.h"
#include "windowtestbase.h"

#include <QContextMenuEvent>
#include <QMenuBar>
#include <QSignalSpy>
#include <random>

/** What a test needs to know to drive the window of sensors. */
struct SensorsKind {
    using Window = CWD_SensorsList;

    static auto &source()
    {
        return FakeLibrary::current->sensors;
    }
    static ListView *list(const Window *window)
    {
        return window->SensorsList;
    }
};

static CWD_EventsList *make(EventsKind, QWidget *parent)
{
    return openListWindow<CWD_EventsList>(parent, "Events list", nullptr);
}
static CWD_CommandsList *make(CommandsKind, QWidget *parent)
{
    return openListWindow<CWD_CommandsList>(parent, "Commands list", nullptr);
}
static CWD_SensorsList *make(SensorsKind, QWidget *parent)
{
    return openListWindow<CWD_SensorsList>(parent, "Sensors list");
}

static void reload(CWD_EventsList *window)
{
    window->onUpdateList();
}
static void reload(CWD_CommandsList *window)
{
    window->onUpdateList();
}
static void reload(CWD_SensorsList *window)
{
    window->FUpdateData();
}

class WindowLifeTest : public WindowTestBase
{
    Q_OBJECT

private slots:
    void initTestCase_data();
    void init();

    void closedByItsButton();
    void closedByEscape();
    void goesWithItsParent();
    void closedWindowNeitherTicksNorShows();
    void closedUnderItsContextMenu();
    void closedByEscapeUnderItsContextMenu();
    void parentGoesUnderTheContextMenu();
    void parentGoesUnderTheMenuOfTheMenuKey();
    void closedUnderTheQuestion();
    void parentGoesUnderTheQuestion();
    void parentGoesUnderTheQuestionOfTheContextMenu();
    void closedUnderABox();
    void parentGoesUnderABox();
    void parentGoesUnderABoxOfAButton();
    void parentGoesUnderABoxOfATick();
    void parentGoesUnderABoxOfTheMenuBar();
    void parentGoesUnderABoxOfTheFirstLoad();
    void closedUnderABoxOfTheFirstLoad();
    void parentGoesUnderABoxOfASensorsList();
    void parentGoesWhileTheLibraryFetches();
    void parentGoesWhileTheLibraryTakesItsArrayBack();
    void ticksUnderABoxOpenNoSecondOne();
    void twoSecondTicksUnderABoxOpenNoSecondOne();
    void buttonsAndSlotsUnderABoxDoNothing();
    void loadsGoOnAfterABox();
    void manyWindowsInRandomOrder();

private:
    template <class Body> void eachKind(Body body)
    {
        QFETCH_GLOBAL(QString, kind);
        if (kind == "events")
            body(EventsKind());
        else if (kind == "commands")
            body(CommandsKind());
        else
            body(SensorsKind());
    }
    template <class Body> void eachRecordKind(Body body)
    {
        QFETCH_GLOBAL(QString, kind);
        if (kind == "events")
            body(EventsKind());
        else if (kind == "commands")
            body(CommandsKind());
        else
            QSKIP("has no such thing");
    }
};

void WindowLifeTest::initTestCase_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"events", "commands", "sensors"})
        QTest::newRow(kind) << QString(kind);
}

void WindowLifeTest::init()
{
    WindowTestBase::init();
    m_library->events.answer = events(1, 5);
    m_library->commands.answer = commands(1, 5);
    m_library->sensors.answer = {sensor("fan"), sensor("pump"), sensor("valve")};
}

static bool gone(const QPointer<QWidget> &window)
{
    return waitFor([&window] { return !window; });
}

/** As soon as a box is open. */
static void onBox(const std::function<void()> &act)
{
    when([] { return openBox() != nullptr; }, act);
}

void WindowLifeTest::closedByItsButton()
{
    eachKind([](auto kind) {
        QWidget parent;
        auto *window = make(kind, &parent);
        QVERIFY(waitForExposed(window));
        QVERIFY(closeAndWait(window));
        QVERIFY(parent.findChildren<QWidget *>().isEmpty());
    });
}

void WindowLifeTest::closedByEscape()
{
    eachKind([](auto kind) {
        QWidget parent;
        const QPointer<QWidget> window = make(kind, &parent);
        QVERIFY(waitForExposed(window));
        QTest::keyClick(window.data(), Qt::Key_Escape);
        QVERIFY(!window || !window->isVisible());
        QVERIFY(gone(window));
    });
}

void WindowLifeTest::goesWithItsParent()
{
    eachKind([](auto kind) {
        auto parent = std::make_unique<QWidget>();
        const QPointer<QWidget> window = make(kind, parent.get());
        QVERIFY(window->isWindow());
        parent.reset();
        QVERIFY(!window);
    });
}

void WindowLifeTest::closedWindowNeitherTicksNorShows()
{
    eachRecordKind([](auto kind) {
        QWidget parent;
        auto *window = make(kind, &parent);
        const QPointer<QWidget> alive(window);
        window->setAutoUpdate(1);
        window->close();
        QVERIFY(!window->timer);
        QVERIFY(!window->isVisible());
        QVERIFY(gone(alive));
    });
}

void WindowLifeTest::closedUnderItsContextMenu()
{
    eachKind([](auto kind) {
        QWidget parent;
        auto *window = make(kind, &parent);
        const QPointer<QWidget> alive(window);
        QVERIFY(waitForExposed(window));
        onMenu([window](QMenu *) { window->close(); });
        rightClick(kind.list(window), 0);
        QVERIFY(gone(alive));
        QVERIFY(!openMenu());
    });
}

void WindowLifeTest::closedByEscapeUnderItsContextMenu()
{
    eachKind([](auto kind) {
        QWidget parent;
        auto *window = make(kind, &parent);
        const QPointer<QWidget> alive(window);
        QVERIFY(waitForExposed(window));
        onMenu([window](QMenu *menu) {
            QTest::keyClick(menu, Qt::Key_Escape);
            QTest::keyClick(window, Qt::Key_Escape);
        });
        rightClick(kind.list(window), 0);
        QVERIFY(gone(alive));
    });
}

void WindowLifeTest::parentGoesUnderTheContextMenu()
{
    eachKind([](auto kind) {
        QPointer<QWidget> parent = new QWidget;
        auto *window = make(kind, parent);
        QVERIFY(waitForExposed(window));
        onMenu([&parent](QMenu *) { delete parent; });
        rightClick(kind.list(window), 0);
        QVERIFY(!parent);
        QVERIFY(!openMenu());
    });
}

void WindowLifeTest::parentGoesUnderTheMenuOfTheMenuKey()
{
    eachKind([](auto kind) {
        for (bool byRequest : {false, true}) {
            QPointer<QWidget> parent = new QWidget;
            auto *window = make(kind, parent);
            QVERIFY(waitForExposed(window));
            onMenu([&parent](QMenu *) { delete parent; });
            if (byRequest) {
                ListView *list = kind.list(window);
                QContextMenuEvent request(QContextMenuEvent::Keyboard, {5, 5}, list->mapToGlobal(QPoint(5, 5)));
                QApplication::sendEvent(list, &request);
            } else {
                QTest::keyClick(kind.list(window), Qt::Key_Menu);
            }
            QVERIFY(!parent);
        }
    });
}

void WindowLifeTest::closedUnderTheQuestion()
{
    eachRecordKind([](auto kind) {
        QWidget parent;
        auto *window = make(kind, &parent);
        const QPointer<QWidget> alive(window);
        window->itemSelected = kind.list(window)->firstChild();
        onBox([window] { window->close(); });
        window->onDeleteItem();
        QVERIFY(gone(alive));
        QVERIFY(!openBox());
        QVERIFY(kind.source().deleted.empty());
    });
}

void WindowLifeTest::parentGoesUnderTheQuestion()
{
    eachRecordKind([](auto kind) {
        QPointer<QWidget> parent = new QWidget;
        auto *window = make(kind, parent);
        window->itemSelected = kind.list(window)->firstChild();
        onBox([&parent] { delete parent; });
        window->onDeleteItem();
        QVERIFY(!parent);
        QVERIFY(!openBox());
        QVERIFY(kind.source().deleted.empty());
    });
}

void WindowLifeTest::parentGoesUnderTheQuestionOfTheContextMenu()
{
    eachRecordKind([](auto kind) {
        QPointer<QWidget> parent = new QWidget;
        auto *window = make(kind, parent);
        QVERIFY(waitForExposed(window));
        chooseFromMenu(kind.DeleteEntry);
        onBox([&parent] { delete parent; });
        rightClick(kind.list(window), 0);
        QVERIFY(!parent);
        QVERIFY(kind.source().deleted.empty());
    });
}

void WindowLifeTest::closedUnderABox()
{
    eachKind([](auto kind) {
        QWidget parent;
        auto *window = make(kind, &parent);
        const QPointer<QWidget> alive(window);
        kind.source().sizes = 1;
        onBox([window] { window->close(); });
        reload(window);
        QVERIFY(gone(alive));
        QVERIFY(!openBox());
    });
}

void WindowLifeTest::parentGoesUnderABox()
{
    eachKind([](auto kind) {
        QPointer<QWidget> parent = new QWidget;
        auto *window = make(kind, parent);
        kind.source().sizes = 1;
        onBox([&parent] { delete parent; });
        reload(window);
        QVERIFY(!parent);
        QVERIFY(!openBox());
    });
}

void WindowLifeTest::parentGoesUnderABoxOfAButton()
{
    eachRecordKind([](auto kind) {
        for (bool all : {true, false}) {
            QPointer<QWidget> parent = new QWidget;
            auto *window = make(kind, parent);
            kind.source().sizes = 1;
            onBox([&parent] { delete parent; });
            QTest::mouseClick(all ? window->BUpdateList : window->pushButton2, Qt::LeftButton);
            QVERIFY(!parent);
            kind.source().sizes = std::is_same_v<decltype(kind), EventsKind> ? EventSizes : CommandSizes;
        }
    });
}

void WindowLifeTest::parentGoesUnderABoxOfATick()
{
    eachRecordKind([](auto kind) {
        QPointer<QWidget> parent = new QWidget;
        auto *window = make(kind, parent);
        kind.source().sizes = 1;
        window->setAutoUpdate(1);
        window->timer->setInterval(1);
        onBox([&parent] { delete parent; });
        QTRY_VERIFY(!parent);
        QVERIFY(!openBox());
    });
}

void WindowLifeTest::parentGoesUnderABoxOfTheMenuBar()
{
    QFETCH_GLOBAL(QString, kind);
    if (kind != "sensors")
        QSKIP("has no such menu");
    QPointer<QWidget> parent = new QWidget;
    auto *window = make(SensorsKind(), parent);
    QVERIFY(waitForExposed(window));
    m_library->sensors.sizes = 1;
    auto *bar = window->findChild<QMenuBar *>();
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(bar->actions().first()).center());
    QTRY_VERIFY(window->Menu0->isVisible());
    onBox([&parent] { delete parent; });
    clickEntry(window->Menu0, "Update data");
    QTRY_VERIFY(!parent);
}

void WindowLifeTest::parentGoesUnderABoxOfTheFirstLoad()
{
    eachKind([](auto kind) {
        QPointer<QWidget> parent = new QWidget;
        kind.source().sizes = 1;
        onBox([&parent] { delete parent; });
        QVERIFY(!make(kind, parent));
        QVERIFY(!parent);
        QVERIFY(!openBox());
    });
}

void WindowLifeTest::closedUnderABoxOfTheFirstLoad()
{
    eachKind([](auto kind) {
        QWidget parent;
        kind.source().sizes = 1;
        onBox([] {
            openBox()->parentWidget()->setVisible(true);
            openBox()->parentWidget()->close();
            openBox()->accept();
            if (std::is_same_v<decltype(kind), EventsKind>)
                answerBox(QMessageBox::Ok); // of the second load
        });
        const QPointer<QWidget> window = make(kind, &parent);
        QVERIFY(window);
        QVERIFY(gone(window));
    });
}

void WindowLifeTest::parentGoesUnderABoxOfASensorsList()
{
    QFETCH_GLOBAL(QString, kind);
    if (kind != "sensors")
        QSKIP("opens no lists");
    QPointer<QWidget> parent = new QWidget;
    auto *window = make(SensorsKind(), parent);
    QVERIFY(waitForExposed(window));
    m_library->events.sizes = 1;
    chooseFromMenu("Events List Dialog");
    onBox([&parent] { delete parent; });
    rightClick(window->SensorsList, 0);
    QVERIFY(!parent);
}

void WindowLifeTest::parentGoesWhileTheLibraryFetches()
{
    eachRecordKind([](auto kind) {
        for (const bool all : {true, false}) {
            QPointer<QWidget> parent = new QWidget;
            auto *window = make(kind, parent);
            const int before = kind.source().releases;
            kind.source().onFetch = [&parent] { delete parent; };
            all ? window->onUpdateList() : kind.getNew(window);
            kind.source().onFetch = nullptr;
            QVERIFY(!parent);
            QCOMPARE(kind.source().releases, before + 1);
            QVERIFY(!openBox());
        }
    });
}

void WindowLifeTest::parentGoesWhileTheLibraryTakesItsArrayBack()
{
    eachRecordKind([](auto kind) {
        for (const bool all : {true, false}) {
            QPointer<QWidget> parent = new QWidget;
            auto *window = make(kind, parent);
            const int before = kind.source().releases;
            kind.source().onRelease = [&parent] { delete parent; };
            all ? window->onUpdateList() : kind.getNew(window);
            kind.source().onRelease = nullptr;
            QVERIFY(!parent);
            QCOMPARE(kind.source().releases, before + 1);
            QVERIFY(!openBox());
        }
    });
}

void WindowLifeTest::ticksUnderABoxOpenNoSecondOne()
{
    eachRecordKind([](auto kind) {
        QWidget parent;
        auto *window = make(kind, &parent);
        window->setAutoUpdate(1);
        window->timer->setInterval(1);
        const int fetches = kind.source().fetches();
        kind.source().sizes = 1;
        QSignalSpy ticks(window->timer, &QTimer::timeout);
        int boxes = 0;
        when([&ticks] { return openBox() && ticks.size() >= 10; },
             [&] {
                 boxes = openBoxes();
                 window->setAutoUpdate(0);
                 openBox()->accept();
             });
        window->onUpdateList();
        QCOMPARE(boxes, 1);
        QCOMPARE(openBoxes(), 0);
        QCOMPARE(kind.source().fetches(), fetches);
    });
}

void WindowLifeTest::twoSecondTicksUnderABoxOpenNoSecondOne()
{
    eachRecordKind([](auto kind) {
        QWidget parent;
        auto *window = make(kind, &parent);
        window->setAutoUpdate(1);
        QCOMPARE(window->timer->interval(), 2000);
        kind.source().sizes = 1;
        int most = 0;
        QSignalSpy ticks(window->timer, &QTimer::timeout);
        when([&ticks] { return ticks.size() >= 1; },
             [&] {
                 most = openBoxes();
                 openBox()->accept();
             });
        window->onUpdateList();
        QCOMPARE(most, 1);
        QVERIFY(ticks.size() >= 1);
    });
}

void WindowLifeTest::buttonsAndSlotsUnderABoxDoNothing()
{
    eachKind([](auto kind) {
        QWidget parent;
        auto *window = make(kind, &parent);
        kind.source().sizes = 1;
        bool quiet = false;
        bool selected = std::is_same_v<decltype(kind), SensorsKind>;
        onBox([&] {
            reload(window);
            window->onRBList(nullptr, QPoint(), -1);
            if constexpr (!std::is_same_v<decltype(kind), SensorsKind>) {
                window->onUpdateList();
                kind.getNew(window);
                window->itemSelected = kind.list(window)->firstChild();
                selected = window->itemSelected;
                window->onDeleteItem();
            }
            quiet = openBoxes() == 1 && !openMenu();
            openBox()->accept();
        });
        // Where there is another load than the one that leaves no row to delete.
        if constexpr (std::is_same_v<decltype(kind), SensorsKind>)
            reload(window);
        else
            kind.getNew(window);
        QVERIFY(selected);
        // The source is read anew by the outer load alone.
        QCOMPARE(FakeLibrary::current->initialised.size(),
                 std::size_t(std::is_same_v<decltype(kind), SensorsKind> ? 1 : 0));
        QVERIFY(quiet);
        QVERIFY(!openBox());
    });
}

void WindowLifeTest::loadsGoOnAfterABox()
{
    eachKind([](auto kind) {
        QWidget parent;
        auto *window = make(kind, &parent);
        const int sizes = kind.source().sizes;
        const int rows = kind.list(window)->childCount();
        QVERIFY(rows > 0);
        kind.source().sizes = 1;
        answerBox(QMessageBox::Ok);
        reload(window);
        QCOMPARE(kind.list(window)->childCount(), 0);
        kind.source().sizes = sizes;
        reload(window);
        QCOMPARE(kind.list(window)->childCount(), rows);
    });
}

void WindowLifeTest::manyWindowsInRandomOrder()
{
    QFETCH_GLOBAL(QString, kind);
    if (kind != "events")
        QSKIP("all three at once");
    std::mt19937 random(20261121);
    auto parent = std::make_unique<QWidget>();
    const auto open = [&parent](int which) -> QWidget * {
        switch (which) {
        case 0:
            return make(EventsKind(), parent.get());
        case 1:
            return make(CommandsKind(), parent.get());
        default:
            return make(SensorsKind(), parent.get());
        }
    };
    std::vector<int> order;
    for (int i = 0; i < 600; ++i)
        order.push_back(i % 3);
    std::shuffle(order.begin(), order.end(), random);
    std::vector<QPointer<QWidget>> windows;
    const auto close = [&] {
        std::swap(windows[random() % windows.size()], windows.back());
        const QPointer<QWidget> window = windows.back();
        windows.pop_back();
        switch (random() % 3) {
        case 0:
            delete window;
            break;
        case 1:
            QTest::keyClick(window.data(), Qt::Key_Escape);
            break;
        default:
            window->close();
        }
    };
    int opened = 0;
    for (int which : order) {
        windows.emplace_back(open(which));
        QVERIFY(windows.back());
        ++opened;
        while (windows.size() > 20 || (!windows.empty() && random() % 3 == 0))
            close();
        QApplication::processEvents();
    }
    QCOMPARE(opened, 600);
    QVERIFY(!windows.empty());
    parent.reset();
    for (const auto &window : windows)
        QVERIFY(!window);
}

QTEST_MAIN(WindowLifeTest)
#include "windowlifetest.moc"
