// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "roworder.h"

#include "listviewitem.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <map>
#include <string_view>
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

std::string_view bytesOf(QLatin1String text)
{
    return {text.data(), size_t(text.size())};
}

int compareNumbers(const QListViewItem &a, const QListViewItem &b, int column)
{
    const qint64 x = a.number(column);
    const qint64 y = b.number(column);
    return x < y ? -1 : x > y;
}

int compareTexts(const QListViewItem &a, const QListViewItem &b, int column)
{
    const QLatin1String x = a.latin1(column);
    const QLatin1String y = b.latin1(column);
    return !x.isNull() && !y.isNull() ? bytesOf(x).compare(bytesOf(y)) : a.text(column).compare(b.text(column));
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

/** The number as a key that sorts without a sign, in either order. */
quint64 ordered(qint64 number, Qt::SortOrder direction)
{
    const quint64 key = quint64(number) ^ (quint64(1) << 63);
    return direction == Qt::AscendingOrder ? key : ~key;
}

/**
 * Makes the keys the ranks of the rows' texts among all of them, when the rows
 * say by their classes that they share few texts; else false.
 */
bool rankByClass(Keys &keys, const RowOrder &order)
{
    std::map<QString, qint64> ranks;
    std::unordered_map<quint64, qint64 *> rankOf; // by a class's id
    const size_t few = keys.size() / 8;
    for (Key &k : keys) {
        const QListViewItem::TextClass c = k.row->textClass(order.column);
        if (c.id == 0 || c.digitsVary)
            return false;
        k.key = c.id;
        const auto [known, isNew] = rankOf.try_emplace(c.id);
        if (isNew)
            known->second = &ranks[k.row->text(order.column)];
        if (rankOf.size() > few)
            return false;
    }
    qint64 next = 0;
    for (auto &[text, rank] : ranks)
        rank = next++;
    for (Key &k : keys)
        k.key = ordered(*rankOf[k.key], order.direction);
    return true;
}

template <typename Text> struct TextKey {
    quint64 head; ///< the first eight bytes, so that most comparisons stay in the key
    Text text;
    QListViewItem *row;
};

quint64 headOf(std::string_view text)
{
    char head[sizeof(quint64)] = {};
    text.copy(head, sizeof head);
    return qFromBigEndian<quint64>(head);
}

template <typename Text> void sortTexts(std::vector<TextKey<Text>> &texts, Qt::SortOrder direction, Rows &rows)
{
    const bool up = direction == Qt::AscendingOrder;
    std::stable_sort(texts.begin(), texts.end(), [up](const TextKey<Text> &a, const TextKey<Text> &b) {
        if (a.head != b.head)
            return (a.head < b.head) == up;
        const int way = a.text.compare(b.text);
        return up ? way < 0 : way > 0;
    });
    takeRows(texts, rows);
}

/** Sorts rows that all keep their text; false, with nothing done, when one does not. */
bool sortByLatin1(const Keys &arrived, const RowOrder &order, Rows &rows)
{
    std::vector<TextKey<std::string_view>> texts;
    texts.reserve(arrived.size());
    for (const Key &k : arrived) {
        const QLatin1String text = k.row->latin1(order.column);
        if (text.isNull())
            return false;
        texts.push_back({headOf(bytesOf(text)), bytesOf(text), k.row});
    }
    sortTexts(texts, order.direction, rows);
    return true;
}

void sortByText(const Keys &arrived, const RowOrder &order, Rows &rows)
{
    std::vector<TextKey<QString>> texts;
    texts.reserve(arrived.size());
    for (const Key &k : arrived)
        texts.push_back({0, k.row->text(order.column), k.row});
    sortTexts(texts, order.direction, rows);
}

} // namespace

bool RowOrder::operator()(const QListViewItem *a, const QListViewItem *b) const
{
    int way = 0;
    if (key != Key::Arrival)
        way = key == Key::Number ? compareNumbers(*a, *b, column) : compareTexts(*a, *b, column);
    return way == 0 ? a->m_arrival < b->m_arrival : (way < 0) == (direction == Qt::AscendingOrder);
}

void RowOrder::sort(Rows &rows) const
{
    // As the rows of a load mostly do: then there is no need for keys.
    if (std::is_sorted(rows.begin(), rows.end(), *this))
        return;
    Keys keys;
    keys.reserve(rows.size());
    for (QListViewItem *row : rows)
        keys.push_back({row->m_arrival, row});
    sortKeys(keys);
    if (key == Key::Text && !rankByClass(keys, *this)) {
        if (!sortByLatin1(keys, *this, rows))
            sortByText(keys, *this, rows);
        return;
    }
    if (key == Key::Number)
        for (auto &k : keys)
            k.key = ordered(k.row->number(column), direction);
    sortKeys(keys);
    takeRows(keys, rows);
}
