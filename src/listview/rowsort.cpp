// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "rowsort.h"

#include "listviewitem.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <unordered_map>
#include <utility>

namespace
{

using Rows = std::vector<QListViewItem *>;

struct Key {
    quint64 key;
    QListViewItem *row;
};
using Keys = std::vector<Key>;

int sign(qint64 a, qint64 b)
{
    return a < b ? -1 : a > b;
}

int compare(QLatin1String a, QLatin1String b)
{
    const int way = std::memcmp(a.data(), b.data(), size_t(std::min(a.size(), b.size())));
    return way ? way : sign(a.size(), b.size());
}

int compare(const QString &a, const QString &b)
{
    return QString::compare(a, b);
}

/** The keys of rows, made by keyOf(row). */
template <typename KeyOf> Keys keysOf(const Rows &rows, KeyOf keyOf)
{
    Keys keys;
    keys.reserve(rows.size());
    for (QListViewItem *row : rows)
        keys.push_back({keyOf(*row), row});
    return keys;
}

template <typename AnyKey> void takeRows(const std::vector<AnyKey> &keys, Rows &rows)
{
    std::transform(keys.begin(), keys.end(), rows.begin(), [](const AnyKey &key) { return key.row; });
}

/** Sorts by the keys and leaves equal ones as they stand: a radix sort, byte by byte from the lowest on. */
void sortKeys(Keys &keys)
{
    // Rows of a load mostly come in order.
    if (std::is_sorted(keys.begin(), keys.end(), [](const Key &a, const Key &b) { return a.key < b.key; }))
        return;
    std::array<std::array<size_t, 256>, sizeof(quint64)> counts{};
    for (const Key &k : keys)
        for (size_t byte = 0; byte < counts.size(); ++byte)
            ++counts[byte][k.key >> 8 * byte & 0xff];
    Keys sorted(keys.size());
    for (size_t byte = 0; byte < counts.size(); ++byte) {
        auto &places = counts[byte];
        // The same in all.
        if (places[keys.front().key >> 8 * byte & 0xff] == keys.size())
            continue;
        size_t place = 0;
        for (size_t &count : places)
            place += std::exchange(count, place);
        for (const Key &k : keys)
            sorted[places[k.key >> 8 * byte & 0xff]++] = k;
        keys.swap(sorted);
    }
}

Keys keysByArrival(const Rows &rows, RowArrival arrival)
{
    Keys keys = keysOf(rows, [arrival](const QListViewItem &row) { return arrival(row); });
    sortKeys(keys);
    return keys;
}

/** The number as a key that sorts without a sign, in either order. */
quint64 ordered(qint64 number, Qt::SortOrder order)
{
    const quint64 key = quint64(number) ^ (quint64(1) << 63);
    return order == Qt::AscendingOrder ? key : ~key;
}

/**
 * Makes the keys the ranks of the rows' texts among all of them, when the rows
 * say by their classes that they share few texts; else false.
 */
bool rankByClass(Keys &keys, int column, Qt::SortOrder order)
{
    std::unordered_map<quint64, qint64> ranks;
    std::vector<std::pair<QString, quint64>> texts;
    const size_t few = keys.size() / 8;
    for (Key &k : keys) {
        const QListViewItem::TextClass c = k.row->textClass(column);
        if (c.id == 0 || c.digitsVary)
            return false;
        k.key = c.id;
        if (ranks.emplace(c.id, 0).second)
            texts.emplace_back(k.row->text(column), c.id);
        if (texts.size() > few)
            return false;
    }
    std::sort(texts.begin(), texts.end());
    qint64 rank = 0;
    for (size_t i = 0; i < texts.size(); ++i) {
        if (i > 0 && texts[i].first != texts[i - 1].first)
            ++rank;
        ranks[texts[i].second] = rank;
    }
    for (Key &k : keys)
        k.key = ordered(ranks[k.key], order);
    return true;
}

template <typename Text> struct TextKey {
    quint64 head; ///< the first eight bytes, so that most comparisons stay in the key
    Text text;
    QListViewItem *row;
};

quint64 headOf(QLatin1String text)
{
    quint64 head = 0;
    for (int i = 0; i < 8; ++i)
        head = head << 8 | (i < int(text.size()) ? uchar(text.data()[i]) : 0);
    return head;
}

quint64 headOf(const QString &)
{
    return 0;
}

template <typename Text> void sortTexts(std::vector<TextKey<Text>> &texts, Qt::SortOrder order, Rows &rows)
{
    const bool up = order == Qt::AscendingOrder;
    const auto before = [up](const TextKey<Text> &a, const TextKey<Text> &b) {
        if (a.head != b.head)
            return (a.head < b.head) == up;
        const int way = compare(a.text, b.text);
        return up ? way < 0 : way > 0;
    };
    if (!std::is_sorted(texts.begin(), texts.end(), before))
        std::stable_sort(texts.begin(), texts.end(), before);
    takeRows(texts, rows);
}

/** Sorts rows that all keep their text; false, with nothing done, when one does not. */
bool sortByLatin1(const Keys &arrived, int column, Qt::SortOrder order, Rows &rows)
{
    std::vector<TextKey<QLatin1String>> texts;
    texts.reserve(arrived.size());
    for (const Key &k : arrived) {
        const QLatin1String text = k.row->latin1(column);
        if (text.isNull())
            return false;
        texts.push_back({headOf(text), text, k.row});
    }
    sortTexts(texts, order, rows);
    return true;
}

} // namespace

int compareNumbers(const QListViewItem &a, const QListViewItem &b, int column)
{
    return sign(a.number(column), b.number(column));
}

int compareTexts(const QListViewItem &a, const QListViewItem &b, int column)
{
    const QLatin1String x = a.latin1(column);
    const QLatin1String y = b.latin1(column);
    return !x.isNull() && !y.isNull() ? compare(x, y) : compare(a.text(column), b.text(column));
}

void sortByArrival(Rows &rows, RowArrival arrival)
{
    takeRows(keysByArrival(rows, arrival), rows);
}

void sortByNumber(Rows &rows, int column, Qt::SortOrder order, RowArrival arrival)
{
    Keys keys = keysByArrival(rows, arrival);
    for (Key &k : keys)
        k.key = ordered(k.row->number(column), order);
    sortKeys(keys);
    takeRows(keys, rows);
}

void sortByText(Rows &rows, int column, Qt::SortOrder order, RowArrival arrival)
{
    Keys keys = keysByArrival(rows, arrival);
    if (rankByClass(keys, column, order)) {
        sortKeys(keys);
        takeRows(keys, rows);
        return;
    }
    if (sortByLatin1(keys, column, order, rows))
        return;
    std::vector<TextKey<QString>> texts;
    texts.reserve(keys.size());
    for (const Key &k : keys)
        texts.push_back({headOf(QString()), k.row->text(column), k.row});
    sortTexts(texts, order, rows);
}
