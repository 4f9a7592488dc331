// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "datetext.h"
#include "listviewitem.h"
#include "namepool.h"
#include "rowmemory.h"
#include "rownumbers.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

/** Columns of the lists of events and commands. */
enum RecordColumn {
    NumberColumn,
    SensorColumn,
    IdentifierColumn,
    KindColumn, ///< an event's name, a command's type
    DateColumn,
    ParametersColumn,
    RecordColumnCount
};

/** Texts of a number of so many digits differ in nothing but digits. */
inline QListViewItem::TextClass digitsClass(int number, int padding = 1)
{
    unsigned digits = 1;
    for (int rest = number / 10; rest != 0; rest /= 10)
        ++digits;
    digits = std::max(digits, unsigned(padding));
    return {quint64(digits) * 2 + (number < 0 ? 1 : 0), true};
}

/** A text as the list asks for it: without a copy. */
inline QLatin1String asLatin1(const std::string &text)
{
    return QLatin1String(text.data(), int(text.size()));
}

/**
 * The row of one event or command: what its texts are made from when they are
 * shown.
 *
 * A million of these are built in one go, so a row is one piece of a
 * RowMemory, and names are those of the window's NamePool: both must outlive
 * it. Right behind the object lie a byte with the class of its date, one with
 * the digits of its number, and the NUL-terminated text of the parameters.
 * `Kind` is what column 3 holds.
 */
template <class Kind> class RecordItem final : public QListViewItem
{
public:
    /** What the row shows; `parameters` is copied. */
    struct Fields {
        int number; ///< of the row
        int digits; ///< that the number is padded to
        const NamePool::Name *sensor;
        int id;
        Kind kind;
        std::time_t time;
        int dateClass;               ///< by DateClasses
        std::string_view parameters; ///< Latin-1
    };

    /** Throws std::bad_alloc. */
    static std::unique_ptr<QListViewItem> create(RowMemory &memory, const Fields &fields)
    {
        const auto text = fields.parameters.substr(0, INT_MAX - 1);
        void *const place = memory.allocate(sizeof(RecordItem) + 2 + text.size() + 1, alignof(RecordItem));
        return std::unique_ptr<QListViewItem>(new (place) RecordItem(fields, text));
    }

    QString text(int column) const override
    {
        switch (column) {
        case NumberColumn:
            return rowNumberText(m_number, digits());
        case IdentifierColumn:
            return QString::number(m_id);
        case DateColumn:
            return dateText(m_time);
        case KindColumn:
            return m_kind.text();
        default:
            return latin1(column);
        }
    }

    qint64 number(int column) const override
    {
        switch (column) {
        case NumberColumn:
            return m_number;
        case IdentifierColumn:
            return m_id;
        case DateColumn:
            return m_time;
        case KindColumn:
            return m_kind.number();
        default:
            return 0;
        }
    }

    QLatin1String latin1(int column, int most = INT_MAX) const override
    {
        switch (column) {
        case SensorColumn:
            return asLatin1(m_sensor->text);
        case KindColumn:
            return m_kind.latin1();
        case ParametersColumn:
            return QLatin1String(parameters(), int(strnlen(parameters(), std::size_t(most))));
        default:
            return {};
        }
    }

    TextClass textClass(int column) const override
    {
        switch (column) {
        case NumberColumn:
            return digitsClass(m_number, digits());
        case SensorColumn:
            return {m_sensor->id, false};
        case IdentifierColumn:
            return digitsClass(m_id);
        case DateColumn:
            return {quint64(uchar(behind()[0])), true};
        case KindColumn:
            return m_kind.textClass();
        default:
            return {};
        }
    }

    /** After a switch of the time zone, before the list's widths are counted anew. */
    void renewDateClass(DateClasses &dates)
    {
        behind()[0] = char(dates.of(m_time));
    }

    /** Its memory goes with all the others'. */
    static void operator delete(void *) {}

private:
    RecordItem(const Fields &fields, std::string_view parameters)
        : m_number(fields.number)
        , m_id(fields.id)
        , m_time(qint32(std::clamp<qint64>(fields.time, INT32_MIN, INT32_MAX)))
        , m_sensor(fields.sensor)
        , m_kind(fields.kind)
    {
        behind()[0] = char(fields.dateClass);
        behind()[1] = char(fields.digits);
        *std::copy(parameters.begin(), parameters.end(), behind() + 2) = '\0';
    }

    static void *operator new(std::size_t, void *place)
    {
        return place;
    }

    int digits() const
    {
        return behind()[1];
    }
    const char *parameters() const
    {
        return behind() + 2;
    }
    char *behind()
    {
        return reinterpret_cast<char *>(this + 1);
    }
    const char *behind() const
    {
        return reinterpret_cast<const char *>(this + 1);
    }

    // In an order that leaves no holes.
    qint32 m_number;
    qint32 m_id;
    qint32 m_time;
    const NamePool::Name *m_sensor;
    Kind m_kind;
};
