// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QAbstractItemDelegate>

/**
 * Paints the cells of a ListView: the style's panel, and the text in one line
 * with the list's own margin, which the styles' own painting does not know.
 */
class CellDelegate : public QAbstractItemDelegate
{
public:
    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};
