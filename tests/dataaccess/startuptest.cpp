// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "DBFuns.h"
#include "libraryfixture.h"
#include "patience.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include <climits>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

using namespace LibraryFixture;

namespace
{
struct Run {
    int status;
    QByteArray out;
    QByteArray err;
};

/** FileExists without the superuser's right to read everything. */
int existsForAnOrdinaryUser(const QByteArray &path)
{
    const uid_t before = geteuid();
    if (before == 0 && seteuid(65534) != 0)
        return -1;
    const int result = FileExists(path.constData());
    return before == 0 && seteuid(before) != 0 ? -1 : result;
}

int exists(const QString &path)
{
    return FileExists(QFile::encodeName(path).constData());
}
} // namespace

/** Each case runs InitData in a process and a folder of its own. */
class TestStartup : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void theParentIsTheFirstCandidate();
    void twoLevelsDeeperTheSecondCandidateIsFound();
    void threeLevelsDeeperTheThirdCandidateIsFound();
    void fourLevelsDeeperNothingIsFound();
    void theNearestCandidateWins();
    void picturesInTheWorkingDirectoryItselfAreNotFound();
    void withoutABaseDirectoryABoxWithoutParentAndStatus255();
    void withoutABoxTheMessageGoesToStandardError();
    void aDirectoryNamedAsThePictureCountsAsMissing();
    void aPipeNamedAsThePictureCountsAsMissing();
    void aSecondCallDoesNotSearchAgainButLoadsAgain();
    void theLibraryIsLoadedBeforeTheInitialisersRun();
    void theLibraryGetsTheConfigurationDirectory();
    void aWorkingDirectoryThatIsGoneIsNoBaseDirectory();
    void aPathBeyondAsciiIsFound();
    void aPathThatIsNoTextIsRefusedWithTheReason();
    void aLongPathIsFoundOrRefusedWithTheReason_data();
    void aLongPathIsFoundOrRefusedWithTheReason();
    void fileExistsTellsReadableRegularFiles();
    void anUnreadableFileCountsAsMissing();

private:
    QString path(const QString &name) const
    {
        return m_folder->path() + '/' + name;
    }
    void folder(const QString &name)
    {
        QVERIFY(QDir().mkpath(path(name)));
    }
    void picture(const QString &base);
    Run run(const QString &directory, const QStringList &arguments = {});
    QByteArray found(const QString &directory, const QByteArray &up) const;

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestStartup::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
    qputenv(ContractCallLog, QFile::encodeName(path("calls")));
}

void TestStartup::picture(const QString &base)
{
    folder(base + "/Pics");
    write(path(base + "/Pics/Red.bmp"), "BM");
}

Run TestStartup::run(const QString &directory, const QStringList &arguments)
{
    QProcess process;
    process.setWorkingDirectory(path(directory));
    process.start(QStringLiteral(INITDATA_PROBE), arguments);
    if (!process.waitForFinished(Patience) || process.exitStatus() != QProcess::NormalExit)
        return {-1, process.readAllStandardOutput(), process.readAllStandardError()};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

/** What the probe prints when the base directory is `up` of `directory` and holds no library. */
QByteArray TestStartup::found(const QString &directory, const QByteArray &up) const
{
    const QByteArray work = QFile::encodeName(path(directory));
    const QByteArray base = work + up;
    return "File with library " + base +
           "/Libs/DBLib.a not found\n"
           "InitDBSensors<\nInitDBSensors> \nInitDBEvents<\nInitDBEventss> \nInitDBCommands<\nInitDBCommands> \n"
           "InitData=0\nCurWD=" +
           work + "\nBaseWD=" + base + "\nConfigWD=" + base + "/Config\nDLLWD=" + base + "/Libs\nlibrary=0\n";
}

void TestStartup::theParentIsTheFirstCandidate()
{
    picture("base");
    folder("base/bin");
    const Run result = run("base/bin");
    QCOMPARE(result.status, 0);
    QCOMPARE(result.out, found("base/bin", "/.."));
    QCOMPARE(result.err, QByteArray());
}

void TestStartup::twoLevelsDeeperTheSecondCandidateIsFound()
{
    picture("base");
    folder("base/a/bin");
    QCOMPARE(run("base/a/bin").out, found("base/a/bin", "/../.."));
}

void TestStartup::threeLevelsDeeperTheThirdCandidateIsFound()
{
    picture("base");
    folder("base/a/b/bin");
    QCOMPARE(run("base/a/b/bin").out, found("base/a/b/bin", "/../../.."));
}

void TestStartup::fourLevelsDeeperNothingIsFound()
{
    picture("base");
    folder("base/a/b/c/bin");
    QCOMPARE(run("base/a/b/c/bin").status, 255);
}

void TestStartup::theNearestCandidateWins()
{
    picture("base");
    picture("base/a");
    folder("base/a/bin");
    QCOMPARE(run("base/a/bin").out, found("base/a/bin", "/.."));
}

void TestStartup::picturesInTheWorkingDirectoryItselfAreNotFound()
{
    picture("base/a/b/bin");
    QCOMPARE(run("base/a/b/bin").status, 255);
}

void TestStartup::withoutABaseDirectoryABoxWithoutParentAndStatus255()
{
    folder("base/a/bin");
    const Run result = run("base/a/bin", {"box"});
    QCOMPARE(result.status, 255);
    QCOMPARE(result.out, QByteArray("box no parent|Can't find base dir|Can't find base dir\n"));
    QCOMPARE(result.err, QByteArray());
}

void TestStartup::withoutABoxTheMessageGoesToStandardError()
{
    folder("base/a/bin");
    const Run result = run("base/a/bin");
    QCOMPARE(result.status, 255);
    QCOMPARE(result.out, QByteArray());
    QCOMPARE(result.err, QByteArray("Can't find base dir\n"));
}

void TestStartup::aDirectoryNamedAsThePictureCountsAsMissing()
{
    folder("base/Pics/Red.bmp");
    folder("base/a/b/bin");
    QCOMPARE(run("base/a/b/bin").status, 255);
}

void TestStartup::aPipeNamedAsThePictureCountsAsMissing()
{
    folder("base/Pics");
    folder("base/a/b/bin");
    QCOMPARE(mkfifo(QFile::encodeName(path("base/Pics/Red.bmp")).constData(), 0600), 0);
    QCOMPARE(run("base/a/b/bin").status, 255);
}

void TestStartup::aSecondCallDoesNotSearchAgainButLoadsAgain()
{
    picture("base");
    folder("base/bin");
    picture("other");
    folder("other/bin");
    const QByteArray once = found("base/bin", "/..");
    QCOMPARE(run("base/bin", {path("other/bin")}).out, once + once);
}

void TestStartup::theLibraryIsLoadedBeforeTheInitialisersRun()
{
    picture("base");
    folder("base/bin");
    QVERIFY(QFile::link(libraryFolder("cxx"), path("base/Libs")));
    const Run result = run("base/bin");
    QVERIFY2(result.out.startsWith("C++ modules are loaded\nInitDBSensors<\n"), result.out);
    QVERIFY2(result.out.endsWith("library=1\n"), result.out);
}

void TestStartup::theLibraryGetsTheConfigurationDirectory()
{
    picture("base");
    folder("base/bin");
    QVERIFY(QFile::link(libraryFolder("cxx"), path("base/Libs")));
    run("base/bin", {path("base")});
    const QByteArray config = QFile::encodeName(path("base/bin/../Config")) + '\n';
    const QByteArray once = "FInitDBSensors " + config + "FInitDBEvents " + config + "FInitDBCommands " + config;
    QCOMPARE(read(path("calls")), once + once);
}

void TestStartup::aWorkingDirectoryThatIsGoneIsNoBaseDirectory()
{
    picture("base");
    folder("base/bin");
    QProcess process;
    process.setWorkingDirectory(path("base/bin"));
    process.start("/bin/sh", {"-c", "rmdir \"$PWD\" && exec '" INITDATA_PROBE "'"});
    QVERIFY(process.waitForFinished(Patience));
    QCOMPARE(process.exitCode(), 255);
    const QByteArray told = process.readAllStandardError();
    QVERIFY2(told.startsWith("The working directory cannot be read: "), told);
    QVERIFY2(told.endsWith("Can't find base dir\n"), told);
}

void TestStartup::aPathBeyondAsciiIsFound()
{
    picture(QString::fromUtf8("caf\xc3\xa9 und Stra\xc3\x9f"
                              "e"));
    const QString directory = QString::fromUtf8("caf\xc3\xa9 und Stra\xc3\x9f"
                                                "e/bin 1");
    folder(directory);
    QCOMPARE(run(directory).out, found(directory, "/.."));
}

/** Runs the probe in a folder that is made and entered step by step: no text and no call need take its whole path. */
static Run runBelow(const QString &start, const QByteArrayList &steps)
{
    const QString before = QDir::currentPath();
    QDir::setCurrent(start);
    for (const QByteArray &step : steps)
        if (mkdir(step.constData(), 0700) != 0 || chdir(step.constData()) != 0)
            qFatal("A folder cannot be made or entered");
    QProcess process;
    process.start("/bin/sh", {"-c", "mkdir ../Pics && : >../Pics/Red.bmp && exec '" INITDATA_PROBE "'"});
    const bool ended = process.waitForFinished(Patience);
    QDir::setCurrent(before);
    QProcess::execute("rm", {"-rf", start + "/" + steps.first()});
    return {ended ? process.exitCode() : -1, process.readAllStandardOutput(), process.readAllStandardError()};
}

void TestStartup::aPathThatIsNoTextIsRefusedWithTheReason()
{
    const Run result = runBelow(m_folder->path(), {"a", "caf\xe9", "bin"});
    QCOMPARE(result.status, 255);
    QCOMPARE(result.out, QByteArray());
    QCOMPARE(result.err, "The path of the working directory has bytes that are no text here: " +
                             QFile::encodeName(path("a/caf")) + "\\xe9/bin\nCan't find base dir\n");
}

void TestStartup::aLongPathIsFoundOrRefusedWithTheReason_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<bool>("found");
    QTest::newRow("the longest") << PATH_MAX - 64 << true;
    QTest::newRow("one longer") << PATH_MAX - 63 << false;
    QTest::newRow("the longest that the system knows") << PATH_MAX - 1 << false;
    QTest::newRow("a longer one") << PATH_MAX + 500 << false;
}

void TestStartup::aLongPathIsFoundOrRefusedWithTheReason()
{
    QFETCH(int, length);
    QFETCH(bool, found);
    QByteArrayList steps = {"a"};
    int left = length - QFile::encodeName(path("a")).size();
    for (; left > 250; left -= 101)
        steps << QByteArray(100, 'd');
    steps << QByteArray(left - 1, 'e');
    const Run result = runBelow(m_folder->path(), steps);
    QCOMPARE(result.status, found ? 0 : 255);
    const QByteArray told = "The path of the working directory is too long: " + QFile::encodeName(path("a/ddd"));
    QVERIFY2(found ? result.err.isEmpty() : result.err.startsWith(told), result.err);
}

void TestStartup::fileExistsTellsReadableRegularFiles()
{
    write(path("file"), "");
    folder("directory");
    QCOMPARE(mkfifo(QFile::encodeName(path("pipe")).constData(), 0600), 0);
    QCOMPARE(exists(path("file")), 1);
    QCOMPARE(exists(path("directory")), 0);
    QCOMPARE(exists(path("pipe")), 0);
    QCOMPARE(exists(path("absent")), 0);
    QCOMPARE(exists(path("file/below")), 0);
    QCOMPARE(FileExists(""), 0);
}

void TestStartup::anUnreadableFileCountsAsMissing()
{
    QCOMPARE(chmod(QFile::encodeName(m_folder->path()).constData(), 0755), 0);
    write(path("file"), "x");
    const QByteArray name = QFile::encodeName(path("file"));
    QCOMPARE(existsForAnOrdinaryUser(name), 1);
    QCOMPARE(chmod(name.constData(), 0), 0);
    QCOMPARE(existsForAnOrdinaryUser(name), 0);
}

QTEST_GUILESS_MAIN(TestStartup)
#include "startuptest.moc"
