// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "listviewitem.h"

#include <QFontMetricsF>
#include <QtMath>

QListViewItem::~QListViewItem() = default;

qint64 QListViewItem::number(int column) const
{
    return text(column).toLongLong();
}

QLatin1String QListViewItem::latin1(int) const
{
    return {};
}

QListViewItem::TextClass QListViewItem::textClass(int) const
{
    return {};
}

int QListViewItem::width(const QFontMetrics &metrics, const ListView *, int column) const
{
    // Rounded up: a text that is a fraction of a pixel too wide is cut.
    const int width = qCeil(QFontMetricsF(metrics).horizontalAdvance(text(column)));
    return qMax(0, width) + 2 * TextMargin;
}
