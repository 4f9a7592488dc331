// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "patience.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <memory>

/** What a process wrote and how it ended. */
struct Run {
    int status = -1;
    QString out;
    QString err;
};

static const QString Init = "InitDBSensors<\nInitDBSensors> \n"
                            "InitDBEvents<\nInitDBEventss> \n"
                            "InitDBCommands<\nInitDBCommands> \n";

/** What is told once the process has ended in good order. */
static const QString GoodEnd = "application gone: flag 0\nat exit: flag 1\n";

/** Each case runs the program in an installation of its own. */
class TestProgram : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void withoutABaseDirectoryABoxAndStatus255_data();
    void withoutABaseDirectoryABoxAndStatus255();
    void theTraceTellsTheOrderOfTheStart();
    void theTraceArrivesLineByLineInAPipe();
    void aTraceThatNobodyReadsEndsNothing();
    void descriptorsThatAreClosedAreOpenedFirst_data();
    void descriptorsThatAreClosedAreOpenedFirst();
    void aSecondLanguageOfTheDesktopPrintsNothing_data();
    void aSecondLanguageOfTheDesktopPrintsNothing();
    void exitAndYesEndTheProgram();
    void exitAndAnythingElseChangesNothing_data();
    void exitAndAnythingElseChangesNothing();
    void closingThePanelEndsWithoutAQuestion();
    void thePanelEndsTheProgramWithListsOpen_data();
    void thePanelEndsTheProgramWithListsOpen();
    void theExitStatusIsThatOfTheEventLoop_data();
    void theExitStatusIsThatOfTheEventLoop();
    void theSensorsTreeIsNotImplemented();
    void onlyTheHarmlessWordOfTheDisplayIsSilenced();
    void everyPressOpensAnotherWindow();
    void aRestoredWindowInitialisesTwice();
    void exitInARestoredSessionDeletesThePanelOnly();
    void aSessionThatSavedNothingGetsOneWindow();
    void aSessionWithoutWindowsEnds();
    void versionAndHelp();
    void authorAndLicence();
    void anUnknownOptionIsRefused();
    void argumentsThatBelongToNothingAreNamed();

private:
    QString base() const
    {
        return m_folder->path() + "/base";
    }
    QString trace() const
    {
        return "File with library " + base() + "/bin/../Libs/DBLib.a not found\n" + ::Init;
    }
    QProcessEnvironment environment(const QString &steps = {}) const;
    std::unique_ptr<QProcess> start(const char *program, const QString &steps, const QStringList &arguments = {}) const;
    Run drive(const QString &steps, const QStringList &arguments = {}, const char *program = OBRIM_DRIVEN) const;
    Run shell(const QString &command, const QString &steps) const;
    void saveSession(int windows) const;
    static QString errors(QProcess &process);

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestProgram::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    for (const char *name : {"/Pics", "/Config", "/Libs", "/bin"})
        QVERIFY(QDir().mkpath(base() + name));
    QFile picture(base() + "/Pics/Red.bmp");
    QVERIFY(picture.open(QIODevice::WriteOnly));
}

QProcessEnvironment TestProgram::environment(const QString &steps) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    environment.insert("OBRIM_TEST_STEPS", steps);
    environment.insert("XDG_CONFIG_HOME", m_folder->path());
    environment.insert("HOME", m_folder->path());
    environment.remove("XDG_RUNTIME_DIR");
    environment.remove("DBUS_SESSION_BUS_ADDRESS");
    environment.remove("SESSION_MANAGER");
    return environment;
}

/** What was written on standard error, without what the platform without a screen says of every window. */
QString TestProgram::errors(QProcess &process)
{
    static const QRegularExpression noScreen("^This plugin does not support .*\n", QRegularExpression::MultilineOption);
    return QString::fromLocal8Bit(process.readAllStandardError()).remove(noScreen);
}

std::unique_ptr<QProcess> TestProgram::start(const char *program, const QString &steps,
                                             const QStringList &arguments) const
{
    auto process = std::make_unique<QProcess>();
    process->setWorkingDirectory(base() + "/bin");
    process->setProcessEnvironment(environment(steps));
    process->start(QString::fromLocal8Bit(program), arguments);
    return process;
}

Run TestProgram::drive(const QString &steps, const QStringList &arguments, const char *program) const
{
    const auto process = start(program, steps, arguments);
    Run run;
    if (!process->waitForFinished(Patience)) {
        process->kill();
        process->waitForFinished(Patience);
    } else if (process->exitStatus() == QProcess::NormalExit) {
        run.status = process->exitCode();
    }
    run.out = QString::fromLocal8Bit(process->readAllStandardOutput());
    run.err = errors(*process);
    return run;
}

/** Runs a shell command in which $0 is the program. */
Run TestProgram::shell(const QString &command, const QString &steps) const
{
    return drive(steps, {"-c", command, OBRIM_DRIVEN}, "/bin/sh");
}

void TestProgram::withoutABaseDirectoryABoxAndStatus255_data()
{
    QTest::addColumn<QString>("answer");
    QTest::newRow("OK") << "answer=ok";
    QTest::newRow("Escape") << "answer=escape";
}

void TestProgram::withoutABaseDirectoryABoxAndStatus255()
{
    QFETCH(QString, answer);
    QVERIFY(QFile::remove(base() + "/Pics/Red.bmp"));
    const Run run = drive(answer);
    QCOMPARE(run.err, QString("box: [Can't find base dir] [Can't find base dir] without parent\nat exit: flag 0\n"));
    QCOMPARE(run.status, 255);
    QCOMPARE(run.out, QString());
}

void TestProgram::theTraceTellsTheOrderOfTheStart()
{
    const Run run = drive("windows=1 close");
    QCOMPARE(run.out, trace());
    QCOMPARE(run.err, "windows: Tool\n" + GoodEnd);
    QCOMPARE(run.status, 0);
    // It has no settings of its own.
    QVERIFY(!QFile::exists(m_folder->path() + "/obrimrc"));
}

void TestProgram::theTraceArrivesLineByLineInAPipe()
{
    const auto process = start(OBRIM_PROGRAM, {});
    QString out;
    while (out.size() < trace().size() && process->waitForReadyRead(Patience))
        out += QString::fromLocal8Bit(process->readAllStandardOutput());
    QCOMPARE(process->state(), QProcess::Running);
    process->kill();
    QVERIFY(process->waitForFinished(Patience));
    QCOMPARE(out, trace());
    QCOMPARE(errors(*process), QString());
}

void TestProgram::aTraceThatNobodyReadsEndsNothing()
{
    const Run run = shell("{ \"$0\"; echo \"status $?\" >&2; } | head -n 1",
                          "press=BEventsList press=Sensors_list windows=3 close");
    QCOMPARE(run.out, trace().section('\n', 0, 0) + '\n');
    QVERIFY2(run.err.endsWith(GoodEnd + "status 0\n"), qPrintable(run.err));
}

void TestProgram::descriptorsThatAreClosedAreOpenedFirst_data()
{
    QTest::addColumn<QString>("closed");
    QTest::addColumn<QList<int>>("descriptors");
    QTest::newRow("all") << "<&- >&- 2>&-" << QList<int>({0, 1, 2});
    QTest::newRow("input") << "<&-" << QList<int>({0});
    QTest::newRow("output") << ">&-" << QList<int>({1});
    QTest::newRow("errors") << "2>&-" << QList<int>({2});
}

void TestProgram::descriptorsThatAreClosedAreOpenedFirst()
{
    QFETCH(QString, closed);
    QFETCH(QList<int>, descriptors);
    const QString path = m_folder->path() + "/streams";
    const Run run = shell("exec \"$0\" " + closed, "press=BEventsList windows=2 streams=" + path + " close");
    QCOMPARE(run.status, 0);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QStringList streams = QString::fromLocal8Bit(file.readAll()).split('\n');
    for (int descriptor = 0; descriptor <= 2; ++descriptor)
        QCOMPARE(streams.at(descriptor) == "/dev/null", descriptors.contains(descriptor));
}

void TestProgram::aSecondLanguageOfTheDesktopPrintsNothing_data()
{
    QTest::addColumn<QString>("locale");
    QTest::newRow("C") << "C";
    QTest::newRow("C.UTF-8") << "C.UTF-8";
    QTest::newRow("not installed") << "de_DE.UTF-8";
}

void TestProgram::aSecondLanguageOfTheDesktopPrintsNothing()
{
    QFETCH(QString, locale);
    QProcess process;
    QProcessEnvironment settings = environment("windows=1 close");
    settings.insert("LC_ALL", locale);
    process.setProcessEnvironment(settings);
    process.setWorkingDirectory(base() + "/bin");
    process.start(OBRIM_DRIVEN, QStringList());
    QVERIFY(process.waitForFinished(Patience));
    QCOMPARE(errors(process), "windows: Tool\n" + GoodEnd);
    QCOMPARE(process.exitCode(), 0);
}

void TestProgram::exitAndYesEndTheProgram()
{
    const Run run = drive("press=Exit answer=yes");
    QCOMPARE(run.err, "box: [???] [Close program?] obrimwidgetbase\n" + GoodEnd);
    QCOMPARE(run.status, 0);
}

void TestProgram::exitAndAnythingElseChangesNothing_data()
{
    QTest::addColumn<QString>("answer");
    QTest::newRow("No") << "answer=no";
    QTest::newRow("closing the box") << "answer=escape";
}

void TestProgram::exitAndAnythingElseChangesNothing()
{
    QFETCH(QString, answer);
    const Run run = drive("press=BEventsList windows=2 press=Exit " + answer + " windows=2 close");
    QCOMPARE(run.err, "CWD_EventsList::onSetTimeFrom:i=2\n"
                      "windows: Events list, Tool\n"
                      "box: [???] [Close program?] obrimwidgetbase\n"
                      "windows: Events list, Tool\n" +
                          GoodEnd);
    QCOMPARE(run.status, 0);
}

void TestProgram::closingThePanelEndsWithoutAQuestion()
{
    const Run run = drive("windows=1 close");
    QCOMPARE(run.err, "windows: Tool\n" + GoodEnd);
    QCOMPARE(run.status, 0);
}

void TestProgram::thePanelEndsTheProgramWithListsOpen_data()
{
    QTest::addColumn<QString>("way");
    QTest::newRow("closed") << "close";
    QTest::newRow("Exit") << "press=Exit answer=yes";
    QTest::newRow("destroyed") << "delete";
}

void TestProgram::thePanelEndsTheProgramWithListsOpen()
{
    QFETCH(QString, way);
    const Run run = drive("press=Sensors_list press=BEventsList press=BCommandList windows=4 " + way);
    QVERIFY2(run.err.contains("windows: Commands list, Events list, Sensors List, Tool\n"), qPrintable(run.err));
    QVERIFY(run.err.endsWith(GoodEnd));
    QCOMPARE(run.status, 0);
}

void TestProgram::theExitStatusIsThatOfTheEventLoop_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("normal start") << QStringList();
    QTest::newRow("restored session") << QStringList({"-session", "ID_KEY"});
}

void TestProgram::theExitStatusIsThatOfTheEventLoop()
{
    QFETCH(QStringList, arguments);
    saveSession(1);
    const Run run = drive("panels exit=7", arguments);
    QCOMPARE(run.err, "panels: 1\n" + GoodEnd);
    QCOMPARE(run.status, 7);
}

void TestProgram::theSensorsTreeIsNotImplemented()
{
    const Run run = drive("press=Sensors_Tree answer=ok windows=1 close");
    QCOMPARE(run.err, "box: [] [Not implemented yet] obrimwidgetbase\nwindows: Tool\n" + GoodEnd);
    QCOMPARE(run.status, 0);
}

void TestProgram::onlyTheHarmlessWordOfTheDisplayIsSilenced()
{
    const Run run = drive("warn=qt.qpa.xcb xerror=40 xerror=20 warn=qt.qpa.other close");
    QCOMPARE(run.err, "qt.qpa.xcb: a warning\n"
                      "qt.qpa.xcb: QXcbConnection: XCB error: 3 (BadWindow), sequence: 1784, resource id: 2103065, "
                      "major code: 20 (GetProperty), minor code: 0\n"
                      "qt.qpa.other: a warning\n" +
                          GoodEnd);
    QCOMPARE(run.status, 0);
}

void TestProgram::everyPressOpensAnotherWindow()
{
    const Run run = drive("press=Sensors_list press=Sensors_list windows=3 close");
    QCOMPARE(run.err, "windows: Sensors List, Sensors List, Tool\n" + GoodEnd);
    QCOMPARE(run.out.count("void obrimWidget::onSensorsList()\n"), 2);
    QCOMPARE(run.status, 0);
}

/** What the desktop leaves behind for a session with the key "ID_KEY". */
void TestProgram::saveSession(int windows) const
{
    QVERIFY(QDir().mkpath(m_folder->path() + "/session"));
    QFile file(m_folder->path() + "/session/obrim_ID_KEY");
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[Number]\nNumberOfWindows=" + QByteArray::number(windows) + "\n");
    for (int n = 1; n <= windows; ++n)
        file.write("[WindowProperties" + QByteArray::number(n) + "]\nClassName=obrim\nObjectName=obrim\n");
}

void TestProgram::aRestoredWindowInitialisesTwice()
{
    saveSession(2);
    const Run run = drive("windows=2 panels close windows=1 panels close", {"-session", "ID_KEY"});
    QCOMPARE(run.err, "windows: , \npanels: 2\nwindows: \npanels: 1\n" + GoodEnd);
    QCOMPARE(run.out, trace().repeated(4));
    QCOMPARE(run.status, 0);
}

void TestProgram::exitInARestoredSessionDeletesThePanelOnly()
{
    saveSession(1);
    const Run run = drive("press=Exit answer=yes windows=1 panels close", {"-session", "ID_KEY"});
    QCOMPARE(run.err, QString("box: [???] [Close program?] obrimwidgetbase\nwindows: \npanels: 0\n") + GoodEnd);
    QCOMPARE(run.status, 0);
}

void TestProgram::aSessionThatSavedNothingGetsOneWindow()
{
    const Run run = drive("windows=1 panels close", {"-session", "ID_KEY"});
    QCOMPARE(run.err, "windows: \npanels: 1\n" + GoodEnd);
    QCOMPARE(run.out, trace().repeated(2));
    QCOMPARE(run.status, 0);
}

void TestProgram::aSessionWithoutWindowsEnds()
{
    saveSession(0);
    const Run run = drive("", {"-session", "ID_KEY"});
    QCOMPARE(run.err, GoodEnd);
    QCOMPARE(run.out, QString());
    QCOMPARE(run.status, 0);
}

void TestProgram::versionAndHelp()
{
    const Run version = drive("", {"--version"}, OBRIM_PROGRAM);
    QCOMPARE(version.out, QString("obrim " PROJECT_VERSION "\n"));
    QCOMPARE(version.status, 0);
    const Run help = drive("", {"--help"}, OBRIM_PROGRAM);
    QVERIFY(help.out.contains("A KDE KPart Application"));
    QCOMPARE(help.status, 0);
}

void TestProgram::authorAndLicence()
{
    const Run author = drive("", {"--author"}, OBRIM_PROGRAM);
    QVERIFY2(author.out.contains("The obrim developers"), qPrintable(author.out));
    QVERIFY2(author.out.contains("obrim@localhost"), qPrintable(author.out));
    const Run licence = drive("", {"--license"}, OBRIM_PROGRAM);
    QVERIFY2(licence.out.contains("under the terms of the GPL v2."), qPrintable(licence.out));
}

void TestProgram::anUnknownOptionIsRefused()
{
    const Run run = drive("", {"--no-such-option"}, OBRIM_PROGRAM);
    QVERIFY(run.err.contains("no-such-option"));
    QCOMPARE(run.status, 1);
}

void TestProgram::argumentsThatBelongToNothingAreNamed()
{
    const Run run = drive("close", {"foo", "/some where"});
    QVERIFY2(run.err.startsWith("obrim: unexpected argument: foo, /some where\n"), qPrintable(run.err));
    QCOMPARE(run.out, QString());
    QCOMPARE(run.status, 1);
    const Run restored = drive("close", {"-session", "ID_KEY", "bar"});
    QVERIFY2(restored.err.startsWith("obrim: unexpected argument: bar\n"), qPrintable(restored.err));
    QCOMPARE(restored.status, 1);
}

QTEST_GUILESS_MAIN(TestProgram)
#include "programtest.moc"
