// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "listviewitem.h"

#include "textmeasure.h"

QListViewItem::~QListViewItem() = default;

qint64 QListViewItem::number(int column) const
{
    return text(column).toLongLong();
}

QLatin1String QListViewItem::latin1(int, int) const
{
    return {};
}

QListViewItem::TextClass QListViewItem::textClass(int) const
{
    return {};
}

int QListViewItem::width(const QFontMetrics &metrics, const ListView *, int column) const
{
    return TextMeasure::measuredWidth(QFontMetricsF(metrics), text(column)) + 2 * TextMargin;
}
