// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <algorithm>
#include <vector>

class QListViewItem;

/**
 * A long sequence of rows, which it does not own.
 *
 * It is kept in blocks, so that a row put in or taken out anywhere moves one
 * block and not the whole sequence. What throws std::bad_alloc leaves it as it
 * was.
 */
class RowSequence
{
public:
    /** Becomes these rows. */
    void assign(const std::vector<QListViewItem *> &rows);
    void clear();

    int size() const;
    /** The row at a place from 0 to size() - 1. */
    QListViewItem *at(int row) const;
    /** Puts rows in before the one at a place from 0 to size(). */
    void insert(int row, const std::vector<QListViewItem *> &rows);

    /** Rows about to be put in, with all the memory that this needs. */
    struct Insertion;
    /** The first half of insert(), which can throw; `rows` are some. */
    Insertion prepare(int row, const std::vector<QListViewItem *> &rows);
    /** The second half, which cannot, on the sequence as it was then. */
    void insert(Insertion &&insertion);

    /** Takes a row out. */
    void remove(int row);
    /** All rows in order. */
    std::vector<QListViewItem *> toVector() const;

    /** The first place whose row does not satisfy before(row), in a sequence where those that do come first. */
    template <typename Before> int partitionPoint(Before before) const
    {
        auto block = std::partition_point(m_blocks.begin(), m_blocks.end(),
                                          [&before](const Block &b) { return before(b.back()); });
        if (block == m_blocks.end())
            return size();
        const auto row = std::partition_point(block->begin(), block->end(), before);
        return m_starts[block - m_blocks.begin()] + int(row - block->begin());
    }

private:
    using Block = std::vector<QListViewItem *>;

    /** The block that holds a place. */
    int blockOf(int row) const;
    /** Numbers the blocks' starts anew from one block on. */
    void renumber(int block);

    std::vector<Block> m_blocks; ///< none empty
    std::vector<int> m_starts;   ///< the place of each block's first row; the size at the end
};

struct RowSequence::Insertion {
    int block = 0;
    bool into = false;         ///< the pieces take the place of that block
    std::vector<Block> pieces; ///< blocks that hold the rows, and those of the block replaced
};
