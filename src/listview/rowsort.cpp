// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "rowsort.h"

#include "listviewitem.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <unordered_map>
#include <utility>

namespace
{

using Rows = std::vector<QListViewItem *>;

int sign(qint64 a, qint64 b)
{
    return a < b ? -1 : a > b;
}

int compareLatin1(QLatin1String a, QLatin1String b)
{
    const int way = std::memcmp(a.data(), b.data(), size_t(std::min(a.size(), b.size())));
    return way ? way : sign(a.size(), b.size());
}

/** Sorts keys; rows often come in order or the wrong way round, which costs one look. */
template <typename Key, typename Less> void sortKeys(std::vector<Key> &keys, Less less)
{
    if (std::is_sorted(keys.begin(), keys.end(), less))
        return;
    if (std::is_sorted(keys.rbegin(), keys.rend(), less))
        std::reverse(keys.begin(), keys.end());
    else
        std::sort(keys.begin(), keys.end(), less);
}

template <typename Key> void takeRows(const std::vector<Key> &keys, Rows &rows)
{
    for (size_t i = 0; i < rows.size(); ++i)
        rows[i] = keys[i].row;
}

enum class Standing { Sorted, Reversed, Unsorted };

/** How rows with different keys stand. A load mostly brings them sorted: then the look is all that is done. */
template <typename KeyOf> Standing standing(const Rows &rows, KeyOf keyOf)
{
    bool sorted = true;
    bool reversed = true;
    for (size_t i = 1; i < rows.size() && (sorted || reversed); ++i) {
        const bool rises = keyOf(rows[i - 1]) < keyOf(rows[i]);
        sorted = sorted && rises;
        reversed = reversed && !rises;
    }
    return sorted ? Standing::Sorted : reversed ? Standing::Reversed : Standing::Unsorted;
}

struct NarrowKey {
    quint64 key;
    QListViewItem *row;
};

struct WideKey {
    quint64 key;
    quint64 arrival;
    QListViewItem *row;
};

/** Sorts by key, then arrival. */
void sortWide(std::vector<WideKey> &keys, Rows &rows)
{
    quint64 least = std::numeric_limits<quint64>::max();
    quint64 greatest = 0;
    quint64 latest = 0;
    for (const WideKey &k : keys) {
        least = std::min(least, k.key);
        greatest = std::max(greatest, k.key);
        latest = std::max(latest, k.arrival);
    }
    constexpr quint64 half = std::numeric_limits<quint32>::max();
    if (keys.empty())
        return;
    if (greatest - least > half || latest > half) {
        sortKeys(keys, [](const WideKey &a, const WideKey &b) {
            return a.key != b.key ? a.key < b.key : a.arrival < b.arrival;
        });
        takeRows(keys, rows);
        return;
    }
    // Key and arrival fit into one word: half the memory to move, one comparison.
    std::vector<NarrowKey> narrow;
    narrow.reserve(keys.size());
    for (const WideKey &k : keys)
        narrow.push_back({(k.key - least) << 32 | k.arrival, k.row});
    sortKeys(narrow, [](const NarrowKey &a, const NarrowKey &b) { return a.key < b.key; });
    takeRows(narrow, rows);
}

/** The number as a key that sorts without a sign, in either order. */
quint64 ordered(qint64 number, Qt::SortOrder order)
{
    const quint64 key = quint64(number) ^ (quint64(1) << 63);
    return order == Qt::AscendingOrder ? key : ~key;
}

/**
 * The rank of each row's text among the texts of all rows, when the rows say
 * by their classes that they share few texts; else nothing.
 */
std::vector<qint64> ranksByClass(const Rows &rows, int column)
{
    std::unordered_map<quint64, qint64> places;
    std::vector<std::pair<QString, quint64>> texts;
    std::vector<quint64> ids;
    ids.reserve(rows.size());
    const size_t few = rows.size() / 8;
    for (const QListViewItem *row : rows) {
        const QListViewItem::TextClass c = row->textClass(column);
        if (c.id == 0 || c.digitsVary)
            return {};
        if (places.emplace(c.id, 0).second)
            texts.emplace_back(row->text(column), c.id);
        if (texts.size() > few)
            return {};
        ids.push_back(c.id);
    }
    std::sort(texts.begin(), texts.end());
    qint64 rank = 0;
    for (size_t i = 0; i < texts.size(); ++i) {
        if (i > 0 && texts[i].first != texts[i - 1].first)
            ++rank;
        places[texts[i].second] = rank;
    }
    std::vector<qint64> ranks;
    ranks.reserve(ids.size());
    for (quint64 id : ids)
        ranks.push_back(places[id]);
    return ranks;
}

struct Latin1Key {
    quint64 head; ///< the first eight bytes, so that most comparisons stay in the key
    QLatin1String text;
    QListViewItem *row;
};

quint64 headOf(QLatin1String text)
{
    quint64 head = 0;
    for (int i = 0; i < 8; ++i)
        head = head << 8 | (i < int(text.size()) ? uchar(text.data()[i]) : 0);
    return head;
}

/** Sorts rows that all keep their text; false, with nothing done, when one does not. */
bool sortByLatin1(Rows &rows, int column, Qt::SortOrder order, RowArrival arrival)
{
    std::vector<Latin1Key> keys;
    keys.reserve(rows.size());
    for (QListViewItem *row : rows) {
        const QLatin1String text = row->latin1(column);
        if (text.isNull())
            return false;
        keys.push_back({headOf(text), text, row});
    }
    const bool up = order == Qt::AscendingOrder;
    sortKeys(keys, [up, arrival](const Latin1Key &a, const Latin1Key &b) {
        if (a.head != b.head)
            return (a.head < b.head) == up;
        const int way = compareLatin1(a.text, b.text);
        return way ? (way < 0) == up : arrival(*a.row) < arrival(*b.row);
    });
    takeRows(keys, rows);
    return true;
}

struct TextKey {
    QString text;
    quint64 arrival;
    QListViewItem *row;
};

} // namespace

int compareNumbers(const QListViewItem &a, const QListViewItem &b, int column)
{
    return sign(a.number(column), b.number(column));
}

int compareTexts(const QListViewItem &a, const QListViewItem &b, int column)
{
    const QLatin1String x = a.latin1(column);
    const QLatin1String y = b.latin1(column);
    if (!x.isNull() && !y.isNull())
        return compareLatin1(x, y);
    return QString::compare(a.text(column), b.text(column));
}

void sortByArrival(Rows &rows, RowArrival arrival)
{
    std::sort(rows.begin(), rows.end(),
              [arrival](const QListViewItem *a, const QListViewItem *b) { return arrival(*a) < arrival(*b); });
}

void sortByNumber(Rows &rows, int column, Qt::SortOrder order, RowArrival arrival)
{
    const auto key = [&](const QListViewItem *row) {
        return std::pair(ordered(row->number(column), order), arrival(*row));
    };
    switch (standing(rows, key)) {
    case Standing::Sorted:
        return;
    case Standing::Reversed:
        std::reverse(rows.begin(), rows.end());
        return;
    case Standing::Unsorted:
        break;
    }
    std::vector<WideKey> keys;
    keys.reserve(rows.size());
    for (QListViewItem *row : rows)
        keys.push_back({ordered(row->number(column), order), arrival(*row), row});
    sortWide(keys, rows);
}

void sortByText(Rows &rows, int column, Qt::SortOrder order, RowArrival arrival)
{
    const std::vector<qint64> ranks = ranksByClass(rows, column);
    if (!ranks.empty()) {
        std::vector<WideKey> keys;
        keys.reserve(rows.size());
        for (size_t i = 0; i < rows.size(); ++i)
            keys.push_back({ordered(ranks[i], order), arrival(*rows[i]), rows[i]});
        sortWide(keys, rows);
        return;
    }
    if (sortByLatin1(rows, column, order, arrival))
        return;
    std::vector<TextKey> keys;
    keys.reserve(rows.size());
    for (QListViewItem *row : rows)
        keys.push_back({row->text(column), arrival(*row), row});
    const bool up = order == Qt::AscendingOrder;
    sortKeys(keys, [up](const TextKey &a, const TextKey &b) {
        const int way = QString::compare(a.text, b.text);
        return way ? (way < 0) == up : a.arrival < b.arrival;
    });
    takeRows(keys, rows);
}
