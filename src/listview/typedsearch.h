// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>
#include <functional>

/**
 * Looks for the next row whose text begins with what was typed, a few rows at a
 * time. Typing on goes on with the search; the same key again and again goes
 * from one row that begins with it to the next.
 */
class TypedSearch
{
public:
    /** Whether a row's text begins with something. */
    using StartsWith = std::function<bool(int row, const QString &start)>;

    /** Takes keys, the first of a word or more of it, while a row (-1 for none) of so many is the current one. */
    void type(const QString &keys, bool newWord, int current, int rows);
    /** Looks at so many of the rows at most. The row found, else -1. */
    int lookOn(int most, int rows, const StartsWith &startsWith);
    /** Whether there are more rows to look at. */
    bool isRunning() const;
    void stop();

    /** Rows came in before the one at `first`. */
    void rowsInserted(int first, int count);
    /** Rows went, from `first` on. */
    void rowsRemoved(int first, int count);

private:
    QString m_typed;
    QString m_start;   ///< of the text looked for
    int m_row = 0;     ///< to look at next
    int m_left = 0;    ///< rows still to look at; 0 when there is no search
    int m_matches = 0; ///< until the one that was asked for
};
