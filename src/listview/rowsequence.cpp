// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "rowsequence.h"

#include <iterator>
#include <utility>

namespace
{
// Near the square root of a million: moving a block's rows and renumbering the
// blocks then cost about the same.
constexpr int BlockSize = 1024;

using Block = std::vector<QListViewItem *>;

/** Cuts rows into blocks of a good size. */
std::vector<Block> split(Block rows)
{
    std::vector<Block> pieces;
    const int count = int(rows.size());
    if (count <= 2 * BlockSize) {
        pieces.push_back(std::move(rows));
        return pieces;
    }
    pieces.reserve(std::size_t(count / BlockSize) + 1);
    for (int from = 0; from < count; from += BlockSize)
        pieces.emplace_back(rows.begin() + from, rows.begin() + std::min(from + BlockSize, count));
    return pieces;
}

/** Makes room as a vector that grows by itself does: not for every single step. */
template <typename Element> void reserveAbove(std::vector<Element> &elements, std::size_t size)
{
    if (elements.capacity() < size)
        elements.reserve(std::max(size, 2 * elements.capacity()));
}
} // namespace

void RowSequence::assign(const std::vector<QListViewItem *> &rows)
{
    RowSequence assigned;
    assigned.insert(0, rows);
    std::swap(*this, assigned);
}

void RowSequence::clear()
{
    m_blocks.clear();
    m_starts.clear();
}

int RowSequence::size() const
{
    return m_starts.empty() ? 0 : m_starts.back();
}

int RowSequence::blockOf(int row) const
{
    return int(std::upper_bound(m_starts.begin(), m_starts.end(), row) - m_starts.begin()) - 1;
}

QListViewItem *RowSequence::at(int row) const
{
    const int block = blockOf(row);
    return m_blocks[block][row - m_starts[block]];
}

RowSequence::Insertion RowSequence::prepare(int row, const std::vector<QListViewItem *> &rows)
{
    Insertion insertion;
    insertion.into = !m_blocks.empty();
    // A place between two blocks belongs to the left one, where appended rows gather.
    insertion.block = row == 0 ? 0 : blockOf(row - 1);
    const Block none;
    const Block &old = insertion.into ? m_blocks[insertion.block] : none;
    const auto place = old.begin() + (insertion.into ? row - m_starts[insertion.block] : 0);
    Block joined;
    joined.reserve(old.size() + rows.size());
    joined.insert(joined.end(), old.begin(), place);
    joined.insert(joined.end(), rows.begin(), rows.end());
    joined.insert(joined.end(), place, old.end());
    insertion.pieces = split(std::move(joined));
    reserveAbove(m_blocks, m_blocks.size() + insertion.pieces.size());
    reserveAbove(m_starts, m_blocks.size() + insertion.pieces.size() + 1);
    return insertion;
}

void RowSequence::insert(Insertion &&insertion)
{
    if (insertion.into)
        m_blocks.erase(m_blocks.begin() + insertion.block);
    m_blocks.insert(m_blocks.begin() + insertion.block, std::make_move_iterator(insertion.pieces.begin()),
                    std::make_move_iterator(insertion.pieces.end()));
    renumber(insertion.block);
}

void RowSequence::insert(int row, const std::vector<QListViewItem *> &rows)
{
    if (!rows.empty())
        insert(prepare(row, rows));
}

void RowSequence::remove(int row)
{
    const int block = blockOf(row);
    m_blocks[block].erase(m_blocks[block].begin() + (row - m_starts[block]));
    if (m_blocks[block].empty())
        m_blocks.erase(m_blocks.begin() + block);
    renumber(block);
}

void RowSequence::renumber(int block)
{
    m_starts.resize(m_blocks.size() + 1);
    m_starts[0] = 0;
    for (int i = block; i < int(m_blocks.size()); ++i)
        m_starts[i + 1] = m_starts[i] + int(m_blocks[i].size());
}

std::vector<QListViewItem *> RowSequence::toVector() const
{
    std::vector<QListViewItem *> rows;
    rows.reserve(size());
    for (const Block &block : m_blocks)
        rows.insert(rows.end(), block.begin(), block.end());
    return rows;
}
