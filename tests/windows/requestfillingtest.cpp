// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "requestfilling.h"

#include "Messages.h"

#include <QTest>
#include <climits>

class RequestFillingTest : public QObject
{
    Q_OBJECT

private slots:
    void limit_data();
    void limit();
    void eventRequestCarriesEveryControl();
    void commandRequestCarriesEveryControl();
    void switchesFollowTheirBoxes();
    void eventTypeFilter_data();
    void eventTypeFilter();
    void commandTypeFilter_data();
    void commandTypeFilter();
    void fullLoadLeavesTheIdentifiersAlone();
    void onlyNewerRecordsAreAskedFor();
    void theLargestIdentifierCanBeAskedFor();
    void maskIsCopiedByteForByte();
    void emptyMaskIsNoFilter();
};

static FilterControls someControls()
{
    FilterControls controls;
    controls.nMax = "100";
    controls.whichGet = 1;
    controls.type = 2;
    controls.timeFrom = QDateTime::fromSecsSinceEpoch(1000);
    controls.timeFromUsed = true;
    controls.timeTo = QDateTime::fromSecsSinceEpoch(2000);
    controls.timeToUsed = true;
    return controls;
}

void RequestFillingTest::limit_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("expected");
    QTest::newRow("usual") << "100" << 100;
    QTest::newRow("zero") << "0" << 0;
    QTest::newRow("negative") << "-5" << -5;
    QTest::newRow("empty") << "" << 0;
    QTest::newRow("null") << QString() << 0;
    QTest::newRow("blanks around") << " 42 " << 42;
    QTest::newRow("word") << "many" << 0;
    QTest::newRow("number and word") << "12abc" << 0;
    QTest::newRow("fraction") << "1.5" << 0;
    QTest::newRow("hexadecimal") << "0x10" << 0;
    QTest::newRow("leading zeros are decimal") << "010" << 10;
    QTest::newRow("grouped") << "1,000" << 0;
    QTest::newRow("largest") << "2147483647" << INT_MAX;
    QTest::newRow("out of range") << "2147483648" << 0;
    QTest::newRow("far out of range") << "99999999999999999999" << 0;
}

void RequestFillingTest::limit()
{
    QFETCH(QString, text);
    QFETCH(int, expected);
    FilterControls controls;
    controls.nMax = text;
    CMessageEventRequest request;
    fillRequest(request, controls, QString());
    QCOMPARE(request.NMax, expected);
}

void RequestFillingTest::eventRequestCarriesEveryControl()
{
    CMessageEventRequest request;
    fillRequest(request, someControls(), "Pump");
    QCOMPARE(request.NMax, 100);
    QCOMPARE(request.TakeFirst1_Last0, 1);
    QCOMPARE(request.MessageType, 2);
    QCOMPARE(request.UseMessageType, 1);
    QCOMPARE(request.EventTime0, std::time_t(1000));
    QCOMPARE(request.UseEventTime0, 1);
    QCOMPARE(request.EventTime1, std::time_t(2000));
    QCOMPARE(request.UseEventTime1, 1);
    QCOMPARE(request.SensorID, "Pump");
    QCOMPARE(request.LSensorID, 5);
    QCOMPARE(request.UseSensorID, 1);
    QCOMPARE(request.SensorType, 0);
    QCOMPARE(request.UseSensorType, 0);
    QVERIFY(!request.EventName);
    QCOMPARE(request.LEventName, 0);
    QCOMPARE(request.UseEventName, 0);
}

void RequestFillingTest::commandRequestCarriesEveryControl()
{
    CMessageCommandRequest request;
    fillRequest(request, someControls(), "Pump");
    QCOMPARE(request.NMax, 100);
    QCOMPARE(request.TakeFirst1_Last0, 1);
    QCOMPARE(request.CommandType, 2);
    QCOMPARE(request.UseCommandType, 1);
    QCOMPARE(request.CommandTime0, std::time_t(1000));
    QCOMPARE(request.UseCommandTime0, 1);
    QCOMPARE(request.CommandTime1, std::time_t(2000));
    QCOMPARE(request.UseCommandTime1, 1);
    QCOMPARE(request.SensorID, "Pump");
    QCOMPARE(request.LSensorID, 5);
    QCOMPARE(request.UseSensorID, 1);
    QCOMPARE(request.MessageType, 0);
    QCOMPARE(request.UseMessageType, 0);
}

void RequestFillingTest::switchesFollowTheirBoxes()
{
    FilterControls controls = someControls();
    controls.timeFromUsed = false;
    CMessageEventRequest event;
    fillRequest(event, controls, QString());
    QCOMPARE(event.EventTime0, std::time_t(1000));
    QCOMPARE(event.UseEventTime0, 0);
    QCOMPARE(event.UseEventTime1, 1);

    controls.timeToUsed = false;
    controls.timeFromUsed = true;
    CMessageCommandRequest command;
    fillRequest(command, controls, QString());
    QCOMPARE(command.CommandTime1, std::time_t(2000));
    QCOMPARE(command.UseCommandTime0, 1);
    QCOMPARE(command.UseCommandTime1, 0);
}

void RequestFillingTest::eventTypeFilter_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("used");
    QTest::newRow("none checked") << -1 << 0;
    QTest::newRow("all") << 0 << 0;
    QTest::newRow("analysers") << 1 << 1;
    QTest::newRow("receivers") << 3 << 1;
}

void RequestFillingTest::eventTypeFilter()
{
    QFETCH(int, type);
    QFETCH(int, used);
    FilterControls controls;
    controls.type = type;
    CMessageEventRequest request;
    fillRequest(request, controls, QString());
    QCOMPARE(request.MessageType, type);
    QCOMPARE(request.UseMessageType, used);
}

void RequestFillingTest::commandTypeFilter_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("used");
    QTest::newRow("none checked asks for type -1") << -1 << 1;
    QTest::newRow("all") << 0 << 0;
    QTest::newRow("analysers") << 1 << 1;
    QTest::newRow("receivers") << 3 << 1;
}

void RequestFillingTest::commandTypeFilter()
{
    QFETCH(int, type);
    QFETCH(int, used);
    FilterControls controls;
    controls.type = type;
    CMessageCommandRequest request;
    fillRequest(request, controls, QString());
    QCOMPARE(request.CommandType, type);
    QCOMPARE(request.UseCommandType, used);
}

void RequestFillingTest::fullLoadLeavesTheIdentifiersAlone()
{
    CMessageEventRequest event;
    fillRequest(event, someControls(), QString());
    QCOMPARE(event.MessageID0, 0);
    QCOMPARE(event.MessageID1, 0);
    QCOMPARE(event.UseMessageID0, 0);
    QCOMPARE(event.UseMessageID1, 0);

    CMessageCommandRequest command;
    fillRequest(command, someControls(), QString());
    QCOMPARE(command.CommandID0, 0);
    QCOMPARE(command.CommandID1, 0);
    QCOMPARE(command.UseCommandID0, 0);
    QCOMPARE(command.UseCommandID1, 0);
}

void RequestFillingTest::onlyNewerRecordsAreAskedFor()
{
    CMessageEventRequest event;
    fillRequest(event, someControls(), QString(), 41);
    QCOMPARE(event.MessageID0, 42);
    QCOMPARE(event.UseMessageID0, 1);
    QCOMPARE(event.MessageID1, 0);
    QCOMPARE(event.UseMessageID1, 0);

    CMessageCommandRequest command;
    fillRequest(command, someControls(), QString(), -1);
    QCOMPARE(command.CommandID0, 0);
    QCOMPARE(command.UseCommandID0, 1);
    QCOMPARE(command.CommandID1, 0);
    QCOMPARE(command.UseCommandID1, 0);
}

void RequestFillingTest::theLargestIdentifierCanBeAskedFor()
{
    CMessageEventRequest event;
    fillRequest(event, someControls(), QString(), INT_MAX - 1);
    QCOMPARE(event.MessageID0, INT_MAX);
    QCOMPARE(event.UseMessageID1, 0);
}

void RequestFillingTest::maskIsCopiedByteForByte()
{
    QByteArray bytes;
    for (int i = 1; i < 256; ++i)
        bytes.append(char(i));
    CMessageEventRequest request;
    fillRequest(request, someControls(), QString::fromLatin1(bytes));
    QCOMPARE(request.LSensorID, 256);
    QCOMPARE(QByteArray(request.SensorID), bytes);
}

void RequestFillingTest::emptyMaskIsNoFilter()
{
    CMessageCommandRequest request;
    fillRequest(request, someControls(), QStringLiteral(""));
    QVERIFY(!request.SensorID);
    QCOMPARE(request.LSensorID, 0);
    QCOMPARE(request.UseSensorID, 0);
}

QTEST_GUILESS_MAIN(RequestFillingTest)
#include "requestfillingtest.moc"
