// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The program on a session bus of its own, where this test is the service that shows notifications.
#include "contractlibraries.h"
#include "patience.h"

#include <QDBusConnection>
#include <QDBusVariant>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <csignal>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

/** Keeps what it is asked to show. */
class NotificationService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    QStringList shown;

    // NOLINTBEGIN(readability-identifier-naming): the protocol names them.
public slots:
    uint Notify(const QString &, uint replaced, const QString &, const QString &title, const QString &text,
                const QStringList &, const QVariantMap &, int)
    {
        // The toolkit sends some once more, in the place of the first.
        if (replaced == 0)
            shown << title + ": " + text;
        return replaced == 0 ? uint(shown.size()) : replaced;
    }
    QStringList GetCapabilities()
    {
        return {"body"};
    }
    void CloseNotification(uint) {}
    // NOLINTEND(readability-identifier-naming)
};

class NotificationsTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void aFunctionThatFailsIsNotifiedOnceAndOnceThatItWorks();
    void withoutAServiceThereIsTheLineAlone();
    void nothingWaitsForAServiceThatDoesNotAnswer();
    void nothingWaitsForABusThatStops();
    void aBusThatIsSilentFromTheStartIsLeftOut();

private:
    void startBus();
    void startProgram(const QString &steps);
    void endProgram();
    QString path(const char *name) const
    {
        return m_folder->filePath(name);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<QProcess> m_bus;
    std::unique_ptr<QProcess> m_program;
    QString m_address;
    QString m_errors;
};

static void write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

void NotificationsTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    for (const char *name : {"Pics", "Config", "bin"})
        QVERIFY(QDir().mkpath(path(name)));
    write(path("Pics/Red.bmp"), {});
    write(path("fails"), {});
    QVERIFY(QFile::link(QFile::decodeName(ContractLibraries) + "/falters", path("Libs")));
}

void NotificationsTest::cleanup()
{
    QDBusConnection::disconnectFromBus("service");
    for (auto *process : {&m_program, &m_bus}) {
        if (*process) {
            (*process)->kill();
            (*process)->waitForFinished(Patience);
        }
        process->reset();
    }
}

/** A bus on which nothing is started by itself. */
void NotificationsTest::startBus()
{
    write(path("bus.conf"), "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen>"
                            "<policy context=\"default\"><allow send_destination=\"*\"/><allow receive_sender=\"*\"/>"
                            "<allow own=\"*\"/></policy>"
                            "</busconfig>");
    m_bus = std::make_unique<QProcess>();
    m_bus->start("dbus-daemon", {"--config-file=" + path("bus.conf"), "--nofork", "--print-address"});
    QVERIFY(waitFor([this] { return m_bus->canReadLine() || m_bus->state() == QProcess::NotRunning; }));
    m_address = QString::fromLocal8Bit(m_bus->readLine()).trimmed();
    QVERIFY2(!m_address.isEmpty(), m_bus->readAllStandardError().constData());
}

void NotificationsTest::startProgram(const QString &steps)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    environment.insert("OBRIM_TEST_STEPS", steps);
    environment.insert("OBRIM_FAILS_WHILE", path("fails"));
    environment.insert(ContractCallLog, path("calls"));
    environment.insert("HOME", m_folder->path());
    environment.insert("XDG_RUNTIME_DIR", m_folder->path());
    environment.insert("XDG_DATA_DIRS", OBRIM_SHARE);
    environment.insert("DBUS_SESSION_BUS_ADDRESS", m_address);
    environment.remove("SESSION_MANAGER");
    m_program = std::make_unique<QProcess>();
    m_program->setProcessEnvironment(environment);
    m_program->setWorkingDirectory(path("bin"));
    m_program->start(OBRIM_DRIVEN, QStringList());
}

void NotificationsTest::endProgram()
{
    QVERIFY(waitFor([this] { return m_program->state() == QProcess::NotRunning; }));
    QCOMPARE(m_program->exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_program->exitCode(), 0);
    m_errors = QString::fromLocal8Bit(m_program->readAllStandardError());
}

void NotificationsTest::aFunctionThatFailsIsNotifiedOnceAndOnceThatItWorks()
{
    startBus();
    NotificationService service;
    QDBusConnection connection = QDBusConnection::connectToBus(m_address, "service");
    QVERIFY(connection.isConnected());
    QVERIFY(connection.registerObject("/org/freedesktop/Notifications", &service, QDBusConnection::ExportAllSlots));
    QVERIFY(connection.registerService("org.freedesktop.Notifications"));

    startProgram(QString("press=BEventsList windows=2 press=BUpdateList file=%1 remove=%2 press=BUpdateList "
                         "press=BUpdateList file=%3 close")
                     .arg(path("failures-seen"), path("fails"), path("end")));
    const QStringList failures = {"DB library: FInitDBSensors returned 7", "DB library: FInitDBEvents returned 7",
                                  "DB library: FInitDBCommands returned 7", "DB library: FDBGetEvents returned 7"};
    QTRY_COMPARE(service.shown, failures);
    write(path("failures-seen"), {});
    const QStringList shown = failures + QStringList("DB library: FDBGetEvents works again");
    QTRY_COMPARE(service.shown, shown);
    write(path("end"), {});
    endProgram();
    QCOMPARE(service.shown, shown);
    QCOMPARE(m_errors.count("FDBGetEvents returned 7\n"), 3);
}

void NotificationsTest::withoutAServiceThereIsTheLineAlone()
{
    startBus();
    startProgram("press=BEventsList windows=2 close");
    endProgram();
    const QString init = "FInitDBSensors returned 7\nFInitDBEvents returned 7\nFInitDBCommands returned 7\n";
    QVERIFY2(m_errors.contains(init), qPrintable(m_errors));
    QCOMPARE(m_errors.count("FDBGetEvents returned 7\n"), 2);
    QVERIFY2(!m_errors.contains("otification"), qPrintable(m_errors));
}

void NotificationsTest::nothingWaitsForAServiceThatDoesNotAnswer()
{
    startBus();
    QDBusConnection connection = QDBusConnection::connectToBus(m_address, "service");
    QVERIFY(connection.registerService("org.freedesktop.Notifications"));
    QElapsedTimer time;
    time.start();
    startProgram("press=BEventsList windows=2 press=BUpdateList close");
    // No event loop runs here: what comes for the service lies there.
    QVERIFY(m_program->waitForFinished(Patience));
    // Whoever waits does so for 25 s.
    QVERIFY(time.elapsed() < 20000);
    endProgram();
}

void NotificationsTest::nothingWaitsForABusThatStops()
{
    startBus();
    startProgram(QString("windows=1 file=%1 press=BEventsList windows=2 press=BUpdateList close").arg(path("stopped")));
    QVERIFY(waitFor([this] { return m_program->readAllStandardError().contains("windows: Tool"); }));
    QCOMPARE(::kill(pid_t(m_bus->processId()), SIGSTOP), 0);
    QElapsedTimer time;
    time.start();
    write(path("stopped"), {});
    endProgram();
    QVERIFY(time.elapsed() < 20000);
}

void NotificationsTest::aBusThatIsSilentFromTheStartIsLeftOut()
{
    // Connections are accepted by the system; nobody ever says a word on them.
    const int silent = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un place = {};
    place.sun_family = AF_UNIX;
    qstrncpy(place.sun_path, path("silent").toLocal8Bit(), sizeof(place.sun_path));
    QCOMPARE(bind(silent, reinterpret_cast<const sockaddr *>(&place), sizeof(place)), 0);
    QCOMPARE(listen(silent, 10), 0);
    m_address = "unix:path=" + path("silent");
    QElapsedTimer time;
    time.start();
    startProgram("press=BEventsList windows=2 close");
    endProgram();
    QVERIFY(time.elapsed() < 20000);
    QVERIFY2(m_errors.contains("The session bus of the desktop does not answer: going on without it\n"),
             qPrintable(m_errors));
    QCOMPARE(m_errors.count("FDBGetEvents returned 7\n"), 2);
    close(silent);
}

QTEST_GUILESS_MAIN(NotificationsTest)
#include "notificationstest.moc"
