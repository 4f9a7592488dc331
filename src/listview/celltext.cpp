// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "celltext.h"

#include "listviewitem.h"
#include "textmeasure.h"

#include <QTextDocument>
#include <algorithm>

namespace
{

// More than fit in any readable font.
constexpr int CharactersPerPixel = 4;

// Of a tool tip, in characters and lines.
constexpr int LongestLine = 100;
constexpr int MostLines = 20;

/** So many characters of a row's text at most, and whether these are all. */
CellText beginning(const QListViewItem &row, int column, int most)
{
    const QLatin1String kept = row.latin1(column, most + 1);
    if (!kept.isNull())
        return {QString(kept.left(std::min(most, int(kept.size())))), kept.size() > most};
    const QString text = row.text(column);
    return {text.left(most), text.size() > most};
}

/** Where a line of a long text ends: at its own break, behind the last blank or semicolon that fits, or full. */
int lineEnd(const QString &text, int from)
{
    const int own = text.indexOf('\n', from);
    if (own >= 0 && own - from <= LongestLine)
        return own + 1;
    const int full = from + LongestLine;
    if (text.size() <= full)
        return text.size();
    const int end = 1 + std::max(text.lastIndexOf(' ', full - 1), text.lastIndexOf(';', full - 1));
    return end > from ? end : full;
}

} // namespace

CellText cellText(const QListViewItem &row, int column, const TextMeasure &measure, int width)
{
    const int room = std::max(0, width - 2 * QListViewItem::TextMargin);
    CellText shown = beginning(row, column, CharactersPerPixel * (room + 1));
    shown.cut = shown.cut || measure.width(shown.text) > room;
    shown.text = shown.cut ? measure.cut(shown.text, room) : TextMeasure::shown(shown.text);
    return shown;
}

QString toolTipText(const QListViewItem &row, int column)
{
    return toolTipText(beginning(row, column, (LongestLine + 1) * MostLines + 1).text);
}

QString toolTipText(const QString &text)
{
    QStringList lines;
    int from = 0;
    for (; from < text.size() && lines.size() < MostLines; from = lineEnd(text, from)) {
        const QString line = text.mid(from, lineEnd(text, from) - from);
        lines << TextMeasure::shown(line.endsWith('\n') ? line.chopped(1) : line);
    }
    if (from < text.size())
        lines.last() += QChar(0x2026);
    const QString tip = lines.join('\n');
    // What looks like a page of the web would be shown as one.
    return Qt::mightBeRichText(tip) ? Qt::convertFromPlainText(tip) : tip;
}

QString tableLine(QStringList cells)
{
    for (QString &cell : cells) {
        const auto special = [](QChar c) { return c == '\t' || c == '\n' || c == '\r' || c == '"'; };
        if (std::any_of(cell.cbegin(), cell.cend(), special))
            cell = '"' + cell.replace('"', QLatin1String("\"\"")) + '"';
    }
    return cells.join('\t');
}
