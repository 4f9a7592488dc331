// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "celltext.h"

#include "listviewitem.h"
#include "textmeasure.h"

#include <algorithm>

namespace
{

// More than fit in any readable font.
constexpr int CharactersPerPixel = 4;

/** So many characters of a row's text at most, and whether these are all. */
CellText beginning(const QListViewItem &row, int column, int most)
{
    const QLatin1String kept = row.latin1(column, most + 1);
    if (!kept.isNull())
        return {QString(kept.left(std::min(most, int(kept.size())))), kept.size() > most};
    const QString text = row.text(column);
    return {text.left(most), text.size() > most};
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
