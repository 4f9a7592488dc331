// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The panel and the main window of a restored session, each in a process that
// has found its base directory already.
#include "capturedoutput.h"
#include "cwd_commandslist.h"
#include "cwd_eventslist.h"
#include "cwd_sensorslist.h"
#include "data.h"
#include "mainwidget.h"
#include "obrim.h"
#include "obrimwidget.h"
#include "windowtestbase.h"

#include <KLocalizedString>
#include <QMetaMethod>
#include <QTemporaryDir>

class PanelTest : public WindowTestBase
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void slotsStandInTheirOrder();
    void nameParentAndFlagsReachTheForm();
    void theDataLayerIsInitialisedOnce();
    void everyPressOpensAListOfItsOwn();
    void listsGoWithThePanel();
    void theSensorsTreeOnlyShowsABox();
    void exitAnsweredNoLeavesEveryWindow();
    void exitAnsweredYesEndsPanelAndLists();
    void slotsWithoutAButtonDoNothing();
    void theMainWidgetsEndIsTheLoopsEnd_data();
    void theMainWidgetsEndIsTheLoopsEnd();
    void aMainWindowHoldsAPanelAndInitialisesTwice();
    void aClosedMainWindowDeletesItself();

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<CapturedOutput> m_out;
};

void PanelTest::initTestCase()
{
    KLocalizedString::setApplicationDomain("obrim");
}

void PanelTest::init()
{
    WindowTestBase::init();
    m_folder = std::make_unique<QTemporaryDir>();
    CurWD = m_folder->filePath(QStringLiteral("bin"));
    BaseWD = m_folder->path();
    m_out = std::make_unique<CapturedOutput>(stdout);
}

void PanelTest::cleanup()
{
    m_out.reset();
    for (QString *directory : {&CurWD, &BaseWD, &ConfigWD, &DLLWD})
        directory->clear();
    WindowTestBase::cleanup();
}

void PanelTest::slotsStandInTheirOrder()
{
    const QMetaObject &meta = obrimWidget::staticMetaObject;
    QCOMPARE(ownSlots(meta), QStringList({"button_clicked()", "onSensorsTree()", "onSensorsList()", "FUpdateData()",
                                          "onExit()", "onEventsList()", "onCommandsList()"}));
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        QCOMPARE(meta.method(i).access(), QMetaMethod::Public);
}

void PanelTest::nameParentAndFlagsReachTheForm()
{
    QWidget parent;
    const obrimWidget named(&parent, "mine", Qt::Tool);
    QCOMPARE(named.objectName(), QStringLiteral("mine"));
    QCOMPARE(named.parentWidget(), &parent);
    QCOMPARE(named.windowType(), Qt::Tool);
    const obrimWidget bare;
    QCOMPARE(bare.objectName(), QStringLiteral("obrimwidgetbase"));
    QVERIFY(!bare.parentWidget());
    QCOMPARE(bare.size(), QSize(436, 266));
}

void PanelTest::theDataLayerIsInitialisedOnce()
{
    const obrimWidget panel;
    QCOMPARE(m_library->initialised, std::vector<std::string>{BaseWD.toStdString() + "/Config"});
    QCOMPARE(DLLWD, BaseWD + "/Libs");
}

template <class Window> static void pressTwice(obrimWidget *panel, QPushButton *button, const char *name)
{
    for (int windows = 1; windows <= 2; ++windows) {
        QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(panel->findChildren<Window *>().size(), windows);
    }
    for (const Window *window : panel->findChildren<Window *>()) {
        QCOMPARE(window->objectName(), QString::fromLatin1(name));
        QCOMPARE(window->parentWidget(), panel);
        QVERIFY(window->isWindow());
        QVERIFY(window->isVisible());
        QVERIFY(!window->isModal());
    }
}

void PanelTest::everyPressOpensAListOfItsOwn()
{
    obrimWidget panel;
    pressTwice<CWD_SensorsList>(&panel, panel.Sensors_list, "Sensors list");
    pressTwice<CWD_EventsList>(&panel, panel.BEventsList, "Events list");
    pressTwice<CWD_CommandsList>(&panel, panel.BCommandList, "Commands list");
    QCOMPARE(panel.findChild<CWD_EventsList *>()->windowTitle(), QStringLiteral("Events list"));
    QCOMPARE(panel.findChild<CWD_CommandsList *>()->windowTitle(), QStringLiteral("Commands list"));
    for (const CMessageEventRequest &request : m_library->events.requests)
        QCOMPARE(request.UseSensorID, 0);
    for (const CMessageCommandRequest &request : m_library->commands.requests)
        QCOMPARE(request.UseSensorID, 0);
    const QString trace = QString::fromStdString(m_out->text());
    QCOMPARE(trace.count("void obrimWidget::onSensorsList()\nDBGetSensors<\n"), 2);
    QCOMPARE(trace.count("obrimWidget"), 2);
}

void PanelTest::listsGoWithThePanel()
{
    auto panel = std::make_unique<obrimWidget>();
    panel->onSensorsList();
    panel->onEventsList();
    panel->onCommandsList();
    const QPointer<QWidget> sensors = panel->findChild<CWD_SensorsList *>();
    const QPointer<QWidget> events = panel->findChild<CWD_EventsList *>();
    const QPointer<QWidget> commands = panel->findChild<CWD_CommandsList *>();
    QVERIFY(sensors && events && commands);
    panel.reset();
    QVERIFY(!sensors && !events && !commands);
}

void PanelTest::theSensorsTreeOnlyShowsABox()
{
    obrimWidget panel;
    for (int press = 0; press < 2; ++press) {
        QString text;
        QString caption("?");
        const QWidget *parent = nullptr;
        when([] { return openBox() != nullptr; },
             [&] {
                 QMessageBox *box = openBox();
                 text = box->text();
                 caption = box->windowTitle();
                 parent = box->parentWidget();
                 QCOMPARE(box->standardButtons(), QMessageBox::Ok);
                 QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
             });
        QTest::mouseClick(panel.Sensors_Tree, Qt::LeftButton);
        QCOMPARE(text, QStringLiteral("Not implemented yet"));
        QCOMPARE(caption, QString());
        QCOMPARE(parent, &panel);
        QVERIFY(panel.findChildren<QDialog *>().isEmpty());
    }
}

void PanelTest::exitAnsweredNoLeavesEveryWindow()
{
    QPointer<obrimWidget> panel = new obrimWidget;
    panel->onEventsList();
    const QPointer<QWidget> events = panel->findChild<CWD_EventsList *>();
    QString question;
    answerBox(QMessageBox::No, &question);
    QTest::mouseClick(panel->Exit, Qt::LeftButton);
    QCOMPARE(question, QStringLiteral("Close program?"));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(panel);
    QVERIFY(events && events->isVisible());
    delete panel;
}

void PanelTest::exitAnsweredYesEndsPanelAndLists()
{
    const QPointer<obrimWidget> panel = new obrimWidget;
    panel->onEventsList();
    const QPointer<QWidget> events = panel->findChild<CWD_EventsList *>();
    answerBox(QMessageBox::Yes);
    QTest::mouseClick(panel->Exit, Qt::LeftButton);
    QTRY_VERIFY(!panel);
    QVERIFY(!events);
}

void PanelTest::slotsWithoutAButtonDoNothing()
{
    obrimWidget panel;
    const std::string before = m_out->text();
    panel.button_clicked();
    panel.FUpdateData();
    QCOMPARE(m_out->text(), before);
    QVERIFY(!openBox());
    QVERIFY(panel.findChildren<QDialog *>().isEmpty());
}

void PanelTest::theMainWidgetsEndIsTheLoopsEnd_data()
{
    QTest::addColumn<bool>("closed");
    QTest::newRow("closed") << true;
    QTest::newRow("destroyed") << false;
}

void PanelTest::theMainWidgetsEndIsTheLoopsEnd()
{
    QFETCH(bool, closed);
    // Its own window would keep the toolkit from ending the loop by itself.
    QWidget other;
    other.show();
    auto widget = std::make_unique<QWidget>();
    setMainWidget(widget.get());
    widget->show();
    QTimer::singleShot(0, &other, [&] {
        if (closed)
            widget->close();
        else
            widget.reset();
    });
    // For a loop that goes on.
    QTimer::singleShot(10000, &other, [] { QCoreApplication::exit(7); });
    QCOMPARE(QApplication::exec(), 0);
    QVERIFY(other.isVisible());
    QCOMPARE(widget == nullptr, !closed);
}

void PanelTest::aMainWindowHoldsAPanelAndInitialisesTwice()
{
    const obrim window;
    QCOMPARE(window.objectName(), QStringLiteral("obrim"));
    QVERIFY(!window.parentWidget());
    QCOMPARE(window.windowType(), Qt::Window);
    const auto *panel = qobject_cast<obrimWidget *>(window.centralWidget());
    QVERIFY(panel);
    QCOMPARE(panel->objectName(), QStringLiteral("obrimwidgetbase"));
    QVERIFY(!panel->isWindow());
    QCOMPARE(m_library->initialised.size(), std::size_t(2));
    const QMetaObject &meta = obrim::staticMetaObject;
    QCOMPARE(meta.methodCount(), meta.methodOffset());
    QCOMPARE(meta.propertyCount(), meta.propertyOffset());
}

void PanelTest::aClosedMainWindowDeletesItself()
{
    auto *window = new obrim;
    static_cast<obrimWidget *>(window->centralWidget())->onSensorsList();
    const QPointer<QWidget> sensors = window->findChild<CWD_SensorsList *>();
    QVERIFY(sensors);
    QVERIFY(showAndWait(window));
    QVERIFY(closeAndWait(window));
    QVERIFY(!sensors);
}

QTEST_MAIN(PanelTest)
#include "paneltest.moc"
