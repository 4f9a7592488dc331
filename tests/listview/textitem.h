// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "listmodel.h"

#include <QByteArray>
#include <QStringList>
#include <initializer_list>

/** A row of ready texts; counts the living ones. */
class TextItem : public QListViewItem
{
public:
    explicit TextItem(QStringList texts)
        : m_texts(std::move(texts))
    {
        ++alive;
    }

    ~TextItem() override
    {
        --alive;
    }

    QString text(int column) const override
    {
        return m_texts.value(column);
    }

    static inline int alive = 0;

private:
    QStringList m_texts;
};

/** A row that keeps its texts as bytes, as rows made from records do. */
class ByteItem : public QListViewItem
{
public:
    explicit ByteItem(std::vector<QByteArray> texts)
        : m_texts(std::move(texts))
    {
    }

    QString text(int column) const override
    {
        return QString(latin1(column));
    }

    QLatin1String latin1(int column, int most = INT_MAX) const override
    {
        if (column >= int(m_texts.size()))
            return QLatin1String("");
        // Whoever asks for the beginning must not rely on getting more.
        return QLatin1String(m_texts[column].constData(), qMin(most, int(m_texts[column].size())));
    }

private:
    std::vector<QByteArray> m_texts;
};

/** Rows of the texts given, one a row, in column 0. */
inline ListModel::Rows rowsOf(const QStringList &texts)
{
    ListModel::Rows rows;
    for (const QString &text : texts)
        rows.push_back(std::make_unique<TextItem>(QStringList{text}));
    return rows;
}
