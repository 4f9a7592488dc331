// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * A million events in the console's window, or as ready texts in the toolkit's
 * own tree, for a comparison by hand: what passes in wall-clock time and in processor
 * time until they are shown and sorted, until one more is shown, and until the
 * end is scrolled to; and the memory.
 *
 * peers window|tree FOLDER: an installation whose database, FOLDER/busy.db, is
 * made unless it is there.
 */

#include "LoadDLL.h"
#include "eventswindow.h"
#include "simulation.h"
#include "sqlitestore.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QScrollBar>
#include <QTreeWidget>
#include <cstring>

namespace
{

constexpr int Events = 1000000;

/** Tells what some work took. */
void tell(const char *work, const std::function<void()> &done)
{
    QElapsedTimer clock;
    clock.start();
    const double processor = seconds(done);
    std::fprintf(stderr, "%-28s %8.1f ms wall-clock time, %8.1f ms of processor time\n", work,
                 1e-6 * double(clock.nsecsElapsed()), 1e3 * processor);
}

void tellMemory(double before)
{
    std::fprintf(stderr, "%-28s %8.1f MB, at most %.1f MB\n", "memory", (memory("VmRSS:") - before) / 1e6,
                 (memory("VmHWM:") - before) / 1e6);
}

void makeEvents(SqliteStore &store, int count)
{
    Simulation simulation(store, 30, 1, 20, nullptr);
    simulation.fill(count, [](int) { return true; });
}

/** A plain tree with the six columns of the window. */
class Tree
{
public:
    Tree()
    {
        m_tree.setColumnCount(RecordColumnCount);
        m_tree.setUniformRowHeights(true);
        m_tree.setRootIsDecorated(false);
        m_tree.viewport()->installEventFilter(&m_paints);
        m_tree.resize(800, 700);
        m_tree.show();
        paint();
    }

    void load(SqliteStore &store)
    {
        Sqlite::Statement rows(store.connection(),
                               "SELECT e.id, s.sensor, s.name, e.time, e.params FROM event e "
                               "JOIN event_series s ON s.id = e.series ORDER BY e.id DESC LIMIT 1000000");
        QList<QTreeWidgetItem *> items;
        while (rows.step())
            items << item(Events - 1 - int(items.size()), rows);
        m_tree.addTopLevelItems(items);
        m_tree.setSortingEnabled(true);
        m_tree.sortByColumn(NumberColumn, Qt::DescendingOrder);
        paint();
    }

    void add(SqliteStore &store)
    {
        Sqlite::Statement rows(store.connection(), "SELECT e.id, s.sensor, s.name, e.time, e.params FROM event e "
                                                   "JOIN event_series s ON s.id = e.series ORDER BY e.id DESC LIMIT 1");
        while (rows.step())
            m_tree.addTopLevelItem(item(Events, rows));
        paint();
    }

    void scrollToEnd()
    {
        m_tree.scrollToBottom();
        paint();
    }

private:
    static QString text(std::string_view bytes)
    {
        return QString::fromLatin1(bytes.data(), int(bytes.size()));
    }

    static QTreeWidgetItem *item(int number, const Sqlite::Statement &row)
    {
        return new QTreeWidgetItem({QString::number(number).rightJustified(7, '0'), text(row.text(1)),
                                    QString::number(row.number(0)), text(row.text(2)),
                                    QDateTime::fromSecsSinceEpoch(row.number(3)).toString(Qt::TextDate),
                                    text(row.text(4))});
    }

    void paint()
    {
        m_paints.wait(m_paints.count);
        QCoreApplication::processEvents();
    }

    QTreeWidget m_tree;
    PaintCounter m_paints;
};

void measureTree(const std::string &folder)
{
    SqliteStore store(folder + "/busy.db", Sqlite::Durability::Crash);
    Tree tree;
    const double before = memory("VmRSS:");
    tell("shown and sorted", [&] { tree.load(store); });
    makeEvents(store, 1);
    tell("one more shown", [&] { tree.add(store); });
    tell("end shown", [&] { tree.scrollToEnd(); });
    tellMemory(before);
}

void measureWindow(const std::string &folder)
{
    LoadDLL(QString::fromLatin1(DBLIB_SQLITE).section('/', 0, -2));
    InitDBEvents(QString::fromStdString(folder));
    Window window;
    const double before = memory("VmRSS:");
    tell("shown and sorted", [&] { window.load(Events); });
    {
        SqliteStore store(folder + "/busy.db", Sqlite::Durability::Crash);
        makeEvents(store, 1);
    }
    tell("one more shown", [&] { window.getNew(); });
    tell("end shown", [&] { window.scrollToEnd(); });
    tellMemory(before);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3)
        return 2;
    const std::string folder = argv[2];
    if (!std::filesystem::exists(folder + "/busy.db")) {
        std::ofstream(folder + "/DBLib.def") << "Database=" << folder << "/busy.db\n";
        SqliteStore store(folder + "/busy.db", Sqlite::Durability::Crash);
        makeEvents(store, Events);
    }
    const QApplication application(argc, argv);
    if (std::strcmp(argv[1], "tree") == 0)
        measureTree(folder);
    else
        measureWindow(folder);
}
