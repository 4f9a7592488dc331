// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/**
 * Where a list stands among its rows while rows come and go: at the top it
 * stays there, at the end it follows it, anywhere else it stays with its rows.
 */
class KeptPlace
{
public:
    /** What is seen, as it was when the rows were last laid out. */
    struct Sight {
        int top = 0;       ///< the row at the upper edge
        bool start = true; ///< the list is scrolled to its start
        bool end = false;  ///< ... to its end, and has been seen so
    };

    /** Rows come in before the one at `first`; there are `rows` then. */
    void insert(const Sight &sight, int first, int count, int rows);
    /** Rows go, from `first` on. */
    void remove(const Sight &sight, int first, int count);
    /** The place is taken: nothing has changed since. */
    void clear();

    /** Rows by which the top row has moved. */
    int moved() const;
    /** Whether the end is to be shown. */
    bool toEnd() const;

private:
    int m_moved = 0;
    bool m_toEnd = false;
};
