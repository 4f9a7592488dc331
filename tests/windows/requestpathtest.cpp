// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The path of one request, end to end: a list button pressed on the panel of
// the program, with a DB library that writes down every call it gets.
#include "contractlibraries.h"
#include "patience.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

class RequestPathTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void eventsListPressedOnThePanel();
    void commandsListPressedOnThePanel();
    void sensorsListPressedOnThePanel();

private:
    /** Runs the program in an installation with the library, taking these steps; what it wrote. */
    void run(const QString &steps);

    QTemporaryDir m_folder;
    QString m_out;
    QStringList m_calls;
};

static const QString Started = "InitDBSensors<\nInitDBSensors> \n"
                               "InitDBEvents<\nInitDBEventss> \n"
                               "InitDBCommands<\nInitDBCommands> \n";

void RequestPathTest::init()
{
    for (const char *name : {"Pics", "Config", "bin"})
        QVERIFY(QDir().mkpath(m_folder.filePath(name)));
    QFile picture(m_folder.filePath("Pics/Red.bmp"));
    QVERIFY(picture.open(QIODevice::WriteOnly));
    QFile::remove(m_folder.filePath("Libs"));
    QVERIFY(QFile::link(QFile::decodeName(ContractLibraries) + "/cxx", m_folder.filePath("Libs")));
    QFile::remove(m_folder.filePath("calls"));
}

void RequestPathTest::run(const QString &steps)
{
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    environment.insert("OBRIM_TEST_STEPS", steps);
    environment.insert("HOME", m_folder.path());
    environment.insert(ContractCallLog, m_folder.filePath("calls"));
    environment.remove("SESSION_MANAGER");
    program.setProcessEnvironment(environment);
    program.setWorkingDirectory(m_folder.filePath("bin"));
    program.start(OBRIM_DRIVEN, QStringList());
    QVERIFY(program.waitForFinished(Patience));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0);
    // What the loader says of its symbols has its own tests.
    m_out = QString::fromLatin1(program.readAllStandardOutput());
    m_out = m_out.mid(m_out.indexOf(Started));
    QFile log(m_folder.filePath("calls"));
    QVERIFY(log.open(QIODevice::ReadOnly));
    m_calls = QString::fromLatin1(log.readAll()).split('\n', Qt::SkipEmptyParts);
    const QString config = m_folder.filePath("bin/../Config");
    QCOMPARE(m_calls.mid(0, 3),
             QStringList({"FInitDBSensors " + config, "FInitDBEvents " + config, "FInitDBCommands " + config}));
    m_calls = m_calls.mid(3);
}

void RequestPathTest::eventsListPressedOnThePanel()
{
    run("press=BEventsList windows=2 close");
    QCOMPARE(m_calls, QStringList({
                          "FDBGetEvents query",
                          "FDBGetEvents fetch first 100",
                          "FDBGetEvents release first 100",
                          "FDBGetEvents query",
                          "FDBGetEvents fetch last 100",
                          "FDBGetEvents release last 100",
                      }));
    QCOMPARE(m_out, Started + "DBGetEvents<\nDBGetEvents> \nDBGetEvents<\nDBGetEvents> \n");
}

void RequestPathTest::commandsListPressedOnThePanel()
{
    run("press=BCommandList windows=2 close");
    QCOMPARE(m_calls, QStringList({
                          "FDBGetCommands query",
                          "FDBGetCommands fetch last 100",
                          "FDBGetCommands release last 100",
                      }));
    QCOMPARE(m_out, Started + "DBGetCommands<\nDBGetCommands> \n");
}

void RequestPathTest::sensorsListPressedOnThePanel()
{
    run("press=Sensors_list windows=2 close");
    QCOMPARE(m_calls, QStringList({"FDBGetSensors query", "FDBGetSensors fetch", "FDBGetSensors release"}));
    QCOMPARE(m_out, Started + "void obrimWidget::onSensorsList()\nDBGetSensors<\nDBGetSensors> (rtn=0; N=3)\n");
}

QTEST_GUILESS_MAIN(RequestPathTest)
#include "requestpathtest.moc"
