// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>

class QListViewItem;
class TextMeasure;

/** What a cell shows. */
struct CellText {
    QString text;     ///< in one line, with "…" when it is cut
    bool cut = false; ///< not the whole text
};

/** What a cell of so many pixels shows of a row's text. The cost follows the width, however long the text is. */
CellText cellText(const QListViewItem &row, int column, const TextMeasure &measure, int width);
