// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The real console works with every faulty library of the tests behind the bridge, one after the
// other in one process, and then with a good one.
#include "patience.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <csignal>
#include <memory>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

class SurvivingTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void theConsoleOutlivesEveryLibrary_data();
    void theConsoleOutlivesEveryLibrary();
    void theConsoleOutlivesALibraryThatEndsItsParent();
    void theConsoleStartsAndEndsWithAFaultyLibrary_data();
    void theConsoleStartsAndEndsWithAFaultyLibrary();

private:
    QByteArray run(const QList<QByteArray> &definitions, const QString &program = OBRIM_SURVIVING,
                   const QStringList &arguments = {});

    std::unique_ptr<QTemporaryDir> m_folder;
};

namespace
{
const QByteArray Limits = "|Timeout=1|Memory=256";

QByteArray behindBridge(const QString &folder)
{
    QByteArray definitions = "Library=" + QFile::encodeName(folder) + "/DBLib.a" + Limits;
    if (QFile::exists(folder + "/Funs.def"))
        definitions += "|Functions=" + QFile::encodeName(folder) + "/Funs.def";
    return definitions;
}

/**
 * Kills the keeper of its host, and whoever has become its parent in the moment
 * before it ends itself: the console never, but the subreaper, which is this test.
 */
const QString EndsItsParent = "kills-checker";

/** For unshare: runs a command among processes of its own, whose first one, a shell, they cannot kill. */
const QStringList InItsOwnProcesses = QStringList{"--pid", "--mount-proc", "--fork", "--kill-child"}
                                      << "sh"
                                      << "-c"
                                      << "\"$@\"; exit $?"
                                      << "sh";

/** All libraries of the checker's tests, a half of them, or those of the contract's. */
QStringList foldersOf(const QString &which)
{
    const QDir checker(OBRIM_CHECKER_LIBRARIES);
    const QDir contract(OBRIM_CONTRACT_LIBRARIES);
    QStringList folders;
    if (which == "contract") {
        for (const QString &name : contract.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
            folders << contract.filePath(name);
        return folders;
    }
    for (const QString &name : checker.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        if ((name < "m") == (which == "checker, a to l") && name != EndsItsParent)
            folders << checker.filePath(name + "/Libs");
    return folders;
}
} // namespace

void SurvivingTest::initTestCase()
{
    // What outlives its host would come to this process, which finds it in cleanup().
    prctl(PR_SET_CHILD_SUBREAPER, 1);
}

/** The processes that this one has become the parent of, once what has ended is taken from them. */
static QByteArray childrenLeft()
{
    while (waitpid(-1, nullptr, WNOHANG) > 0)
        ;
    QFile children(QString("/proc/self/task/%1/children").arg(getpid()));
    return children.open(QIODevice::ReadOnly) ? children.readAll().simplified() : "no list of children";
}

void SurvivingTest::cleanup()
{
    // Hosts end after their console.
    waitFor([] { return childrenLeft().isEmpty(); });
    const QByteArray left = childrenLeft();
    for (const QByteArray &child : left.split(' '))
        if (child.toInt() > 0)
            kill(child.toInt(), SIGKILL);
    QCOMPARE(left, QByteArray());
}

void SurvivingTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    for (const char *name : {"Pics", "Config", "Libs", "bin"})
        QVERIFY(QDir(m_folder->path()).mkpath(name));
    QFile picture(m_folder->filePath("Pics/Red.bmp"));
    QVERIFY(picture.open(QIODevice::WriteOnly));
    QVERIFY(QFile::link(QFile::decodeName(OBRIM_BRIDGE), m_folder->filePath("Libs/DBLib.a")));
}

/** What a console tells on standard error that works with these libraries; empty when it did not end in order. */
QByteArray SurvivingTest::run(const QList<QByteArray> &definitions, const QString &program,
                              const QStringList &arguments)
{
    QFile list(m_folder->filePath("list"));
    if (!list.open(QIODevice::WriteOnly))
        return {};
    for (const QByteArray &each : definitions)
        list.write(each + '\n');
    list.close();
    // What the console starts with.
    QFile first(m_folder->filePath("Config/DBLib.def"));
    if (!first.open(QIODevice::WriteOnly))
        return {};
    first.write(QByteArray(definitions.first()).replace('|', '\n'));
    first.close();
    QProcess console;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("OBRIM_TEST_LIBRARIES", list.fileName());
    environment.insert("XDG_CONFIG_HOME", m_folder->path());
    environment.insert("HOME", m_folder->path());
    console.setProcessEnvironment(environment);
    console.setWorkingDirectory(m_folder->filePath("bin"));
    console.setStandardOutputFile(QProcess::nullDevice());
    console.start(program, arguments);
    const bool ended = console.waitForFinished(2 * Patience);
    const QByteArray told = console.readAllStandardError();
    if (ended && console.exitStatus() == QProcess::NormalExit && console.exitCode() == 0)
        return told;
    qWarning("%s", told.constData());
    console.kill();
    console.waitForFinished();
    return {};
}

void SurvivingTest::theConsoleOutlivesEveryLibrary_data()
{
    QTest::addColumn<QString>("which");
    QTest::addColumn<QStringList>("killed"); // at least: sanitizers find others before they crash
    QTest::newRow("checker, a to l") << "checker, a to l" << QStringList{"abort", "abort-at-exit", "crash-at-load"};
    QTest::newRow("checker, m to z") << "checker, m to z" << QStringList{"segfault", "stack-overflow"};
    QTest::newRow("contract") << "contract" << QStringList();
}

void SurvivingTest::theConsoleOutlivesEveryLibrary()
{
    QFETCH(QString, which);
    QFETCH(QStringList, killed);
    const QStringList folders = foldersOf(which);
    QVERIFY(folders.size() > 40);
    QList<QByteArray> definitions;
    for (const QString &folder : folders)
        definitions << behindBridge(folder);
    definitions << behindBridge(OBRIM_CHECKER_LIBRARIES "/good/Libs");
    const QByteArray told = run(definitions);
    int at = 0;
    for (int i = 0; i < definitions.size(); ++i) {
        at = int(told.indexOf("survived " + QByteArray::number(i) + ": ", at));
        QVERIFY2(at >= 0, definitions.at(i).constData());
    }
    QVERIFY2(told.mid(at).startsWith("survived " + QByteArray::number(definitions.size() - 1) + ": 59 rows"),
             told.mid(at).constData());
    for (const QString &name : killed)
        QVERIFY2(told.contains('/' + name.toUtf8() + "/Libs/DBLib.a was killed by SIG"), qPrintable(name));
}

void SurvivingTest::theConsoleOutlivesALibraryThatEndsItsParent()
{
    QStringList arguments = InItsOwnProcesses;
    if (geteuid() != 0)
        arguments.prepend("--map-root-user");
    if (QProcess::execute("unshare", arguments + QStringList("true")) != 0)
        QSKIP("this machine does not allow it");
    const QByteArray ends = behindBridge(OBRIM_CHECKER_LIBRARIES "/" + EndsItsParent + "/Libs");
    const QByteArray good = behindBridge(OBRIM_CHECKER_LIBRARIES "/good/Libs");
    const QByteArray told = run({ends, ends, good}, "unshare", arguments + QStringList(OBRIM_SURVIVING));
    QVERIFY2(told.contains(" was killed by SIGKILL "), told.constData());
    QVERIFY2(told.contains("survived 2: 59 rows"), told.constData());
}

void SurvivingTest::theConsoleStartsAndEndsWithAFaultyLibrary_data()
{
    QTest::addColumn<QByteArray>("told");
    QTest::newRow("crash-at-load") << QByteArray("was killed by SIGSEGV while it was loaded");
    QTest::newRow("abort-at-exit") << QByteArray("was killed by SIGABRT at its end");
    QTest::newRow("hang-at-exit") << QByteArray("was killed after 1 s at its end");
    QTest::newRow("missing-dependency") << QByteArray("");
    QTest::newRow("fork-daemon") << QByteArray("");
}

void SurvivingTest::theConsoleStartsAndEndsWithAFaultyLibrary()
{
    QFETCH(QByteArray, told);
    const QString folder = QString(OBRIM_CHECKER_LIBRARIES "/%1/Libs").arg(QTest::currentDataTag());
    const QByteArray err = run({behindBridge(folder)});
    QVERIFY2(err.contains("survived 0: "), err.constData());
    QVERIFY2(err.contains(told), err.constData());
}

QTEST_GUILESS_MAIN(SurvivingTest)
#include "survivingtest.moc"
