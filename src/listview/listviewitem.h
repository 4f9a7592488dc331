// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "textmeasure.h"

#include <QLatin1String>
#include <QString>
#include <QtGlobal>
#include <climits>

class ListView;

/**
 * One row of a ListView.
 *
 * A row holds a compact record and makes its texts when they are asked for.
 * From its insertion on it belongs to the list, and until it leaves it its
 * numbers may not change, nor its texts without ListView::textsChanged().
 */
class QListViewItem
{
public:
    /**
     * What is known of a text without making it.
     *
     * In one column, texts of the same non-zero id are equal, or, with
     * digitsVary, equal once every digit is replaced by 0. Id 0 says nothing.
     */
    struct TextClass {
        quint64 id = 0;
        bool digitsVary = false;
    };

    /**
     * Pixels kept free at each side of a text. The styles keep 3 and more; here
     * three digits are to be readable in the 30 pixels of a column of numbers.
     */
    static constexpr int TextMargin = 1;

    QListViewItem() = default;
    QListViewItem(const QListViewItem &) = delete;
    QListViewItem &operator=(const QListViewItem &) = delete;
    virtual ~QListViewItem() = default;

    /** The text of a column; empty for a column that the row does not fill. */
    virtual QString text(int column) const = 0;

    /** What a column sorted by numbers or times goes by; by default the number that the text reads as, else 0. */
    virtual qint64 number(int column) const
    {
        return text(column).toLongLong();
    }

    /**
     * The text of a column as the row keeps it, valid as long as the row:
     * spares the making of a text where rows are sorted, measured and shown.
     * Null, the default, when the row keeps no such text; else equal to text(),
     * of which a row need not give more characters than are asked for.
     */
    virtual QLatin1String latin1(int, int /*most*/ = INT_MAX) const
    {
        return {};
    }

    /** The class of a column's text, so that it is measured once for many rows; by default none. */
    virtual TextClass textClass(int) const
    {
        return {};
    }

    /** Pixels that the column needs to show this row's text whole in a font of these metrics. */
    int width(const QFontMetrics &metrics, const ListView *, int column) const
    {
        return TextMeasure::measuredWidth(QFontMetricsF(metrics), text(column)) + 2 * TextMargin;
    }

private:
    friend class ListModel;
    friend struct RowOrder;
    quint32 m_arrival = 0; ///< how many rows its list had taken before it
};
