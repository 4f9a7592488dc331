// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The windows on a recording show what they showed when it was made, whatever word width recorded.
#include "lookingatwindows.h"

#include <QTemporaryDir>

using namespace LibraryFixture;
using LookingAtWindows::Seen;

class RecordingWindowsTest : public WindowTestBase
{
    Q_OBJECT

private slots:
    void aRecordedSessionShowsTheSameRows_data();
    void aRecordedSessionShowsTheSameRows();
#ifdef OBRIM_BRIDGE_FOLDER
    void aSessionOfA32BitLibraryIsRecordedThroughTheBridge();
#endif
    void aRecordingOfEachWordWidthIsPlayed_data();
    void aRecordingOfEachWordWidthIsPlayed();

private:
    Seen look(const char *folder, const QByteArray &definitions);

    QTemporaryDir m_config;
};

Seen RecordingWindowsTest::look(const char *folder, const QByteArray &definitions)
{
    write(m_config.filePath("DBLib.def"), definitions);
    return LookingAtWindows::look(QFile::decodeName(folder), m_config.path());
}

void RecordingWindowsTest::aRecordedSessionShowsTheSameRows_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"cxx", "event-size", "null-array", "negative-count", "low-count", "no-records",
                             "odd-records", "codes", "throws-fetch", "throws-put"})
        QTest::newRow(name) << name;
}

void RecordingWindowsTest::aRecordedSessionShowsTheSameRows()
{
    QFETCH(QString, name);
    const QTemporaryDir folder;
    const QByteArray file = QFile::encodeName(folder.filePath("session.rec"));
    const QByteArray library = QFile::encodeName(libraryFolder(name)) + "/DBLib.a";
    const Seen direct = look(QFile::encodeName(libraryFolder(name)), {});
    const Seen recorded = look(OBRIM_RECORDER_FOLDER, "Library=" + library + "\nRecord=" + file + "\n");
    QCOMPARE(recorded.rows, direct.rows);
    QCOMPARE(recorded.boxes, direct.boxes);
    QCOMPARE(recorded.calls, direct.calls);
    const Seen played = look(OBRIM_PLAYER_FOLDER, "Play=" + file + "\n");
    QCOMPARE(played.rows, direct.rows);
    QCOMPARE(played.boxes, direct.boxes);
    QVERIFY(played.calls.isEmpty());
}

#ifdef OBRIM_BRIDGE_FOLDER
void RecordingWindowsTest::aSessionOfA32BitLibraryIsRecordedThroughTheBridge()
{
    const QTemporaryDir folder;
    const QByteArray file = QFile::encodeName(folder.filePath("session.rec"));
    const Seen direct = look(OBRIM_BRIDGE_FOLDER, "Library=" OBRIM_EXISTING_LIBRARY "\n");
    const Seen recorded =
        look(OBRIM_RECORDER_FOLDER,
             "Library=" OBRIM_EXISTING_LIBRARY "\nRecorded=" OBRIM_BRIDGE_FOLDER "/DBLib.a\nRecord=" + file + "\n");
    QCOMPARE(recorded.rows, direct.rows);
    QVERIFY(direct.rows.size() > 15);
    QCOMPARE(look(OBRIM_PLAYER_FOLDER, "Play=" + file + "\n").rows, direct.rows);
}
#endif

void RecordingWindowsTest::aRecordingOfEachWordWidthIsPlayed_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::newRow("32 bits") << QByteArray(OBRIM_RECORDINGS "/32bits.rec");
    QTest::newRow("64 bits") << QByteArray(OBRIM_RECORDINGS "/64bits.rec");
}

void RecordingWindowsTest::aRecordingOfEachWordWidthIsPlayed()
{
    QFETCH(QByteArray, file);
    const Seen direct = look(QFile::encodeName(libraryFolder("cxx")), {});
    QCOMPARE(look(OBRIM_PLAYER_FOLDER, "Play=" + file + "\n").rows, direct.rows);
    QVERIFY(direct.rows.size() > 10);
}

QTEST_MAIN(RecordingWindowsTest)
#include "recordingwindowstest.moc"
