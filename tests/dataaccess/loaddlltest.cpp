// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "libraryfixture.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <dlfcn.h>
#include <elf.h>
#include <sys/stat.h>

using namespace LibraryFixture;

namespace
{
struct Loaded {
    int result;
    QByteArray out;
    QByteArray err;
};

Loaded load(const QString &folder)
{
    int result = 99;
    const Output output = captured([&] { result = LoadDLL(folder); });
    return {result, output.out, output.err};
}

QByteArray cannotLoad(const char *symbol)
{
    return QByteArray("Can't load function ") + symbol + "()\n\n";
}

const char TryC[] = "Can't load C++ modules. Try to load C modules...\n";
const char *const FirstCxx = DBSymbols[0].cxx;
const char *const FirstC = DBSymbols[0].key;
const QByteArray All = "1111111111";
const QByteArray None = "0000000000";
const QByteArray COnly = "1111111000";
} // namespace

class TestLoadDLL : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void withoutALibraryFileTheResultIsAnErrorAndNoFunctionIsSet();
    void whatIsNoRegularFileCountsAsAbsent();
    void aFileThatIsNoLibraryIsNoErrorAndNamesTheReason();
    void aLibraryOfAnotherWordWidthIsToldSo();
    void aLibraryThatIsCutOffIsNotTouchedAndNamesWhatIsMissing();
    void aLibraryThatLacksAFunctionIsToldSo();
    void aFunctionThatNobodyHasIsNotMissedBeforeItsCall();
    void symbolsOfTheLibraryAreSeenByAllThatIsLoadedLater();
    void aCxxLibraryGivesAllTen();
    void aCLibraryGivesSevenAfterTheFirstCxxSymbolIsMissing();
    void aMissingCxxSymbol_data();
    void aMissingCxxSymbol();
    void aMissingCSymbol_data();
    void aMissingCSymbol();
    void afterACPassTheCxxOnlyFunctionsKeepWhatTheCxxPassFound();
    void aSymbolWithoutAnAddressCountsAsMissing();
    void aNameMapRenamesAllTen();
    void aNameMapKeyMatchesInAnyLetterCaseAndQuotesAreDropped();
    void aMappedNameIsTriedInBothPassesAndNotNamedInTheMessage();
    void aMappedCNameIsFoundInTheCxxPass();
    void aNameMapThatCannotBeReadMeansDefaultNames_data();
    void aNameMapThatCannotBeReadMeansDefaultNames();
    void aNameMapIsReadUpToItsFortiethLine();
    void longNamesAndPathsOverrunNothing();
    void anotherCallWithoutALibraryKeepsThePointers();
    void anotherCallLeavesWhatItDoesNotReach();
    void repeatedCallsFindTheSameFunctions();

private:
    QString map(const QByteArray &contents);

    QTemporaryDir m_folder;
};

/** Makes `contents` the function-name map of the next call. */
QString TestLoadDLL::map(const QByteArray &contents)
{
    write(m_folder.filePath("Funs.def"), contents);
    ConfigWD = m_folder.path();
    return ConfigWD;
}

void TestLoadDLL::init()
{
    forgetLibrary();
    for (const QString &entry :
         QDir(m_folder.path()).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)) {
        const QString path = m_folder.filePath(entry);
        QVERIFY(QFile::remove(path) || QDir(path).removeRecursively());
    }
}

void TestLoadDLL::withoutALibraryFileTheResultIsAnErrorAndNoFunctionIsSet()
{
    const Loaded loaded = load(m_folder.path());
    QCOMPARE(loaded.result, -1);
    QCOMPARE(loaded.out, "File with library " + QFile::encodeName(m_folder.path()) + "/DBLib.a not found\n");
    QCOMPARE(loaded.err, QByteArray());
    QCOMPARE(pointersSet(), None);
}

void TestLoadDLL::whatIsNoRegularFileCountsAsAbsent()
{
    const QString path = m_folder.filePath("DBLib.a");
    QVERIFY(QDir().mkdir(path));
    QCOMPARE(load(m_folder.path()).result, -1);
    QVERIFY(QDir().rmdir(path));
    QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    QCOMPARE(load(m_folder.path()).result, -1);
}

void TestLoadDLL::aFileThatIsNoLibraryIsNoErrorAndNamesTheReason()
{
    write(m_folder.filePath("DBLib.a"), "!<arch>\nno shared object at all, whatever its name promises\n");
    const QByteArray path = QFile::encodeName(m_folder.filePath("DBLib.a"));
    const Loaded loaded = load(m_folder.path());
    QCOMPARE(loaded.result, 0);
    QCOMPARE(loaded.out, "Can't open library " + path + "\n");
    QVERIFY2(loaded.err.startsWith(path + ": "), loaded.err);
    QCOMPARE(loaded.err.count('\n'), 1);
    QCOMPARE(pointersSet(), None);
}

void TestLoadDLL::aLibraryOfAnotherWordWidthIsToldSo()
{
    const bool wide = sizeof(void *) == 8;
    QByteArray header(64, '\0');
    header.replace(0, SELFMAG, ELFMAG);
    header[EI_CLASS] = wide ? ELFCLASS32 : ELFCLASS64;
    header[EI_DATA] = ELFDATA2LSB;
    header[EI_VERSION] = EV_CURRENT;
    write(m_folder.filePath("DBLib.a"), header);
    const QByteArray path = QFile::encodeName(m_folder.filePath("DBLib.a"));
    const Loaded loaded = load(m_folder.path());
    QCOMPARE(loaded.result, 0);
    QCOMPARE(loaded.out, "Can't open library " + path + "\n");
    const QByteArray told = wide ? path + " is a 32-bit library, this program is 64-bit\n"
                                 : path + " is a 64-bit library, this program is 32-bit\n";
    QVERIFY2(loaded.err.endsWith(told), loaded.err);
    QCOMPARE(loaded.err.count('\n'), 1);
}

void TestLoadDLL::aLibraryThatIsCutOffIsNotTouchedAndNamesWhatIsMissing()
{
    const QString file = m_folder.filePath("DBLib.a");
    const QByteArray path = QFile::encodeName(file);
    const QByteArray whole = read(libraryFolder("cxx") + "/DBLib.a");
    // The system's loader takes the first of these and dies when it reads the symbols.
    for (const int length : {4096, 8000, 12288}) {
        write(file, whole.left(length));
        const Loaded loaded = load(m_folder.path());
        QCOMPARE(loaded.result, 0);
        QCOMPARE(loaded.out, "Can't open library " + path + "\n");
        QVERIFY2(loaded.err.startsWith(path + " is cut off: a segment has "), loaded.err);
        QVERIFY2(loaded.err.endsWith(", the file has " + QByteArray::number(length) + " bytes\n"), loaded.err);
        QCOMPARE(pointersSet(), None);
    }
}

void TestLoadDLL::aLibraryThatLacksAFunctionIsToldSo()
{
    const Loaded loaded = load(libraryFolder("unresolved"));
    QCOMPARE(loaded.result, 0);
    QVERIFY2(loaded.err.contains("obrimFunctionThatNobodyHas"), loaded.err);
    QCOMPARE(loaded.err.count('\n'), 1);
    QCOMPARE(pointersSet(), None);
}

void TestLoadDLL::aFunctionThatNobodyHasIsNotMissedBeforeItsCall()
{
    const Loaded loaded = load(libraryFolder("unresolved-lazy"));
    QCOMPARE(loaded.result, 0);
    QVERIFY2(loaded.out.endsWith("C modules are loaded\n"), loaded.out);
    QCOMPARE(pointersSet(), COnly);
}

void TestLoadDLL::symbolsOfTheLibraryAreSeenByAllThatIsLoadedLater()
{
    load(libraryFolder("unresolved-lazy"));
    QVERIFY(dlsym(RTLD_DEFAULT, "callsIt"));
}

void TestLoadDLL::aCxxLibraryGivesAllTen()
{
    const Loaded loaded = load(libraryFolder("cxx"));
    QCOMPARE(loaded.result, 0);
    QCOMPARE(loaded.out, QByteArray("C++ modules are loaded\n"));
    QCOMPARE(loaded.err, QByteArray());
    QCOMPARE(pointersSet(), All);
    QCOMPARE(FDBGetSensors(nullptr, nullptr), SensorSize);
    QCOMPARE(FDBGetEvents(nullptr, nullptr, nullptr), EventSizes);
    QCOMPARE(FDBGetCommands(nullptr, nullptr, nullptr), CommandSizes);
}

void TestLoadDLL::aCLibraryGivesSevenAfterTheFirstCxxSymbolIsMissing()
{
    const Loaded loaded = load(libraryFolder("c"));
    QCOMPARE(loaded.result, 0);
    QCOMPARE(loaded.out, cannotLoad("_Z13FDBGetSensorsPiPP7CSensor") + TryC + "C modules are loaded\n");
    QVERIFY2(loaded.err.contains("_Z13FDBGetSensorsPiPP7CSensor"), loaded.err);
    QCOMPARE(loaded.err.count('\n'), 1);
    QCOMPARE(pointersSet(), COnly);
    QCOMPARE(FDBGetEvents(nullptr, nullptr, nullptr), EventSizes);
}

void TestLoadDLL::aMissingCxxSymbol_data()
{
    QTest::addColumn<int>("place");
    for (int place = 0; place < DBFunctionCount; ++place)
        QTest::newRow(DBSymbols[place].key) << place;
}

void TestLoadDLL::aMissingCxxSymbol()
{
    QFETCH(int, place);
    const Loaded loaded = load(libraryFolder(QStringLiteral("missing-cxx-%1").arg(place)));
    QCOMPARE(loaded.result, -1);
    QCOMPARE(loaded.out, cannotLoad(DBSymbols[place].cxx) + TryC + cannotLoad(FirstC));
    QVERIFY2(loaded.err.contains(DBSymbols[place].cxx), loaded.err);
    QCOMPARE(loaded.err.count('\n'), 2);
    QByteArray expected = All.left(place) + None.mid(place);
    expected[0] = '0'; // the C pass failed at the first function and set it to what it found: nothing
    QCOMPARE(pointersSet(), expected);
}

void TestLoadDLL::aMissingCSymbol_data()
{
    QTest::addColumn<int>("place");
    for (int place = 0; place < DBCFunctionCount; ++place)
        QTest::newRow(DBSymbols[place].key) << place;
}

void TestLoadDLL::aMissingCSymbol()
{
    QFETCH(int, place);
    const Loaded loaded = load(libraryFolder(QStringLiteral("missing-c-%1").arg(place)));
    QCOMPARE(loaded.result, -1);
    QCOMPARE(loaded.out, cannotLoad(FirstCxx) + TryC + cannotLoad(DBSymbols[place].key));
    QCOMPARE(pointersSet(), All.left(place) + None.mid(place));
}

void TestLoadDLL::afterACPassTheCxxOnlyFunctionsKeepWhatTheCxxPassFound()
{
    const Loaded loaded = load(libraryFolder("both"));
    QCOMPARE(loaded.result, 0);
    QCOMPARE(loaded.out, cannotLoad("_Z14FDBDeleteEventi") + TryC + "C modules are loaded\n");
    QCOMPARE(pointersSet(), QByteArray("1111111110"));
}

void TestLoadDLL::aSymbolWithoutAnAddressCountsAsMissing()
{
    const Loaded loaded = load(libraryFolder("null-symbol"));
    QCOMPARE(loaded.result, 0);
    QCOMPARE(loaded.out, cannotLoad(FirstCxx) + TryC + "C modules are loaded\n");
    QCOMPARE(loaded.err, QByteArray(FirstCxx) + ": the symbol has no address\n");
}

void TestLoadDLL::aNameMapRenamesAllTen()
{
    ConfigWD = libraryFolder("renamed");
    const Loaded loaded = load(libraryFolder("renamed"));
    QCOMPARE(loaded.result, 0);
    QCOMPARE(loaded.out, QByteArray("C++ modules are loaded\n"));
    QCOMPARE(pointersSet(), All);
    QCOMPARE(FDBGetCommands(nullptr, nullptr, nullptr), CommandSizes);
}

void TestLoadDLL::aNameMapKeyMatchesInAnyLetterCaseAndQuotesAreDropped()
{
    QByteArray lines = read(libraryFolder("renamed") + "/Funs.def");
    lines.replace("FDBGetSensors=DBGetSensors", "fdbgetSENSORS=\"DBGetSensors\"");
    QVERIFY(lines.contains("SENSORS"));
    map(lines);
    QCOMPARE(load(libraryFolder("renamed")).out, QByteArray("C++ modules are loaded\n"));
    QCOMPARE(pointersSet(), All);
}

void TestLoadDLL::aMappedNameIsTriedInBothPassesAndNotNamedInTheMessage()
{
    map("FDBGetSensors=GiveSensors\n");
    const Loaded loaded = load(libraryFolder("cxx"));
    QCOMPARE(loaded.result, -1);
    QCOMPARE(loaded.out, cannotLoad(FirstCxx) + TryC + cannotLoad(FirstC));
    QCOMPARE(loaded.err.count("GiveSensors: "), 2);
    QCOMPARE(pointersSet(), None);
}

void TestLoadDLL::aMappedCNameIsFoundInTheCxxPass()
{
    map("FDBGetSensors=FDBGetSensors\n");
    const Loaded loaded = load(libraryFolder("c"));
    QCOMPARE(loaded.out, cannotLoad(DBSymbols[1].cxx) + TryC + "C modules are loaded\n");
    QCOMPARE(pointersSet(), COnly);
}

void TestLoadDLL::aNameMapThatCannotBeReadMeansDefaultNames_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("absent") << "absent";
    QTest::newRow("directory") << "directory";
    QTest::newRow("pipe") << "pipe";
}

void TestLoadDLL::aNameMapThatCannotBeReadMeansDefaultNames()
{
    QFETCH(QString, kind);
    const QString path = m_folder.filePath("Funs.def");
    if (kind == "directory")
        QVERIFY(QDir().mkdir(path));
    else if (kind == "pipe")
        QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    ConfigWD = m_folder.path();
    QCOMPARE(load(libraryFolder("cxx")).out, QByteArray("C++ modules are loaded\n"));
}

void TestLoadDLL::aNameMapIsReadUpToItsFortiethLine()
{
    QByteArray filler;
    for (int i = 0; i < 39; ++i)
        filler += "Other" + QByteArray::number(i) + "=x\n";
    map(filler + "FDBGetSensors=Missing\n");
    QCOMPARE(load(libraryFolder("cxx")).result, -1);
    map(filler + "Other39=x\nFDBGetSensors=Missing\n");
    QCOMPARE(load(libraryFolder("cxx")).result, 0);
}

void TestLoadDLL::longNamesAndPathsOverrunNothing()
{
    map("FDBGetSensors=" + QByteArray(10000, 'x') + "\n");
    QCOMPARE(load(libraryFolder("cxx")).result, -1);
    const QByteArray folder = "/" + QByteArray(20000, 'y');
    const Loaded loaded = load(QString::fromLatin1(folder));
    QCOMPARE(loaded.result, -1);
    QCOMPARE(loaded.out, "File with library " + folder + "/DBLib.a not found\n");
}

void TestLoadDLL::anotherCallWithoutALibraryKeepsThePointers()
{
    QCOMPARE(load(libraryFolder("cxx")).result, 0);
    DBGetEventsFunction *const before = FDBGetEvents;
    QCOMPARE(load(m_folder.path()).result, -1);
    QCOMPARE(pointersSet(), All);
    QVERIFY(FDBGetEvents == before);
    QCOMPARE(FDBGetEvents(nullptr, nullptr, nullptr), EventSizes);
}

void TestLoadDLL::anotherCallLeavesWhatItDoesNotReach()
{
    load(libraryFolder("cxx"));
    DBGetCommandsFunction *const commands = FDBGetCommands;
    DBPutEventFunction *const putEvent = FDBPutEvent;
    QCOMPARE(load(libraryFolder("missing-c-2")).result, -1);
    QCOMPARE(pointersSet(), QByteArray("1101111111"));
    QVERIFY(FDBGetCommands == commands);
    QVERIFY(FDBPutEvent == putEvent);
}

void TestLoadDLL::repeatedCallsFindTheSameFunctions()
{
    load(libraryFolder("cxx"));
    DBGetSensorsFunction *const sensors = FDBGetSensors;
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(load(libraryFolder("cxx")).out, QByteArray("C++ modules are loaded\n"));
        QVERIFY(FDBGetSensors == sensors);
    }
}

QTEST_GUILESS_MAIN(TestLoadDLL)
#include "loaddlltest.moc"
