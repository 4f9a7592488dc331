// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/*
 * The list at a million rows beside the list at a thousand, in one run: what
 * grows with the rows, and what must not.
 */

#include "listview.h"
#include "measuring.h"
#include "recorditem.h"

#include <QApplication>
#include <QScrollBar>
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

constexpr int Few = 1000;
constexpr int Many = 1000000;
constexpr std::time_t Start = 1700000000;

/** Events as a monitoring installation reports them. */
class Events
{
public:
    ListView::Rows rows(int count)
    {
        ListView::Rows rows;
        rows.reserve(std::size_t(count));
        for (int i = 0; i < count; ++i)
            rows.push_back(row());
        return rows;
    }

private:
    std::unique_ptr<QListViewItem> row()
    {
        const int number = m_count++;
        // Sensors report when something happens, a few times a minute each.
        m_time += std::time_t(m_random() % 60);
        const std::string sensor = "sensor-" + std::to_string(m_random() % 200);
        const std::string name = "event " + std::to_string(m_random() % 40);
        // 20 characters on the average.
        const std::string parameters =
            "t=" + std::to_string(m_random() % 1000) + "." + std::to_string(m_random() % 100) +
            ";flow=" + std::to_string(m_random() % 100000) + std::string(m_random() % 7, 'x');
        return EventItem::create(m_memory, {number, 7, m_names.name(sensor), number + 1, m_names.name(name), m_time,
                                            m_dates.of(m_time), parameters});
    }

    std::mt19937 m_random{1};
    NamePool m_names;
    RowMemory m_memory;
    DateClasses m_dates;
    std::time_t m_time = Start;
    int m_count = 0;
};

/** A list of events on the screen, as the window of the events has it. */
struct Shown {
    explicit Shown(int count)
        : list(std::make_unique<ListView>())
    {
        for (const char *heading : {"N", "Sensor ID", "EventID", "Event Name", "Event Time", "Parameters"})
            list->addColumn(heading);
        for (int column : {NumberColumn, IdentifierColumn, DateColumn})
            list->setColumnSortKey(column, ListView::SortKey::Number);
        list->resize(800, 900);
        list->viewport()->installEventFilter(&paints);
        list->show();
        paint();
        load = seconds([&] {
            ListView::Rows rows;
            building = seconds([&] { rows = events.rows(count); });
            list->insertItems(std::move(rows));
            paint();
        });
        load -= building;
    }

    /** Waits for what changed to be painted, as it comes about in the program. */
    void paint()
    {
        paints.wait(paints.count);
    }

    void fit()
    {
        list->resize(list->width() == 800 ? 810 : 800, 900);
        for (int column = 0; column < list->columns(); ++column)
            list->setColumnWidth(column, std::min(list->maximumTextWidth(column) + 3, 300));
        paint();
    }

    void append(int count)
    {
        ListView::Rows more = events.rows(count);
        const double start = now();
        list->insertItems(std::move(more));
        paint();
        appending.push_back(now() - start);
    }

    double medianAppend() const
    {
        return medianOf(appending);
    }

    Events events;
    PaintCounter paints;
    std::unique_ptr<ListView> list;
    double load = 0;     ///< seconds from ready rows to the painted list
    double building = 0; ///< seconds for building the rows themselves
    std::vector<double> appending;
};

void benchFitting(Goals &goals, Shown &many, Shown &few)
{
    many.fit();
    few.fit();
    goals.ratio("column fitting on a resize, painted", median(15, [&] { many.fit(); }), median(15, [&] { few.fit(); }),
                2);
}

void benchAppending(Goals &goals, Shown &many, Shown &few)
{
    for (int i = 0; i < 9; ++i) {
        many.append(100);
        few.append(100);
    }
    goals.ratio("100 new rows at the end, painted", many.medianAppend(), few.medianAppend(), 2);
    many.appending.clear();
    few.appending.clear();
    for (Shown *shown : {&many, &few})
        shown->list->setSorting(NumberColumn, false);
    for (int i = 0; i < 9; ++i) {
        many.append(100);
        few.append(100);
    }
    goals.ratio("100 new rows at the top, painted", many.medianAppend(), few.medianAppend(), 2);
    for (Shown *shown : {&many, &few})
        shown->list->setSorting(NumberColumn, true);
}

/** Rows that come in all over a list that is not sorted by what makes them new. */
void benchScattering(Goals &goals, Shown &many, Shown &few)
{
    for (Shown *shown : {&many, &few}) {
        shown->list->setSorting(ParametersColumn);
        shown->paint();
        shown->appending.clear();
    }
    for (int i = 0; i < 9; ++i) {
        many.append(100);
        few.append(100);
    }
    goals.ratio("100 new rows all over, painted", many.medianAppend(), few.medianAppend(), 2);
    for (Shown *shown : {&many, &few})
        shown->list->setSorting(NumberColumn);
}

void benchRemoving(Goals &goals, Shown &many, Shown &few)
{
    std::mt19937 random(2);
    const auto removeOne = [&random](Shown &shown) {
        shown.list->removeItem(shown.list->itemAt(int(random() % unsigned(shown.list->childCount()))));
        shown.paint();
    };
    goals.ratio("deleting a row somewhere, painted", median(51, [&] { removeOne(many); }),
                median(51, [&] { removeOne(few); }), 2);
}

template <typename Key, typename KeyOf> double sortOfReadyKeys(const ListView &list, KeyOf keyOf)
{
    std::vector<Key> ready;
    for (int row = 0; row < list.childCount(); ++row)
        ready.push_back(keyOf(*list.itemAt(row)));
    return median(3, [&] {
        std::vector<Key> keys = ready;
        std::stable_sort(keys.begin(), keys.end());
    });
}

void benchSorting(Goals &goals, Shown &many, int column, bool number)
{
    ListView &list = *many.list;
    // From an order that says nothing, as rows stand after other headings were clicked.
    const int other = column == ParametersColumn ? SensorColumn : ParametersColumn;
    list.setSorting(other);
    double ready = 0;
    if (number)
        ready = sortOfReadyKeys<qint64>(list, [column](const QListViewItem &row) { return row.number(column); });
    else
        ready = sortOfReadyKeys<QString>(list, [column](const QListViewItem &row) { return row.text(column); });
    std::vector<double> times;
    for (int i = 0; i < 3; ++i) {
        list.setSorting(other);
        times.push_back(seconds([&] {
            list.setSorting(column);
            many.paint();
        }));
    }
    goals.ratio(("sorting by \"" + list.columnText(column).toStdString() + "\", painted").c_str(), medianOf(times),
                ready, 1.2);
}

void benchScrolling(Goals &goals, Shown &many)
{
    QScrollBar *down = many.list->verticalScrollBar();
    down->setValue(0);
    many.paint();
    double worst = 0;
    const auto frame = [&](int value) {
        worst = std::max(worst, seconds([&] {
                             down->setValue(value);
                             many.paint();
                         }));
    };
    for (int i = 0; i < 200; ++i)
        frame(down->value() + down->pageStep());
    for (int i = 0; i <= 200; ++i)
        frame(int(qint64(down->maximum()) * i / 200));
    goals.atMost("scrolling, the slowest of 400 frames", 1e3 * worst, "ms", 16);
}

/** The longest time for which the window does nothing else while no row begins with what is typed. */
double longestTurn(Shown &shown, int column, double &whole)
{
    ListView &list = *shown.list;
    list.setCurrentIndex(list.model()->index(0, column));
    shown.paint();
    list.keyboardSearch({});
    const double start = now();
    double longest = seconds([&] { list.keyboardSearch("!"); });
    while (list.isSearching())
        longest = std::max(longest, seconds([] { QCoreApplication::processEvents(); }));
    whole = now() - start;
    return longest;
}

void benchTyping(Goals &goals, Shown &many, int column)
{
    std::vector<double> turns;
    std::vector<double> wholes;
    for (int i = 0; i < 5; ++i) {
        double whole = 0;
        turns.push_back(longestTurn(many, column, whole));
        wholes.push_back(whole);
    }
    const std::string heading = many.list->columnText(column).toStdString();
    goals.atMost(("a key typed in \"" + heading + "\", the longest turn").c_str(), 1e3 * medianOf(turns), "ms", 16);
    goals.atMost("    all rows looked through", 1e3 * medianOf(wholes), "ms", 500);
}

/** A list of rows whose names and parameters are of so many bytes. */
class LongTexts
{
public:
    LongTexts(int rows, std::size_t bytes)
    {
        for (const char *heading : {"N", "Sensor ID", "EventID", "Event Name", "Event Time", "Parameters"})
            m_list.addColumn(heading, 100);
        m_list.setColumnSortKey(NumberColumn, ListView::SortKey::Number);
        m_list.resize(800, 900);
        m_list.viewport()->installEventFilter(&m_paints);
        m_list.show();
        m_paints.wait(m_paints.count);
        add(rows, bytes);
    }

    void add(int rows, std::size_t bytes)
    {
        std::string text(bytes, 'x');
        for (std::size_t i = 0; i < bytes; i += 7)
            text[i] = " ;=T.W1"[i % 6];
        ListView::Rows made;
        for (int i = 0; i < rows; ++i, ++m_number)
            made.push_back(EventItem::create(m_memory, {m_number, 3, m_names.name("sensor"), m_number,
                                                        m_names.name(text), Start, m_dates.of(Start), text}));
        m_measuring = seconds([&] { m_list.insertItems(std::move(made)); });
    }

    double frame()
    {
        const int before = m_paints.count;
        m_list.viewport()->update();
        return seconds([&] { m_paints.wait(before); });
    }

    /** The slowest frame while the list is scrolled and fitted, and while rows come. */
    double slowestFrame()
    {
        double slowest = frame();
        for (int i = 0; i < 20; ++i) {
            m_list.setColumnWidth(ParametersColumn, 100 + 20 * i);
            m_list.horizontalScrollBar()->setValue(10 * i);
            m_list.verticalScrollBar()->setValue(i);
            add(1, 20);
            slowest = std::max(slowest, frame());
        }
        return slowest;
    }

    double measuring() const
    {
        return m_measuring;
    }

private:
    NamePool m_names;
    RowMemory m_memory;
    DateClasses m_dates;
    ListView m_list;
    PaintCounter m_paints;
    int m_number = 0;
    double m_measuring = 0; ///< seconds that the last rows took to come in
};

void benchLongTexts(Goals &goals)
{
    LongTexts usual(50, 500);
    LongTexts large(50, 100000);
    usual.frame();
    large.frame();
    goals.ratio("a frame of 50 rows of 100 KB, beside 500 bytes", median(15, [&] { large.frame(); }),
                median(15, [&] { usual.frame(); }), 1.2);
    constexpr std::size_t huge = 32 << 20;
    LongTexts huges(1, huge);
    // Name and parameters, each once.
    goals.atMost("measuring 32 MB, a byte", 1e9 * huges.measuring() / (2 * double(huge)), "ns", 2);
    goals.atMost("a row of 32 MB, the slowest of 21 frames", 1e3 * huges.slowestFrame(), "ms", 16);
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    Goals goals(stdout);
    Shown few(Few);
    const double before = memory("VmRSS:");
    Shown many(Many);
    trimMemoryAfter(Many);
    goals.atMost("memory per row", (memory("VmRSS:") - before) / Many, "bytes", 90);
    std::printf("    rows built in %.3f s, taken in and painted in %.3f s\n", many.building, many.load);
    const double load = many.building + many.load;

    benchFitting(goals, many, few);
    benchAppending(goals, many, few);
    benchScattering(goals, many, few);
    benchRemoving(goals, many, few);
    benchScrolling(goals, many);
    for (int column = NumberColumn; column <= ParametersColumn; ++column)
        benchTyping(goals, many, column);
    for (int column : {NumberColumn, IdentifierColumn, DateColumn})
        benchSorting(goals, many, column, true);
    for (int column : {SensorColumn, KindColumn, ParametersColumn})
        benchSorting(goals, many, column, false);
    benchLongTexts(goals);
    goals.ratio("closing, in parts of building and taking in", seconds([&] { many.list.reset(); }), load, 0.1);
    return goals.met() ? 0 : 1;
}
