// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The windows on a library behind the bridge, of this word width or of 32 bits, show and do what
// they show and do on the library itself.
#include "lookingatwindows.h"

#include <QTemporaryDir>

using namespace LibraryFixture;
using LookingAtWindows::Seen;

class BridgeWindowsTest : public WindowTestBase
{
    Q_OBJECT

private slots:
    void aLibraryBehindTheBridgeIsAsTheLibraryItself_data();
    void aLibraryBehindTheBridgeIsAsTheLibraryItself();
#ifdef OBRIM_LIBRARIES_32
    void wrongSizesOf32BitsAreShown();
#endif
#ifdef OBRIM_EXISTING_LIBRARY
    void anExistingLibraryShowsItsRecords();
#endif

private:
    /** Loads the library of a folder as the start of the program does, and works all windows. */
    Seen look(const QString &folder);
    /** The same with the library behind the bridge. */
    Seen lookThroughBridge(const QString &folder);

    QTemporaryDir m_folder;
};

Seen BridgeWindowsTest::look(const QString &folder)
{
    return LookingAtWindows::look(folder, m_folder.path());
}

Seen BridgeWindowsTest::lookThroughBridge(const QString &folder)
{
    QByteArray definitions = "Library=" + QFile::encodeName(folder) + "/DBLib.a\n";
    if (QFile::exists(folder + "/Funs.def"))
        definitions += "Functions=" + QFile::encodeName(folder) + "/Funs.def\n";
    write(m_folder.filePath("DBLib.def"), definitions);
    return look(QFile::decodeName(OBRIM_BRIDGE_FOLDER));
}

void BridgeWindowsTest::aLibraryBehindTheBridgeIsAsTheLibraryItself_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("bridged");
    for (const char *name : {"cxx",
                             "renamed",
                             "no-release",
                             "sensor-size",
                             "sensor-high-half",
                             "sensor-zero",
                             "event-size",
                             "event-request-size",
                             "event-no-high-half",
                             "event-no-low-half",
                             "event-negative",
                             "command-size",
                             "command-request-size",
                             "command-no-high-half",
                             "null-array",
                             "zero-count",
                             "negative-count",
                             "low-count",
                             "no-records",
                             "odd-records",
                             "codes",
                             "prints",
                             "throws-query",
                             "throws-fetch",
                             "throws-release",
                             "throws-init",
                             "throws-put",
                             "throws-delete",
                             "throws-number"})
        QTest::newRow(name) << name << libraryFolder(name);
    // In C there is neither a way to delete, nor a call to be logged for it.
    for (const char *name : {"c", "both"})
        QTest::newRow(name) << name << libraryFolder(name);
#ifdef OBRIM_LIBRARIES_32
    for (const char *name : {"cxx", "renamed", "null-array", "negative-count", "low-count", "odd-records", "codes",
                             "throws-query", "throws-fetch", "throws-put"})
        QTest::addRow("%s, 32 bits", name) << name << QFile::decodeName(OBRIM_LIBRARIES_32) + '/' + name;
#endif
}

void BridgeWindowsTest::aLibraryBehindTheBridgeIsAsTheLibraryItself()
{
    QFETCH(QString, name);
    QFETCH(QString, bridged);
    if (QFile::exists(libraryFolder(name) + "/Funs.def"))
        QVERIFY(QFile::copy(libraryFolder(name) + "/Funs.def", m_folder.filePath("Funs.def")));
    const Seen direct = look(libraryFolder(name));
    QFile::remove(m_folder.filePath("Funs.def"));
    const Seen through = lookThroughBridge(bridged);
    QCOMPARE(through.rows, direct.rows);
    QCOMPARE(through.boxes, direct.boxes);
    QCOMPARE(through.calls, direct.calls);
    QVERIFY(!direct.calls.isEmpty());
}

#ifdef OBRIM_LIBRARIES_32
void BridgeWindowsTest::wrongSizesOf32BitsAreShown()
{
    const Seen seen = lookThroughBridge(QFile::decodeName(OBRIM_LIBRARIES_32) + "/event-size");
    QVERIFY(seen.boxes.contains("|FDBGetEvents return incorrect struct size:sizeof(CMessageEvent)=72,return=48; "
                                "size(CCMessageEventRequest)=104,return=80"));
    QCOMPARE(seen.rows.filter("level"), QStringList());
    QVERIFY(seen.rows.filter("sensor1").size() > 0);
}
#endif

#ifdef OBRIM_EXISTING_LIBRARY
void BridgeWindowsTest::anExistingLibraryShowsItsRecords()
{
    write(m_folder.filePath("DBLib.def"), "Library=" OBRIM_EXISTING_LIBRARY "\n");
    const Seen seen = look(QFile::decodeName(OBRIM_BRIDGE_FOLDER));
    const QStringList sensors = {"boiler|in the hall|Is Alive", "meter \xc3\xa9|in the hall|", "valve||IsDead"};
    QCOMPARE(QStringList(seen.rows.mid(1, 3)), sensors);
    const QStringList events = {
        "meter \xc3\xa9|4|latest|Tue Jan 19 03:14:07 2038|",
        "boiler|3|at 0|Thu Jan 1 00:00:00 1970|",
        "valve|2|before 1970|Wed Dec 31 23:59:59 1969|level=-5;ratio=0.5;unit=mV;odd=",
        "boiler|1|oldest|Fri Dec 13 20:45:52 1901|",
    };
    const int atEvents = int(seen.rows.indexOf("events"));
    for (int i = 0; i < events.size(); ++i)
        QCOMPARE(seen.rows.at(atEvents + 1 + i).section('|', 1), events.at(i));
    const QStringList commands = {
        "meter \xc3\xa9|14|4|Tue Jan 19 03:14:07 2038|",
        "boiler|13|3|Sun Sep 9 01:46:40 2001|",
        "valve|12|2|Wed Dec 31 23:59:59 1969|level=-5;ratio=0.5;unit=mV;odd=",
        "boiler|11|1|Fri Dec 13 20:45:52 1901|",
    };
    const int atCommands = int(seen.rows.indexOf("commands"));
    for (int i = 0; i < commands.size(); ++i)
        QCOMPARE(seen.rows.at(atCommands + 1 + i).section('|', 1), commands.at(i));
}
#endif

QTEST_MAIN(BridgeWindowsTest)
#include "bridgewindowstest.moc"
