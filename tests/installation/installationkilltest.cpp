// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Sensors at work: one is killed from its menu and seen dead, its command is
// in the commands list, and every event that was written is listed once.
#include "operator.h"

#include <QFile>
#include <QHash>

namespace
{

constexpr int Sensors = 12;
constexpr int IdentifierColumn = 2;

/** How often each event identifier stands in the simulator's log. */
QHash<QString, int> writtenEvents(const QString &path)
{
    QFile log(path);
    require(log.open(QIODevice::ReadOnly), path);
    QHash<QString, int> events;
    while (!log.atEnd()) {
        const QList<QByteArray> words = log.readLine().split(' ');
        if (words.size() > 1 && words.at(0) == "event")
            ++events[QString::fromLatin1(words.at(1))];
    }
    return events;
}

QHash<QString, int> listedEvents(const ListView *list)
{
    QHash<QString, int> events;
    for (int row = 0; row < list->childCount(); ++row)
        ++events[list->itemAt(row)->text(IdentifierColumn)];
    return events;
}

QString killOneSensor()
{
    const QWidget *window = openList("Sensors_list");
    ListView *list = listOf(window);
    waitFor(
        [&] {
            chooseFromMenuBar(window, "&Menu", "Update data");
            return list->childCount() == Sensors && findRow(list, 2, "IsDead") < 0;
        },
        "all sensors alive");
    const QString name = list->itemAt(Sensors / 2)->text(0);
    chooseFromRowMenu(list, Sensors / 2, "Kill");
    waitFor(
        [&] {
            chooseFromMenuBar(window, "&Menu", "Update data");
            const int row = findRow(list, 0, name);
            return row >= 0 && list->itemAt(row)->text(2) == "IsDead";
        },
        "the killed sensor dead");
    return name;
}

void findKillCommand(const QString &sensor)
{
    const QWidget *window = openList("BCommandList");
    const ListView *list = listOf(window);
    require(list->childCount() == 1, "one command");
    require(list->itemAt(0)->text(1) == sensor, "the command goes to " + sensor);
    require(list->itemAt(0)->text(3) == "4", "the command is Kill");
}

} // namespace

void work()
{
    const QString log = installation() + "written.txt";
    Simulator simulator({"--sensors", QString::number(Sensors), "--rate", "100", "--seed", "7", "--log", log});
    const QWidget *events = openList("BEventsList");
    typeMost(events, 1000000);
    choose(events, "AutoUpdate", 1);
    const ListView *list = listOf(events);
    waitFor([&] { return list->childCount() > 200; }, "events come in by themselves");

    const QString killed = killOneSensor();
    findKillCommand(killed);
    simulator.stop();

    const QHash<QString, int> written = writtenEvents(log);
    require(written.size() > 200, "the simulator wrote events");
    click(events, "pushButton2");
    const QHash<QString, int> grown = listedEvents(list);
    std::printf("%d events written, %d rows\n", int(written.size()), list->childCount());
    require(grown == written, "every event in the growing list, once");
    click(events, "BUpdateList");
    require(listedEvents(list) == written, "every event in the list loaded anew, once");
}
