// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Sensors at work: one is killed from its menu and seen dead, its command is
// in the commands list, and every event that was written is listed once.
#include "operator.h"

#include <QFile>
#include <QHash>

namespace
{

constexpr int sensors = 12;
constexpr int identifierColumn = 2;

/** How often each event identifier stands in the simulator's log. */
QHash<QString, int> WrittenEvents(const QString &path)
{
    QFile log(path);
    Require(log.open(QIODevice::ReadOnly), path);
    QHash<QString, int> events;
    while (!log.atEnd()) {
        const QList<QByteArray> words = log.readLine().split(' ');
        if (words.size() > 1 && words.at(0) == "event")
            ++events[QString::fromLatin1(words.at(1))];
    }
    return events;
}

QHash<QString, int> ListedEvents(const ListView *list)
{
    QHash<QString, int> events;
    for (int row = 0; row < list->childCount(); ++row)
        ++events[list->itemAt(row)->text(identifierColumn)];
    return events;
}

QString KillOneSensor()
{
    const QWidget *window = OpenList("Sensors_list");
    ListView *list = ListOf(window);
    WaitFor(
        [&] {
            ChooseFromMenuBar(window, "&Menu", "Update data");
            return list->childCount() == sensors && FindRow(list, 2, "IsDead") < 0;
        },
        "all sensors alive");
    const QString name = list->itemAt(sensors / 2)->text(0);
    ChooseFromRowMenu(list, sensors / 2, "Kill");
    WaitFor(
        [&] {
            ChooseFromMenuBar(window, "&Menu", "Update data");
            const int row = FindRow(list, 0, name);
            return row >= 0 && list->itemAt(row)->text(2) == "IsDead";
        },
        "the killed sensor dead");
    return name;
}

void FindKillCommand(const QString &sensor)
{
    const QWidget *window = OpenList("BCommandList");
    const ListView *list = ListOf(window);
    Require(list->childCount() == 1, "one command");
    Require(list->itemAt(0)->text(1) == sensor, "the command goes to " + sensor);
    Require(list->itemAt(0)->text(3) == "4", "the command is Kill");
}

} // namespace

void Work()
{
    const QString log = Installation() + "written.txt";
    Simulator simulator({"--sensors", QString::number(sensors), "--rate", "100", "--seed", "7", "--log", log});
    const QWidget *events = OpenList("BEventsList");
    TypeMost(events, 1000000);
    Choose(events, "AutoUpdate", 1);
    const ListView *list = ListOf(events);
    WaitFor([&] { return list->childCount() > 200; }, "events come in by themselves");

    const QString killed = KillOneSensor();
    FindKillCommand(killed);
    simulator.stop();

    const QHash<QString, int> written = WrittenEvents(log);
    Require(written.size() > 200, "the simulator wrote events");
    Click(events, "pushButton2");
    const QHash<QString, int> grown = ListedEvents(list);
    std::printf("%d events written, %d rows\n", int(written.size()), list->childCount());
    Require(grown == written, "every event in the growing list, once");
    Click(events, "BUpdateList");
    Require(ListedEvents(list) == written, "every event in the list loaded anew, once");
}
