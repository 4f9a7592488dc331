// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Records that do not agree with themselves, and the test data source. Every test runs for the windows of events and of
// commands.
#include "capturedoutput.h"
#include "recordwindowtesting.h"

#include <QFile>
#include <QTemporaryDir>

class RecordWindowSourcesTest : public RecordWindowTestBase
{
    Q_OBJECT

private slots:
    void corruptRecordsAreShownAsFarAsTheyGo();
    void testDataShowsItsRows();
    void testDataIsFetchedOnceALoad();
    void moreTestDataThanTheSourceHoldsIsNotOverrun();
    void emptyTestDataShowsNothing();
};

void RecordWindowSourcesTest::corruptRecordsAreShownAsFarAsTheyGo()
{
    eachKind([](auto kind) {
        using Record = typename decltype(kind)::Record;
        Record empty;
        Record unterminated = kind.record(2);
        unterminated.SensorID[2] = 'x';
        unterminated.LSensorID = 3; // "pux", no NUL
        Record parameters = kind.record(3);
        addParameter(parameters, "a", "b");
        parameters.par[0].LVal = 1;
        parameters.par[0].Val[0] = 'z'; // no NUL
        CMessageEventParam &name = parameters.par[0];
        CopyPtr(&name.Name, &name.LName, nullptr, 0);
        kind.source().answer = {empty, unterminated, parameters};
        const auto window = open(kind);
        ListView *list = kind.list(window.get());
        QCOMPARE(columnTexts(list, 1), QStringList({"", "pux", "pump"}));
        QCOMPARE(columnTexts(list, 5), QStringList({"", "", "(NULL)=z"}));
    });
}

static void writeBlocks(const QString &path, const char *block, int count)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    for (int i = 0; i < count; ++i)
        file.write(QString(block).arg(i).toLatin1());
}

void RecordWindowSourcesTest::testDataShowsItsRows()
{
    eachKind([](auto kind) {
        unsetLibrary();
        const QTemporaryDir directory;
        const QString file = directory.filePath(kind.TestFile);
        writeBlocks(file, kind.TestBlock, 5);
        kind.initTestData(directory.path());
        const auto window = open(kind);
        ListView *list = kind.list(window.get());
        QCOMPARE(columnTexts(list, 1), QStringList({"pump0", "pump1", "pump2", "pump3", "pump4"}));
        QCOMPARE(columnTexts(list, 0), QStringList({"004", "003", "002", "001", "000"}));

        writeBlocks(file, kind.TestBlock, 7);
        window->onUpdateList();
        QCOMPARE(list->childCount(), 7);
        kind.getNew(window.get());
        QCOMPARE(list->childCount(), 14);
    });
}

void RecordWindowSourcesTest::testDataIsFetchedOnceALoad()
{
    eachKind([](auto kind) {
        unsetLibrary();
        const QTemporaryDir directory;
        writeBlocks(directory.filePath(kind.TestFile), kind.TestBlock, 5);
        kind.initTestData(directory.path());
        const std::string load = kind.LoadTrace;
        std::string expected;
        for (int i = 0; i < kind.LoadsWhileBuilt; ++i)
            expected += load;
        const CapturedOutput output(stdout);
        const auto window = open(kind);
        QCOMPARE(output.text(), expected);
        window->onUpdateList();
        QCOMPARE(output.text(), expected + load);
        kind.getNew(window.get());
        QCOMPARE(output.text(), expected + load + load);
    });
}

void RecordWindowSourcesTest::moreTestDataThanTheSourceHoldsIsNotOverrun()
{
    eachKind([](auto kind) {
        unsetLibrary();
        const QTemporaryDir directory;
        writeBlocks(directory.filePath(kind.TestFile), kind.TestBlock, 5000);
        kind.initTestData(directory.path());
        const auto window = open(kind);
        QCOMPARE(kind.list(window.get())->childCount(), kind.TestCapacity);
        QCOMPARE(window->AccSensorID, 4);
    });
}

void RecordWindowSourcesTest::emptyTestDataShowsNothing()
{
    eachKind([](auto kind) {
        unsetLibrary();
        kind.initTestData("/nonexistent");
        const auto window = open(kind);
        QCOMPARE(kind.list(window.get())->childCount(), 0);
    });
}

QTEST_MAIN(RecordWindowSourcesTest)
#include "recordwindowsourcestest.moc"
