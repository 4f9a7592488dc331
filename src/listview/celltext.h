// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>
#include <QStringList>

class QListViewItem;
class TextMeasure;

/** What a cell shows. */
struct CellText {
    QString text;     ///< in one line, with "…" when it is cut
    bool cut = false; ///< not the whole text
};

/** What a cell of so many pixels shows of a row's text. The cost follows the width, however long the text is. */
CellText cellText(const QListViewItem &row, int column, const TextMeasure &measure, int width);

/** A row's text as a tool tip, plain and in lines: whole, unless it would fill the screen, then its beginning. */
QString toolTipText(const QListViewItem &row, int column);
QString toolTipText(const QString &text);

/** Texts as one line of a table, as spreadsheets read it: tabs between them, quoted where a text would end its cell. */
QString tableLine(QStringList cells);
