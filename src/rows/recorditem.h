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
#include <type_traits>

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

/**
 * The row of one event or command: what its texts are made from when they are
 * shown.
 *
 * A million of these are built in one go, so a row is one piece of a
 * RowMemory, and names are those of the window's NamePool: both must outlive
 * it. Right behind the object lie a byte with the class of its date, one with
 * the digits of its number, and the NUL-terminated text of the parameters.
 * `Kind` is what column 3 shows: an event's name, a command's type.
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
        if (column == NumberColumn)
            return rowNumberText(m_number, digits());
        if (column == DateColumn)
            return dateText(m_time);
        if (const qint32 *plain = plainNumber(column))
            return QString::number(*plain);
        return latin1(column);
    }

    qint64 number(int column) const override
    {
        if (column == NumberColumn)
            return m_number;
        if (column == DateColumn)
            return m_time;
        const qint32 *plain = plainNumber(column);
        return plain ? *plain : 0;
    }

    QLatin1String latin1(int column, int most = INT_MAX) const override
    {
        if (column == ParametersColumn)
            return QLatin1String(parameters(), int(strnlen(parameters(), std::size_t(most))));
        const NamePool::Name *shared = name(column);
        return shared ? QLatin1String(shared->text.data(), int(shared->text.size())) : QLatin1String();
    }

    TextClass textClass(int column) const override
    {
        if (column == NumberColumn)
            return digitsClass(m_number, digits());
        if (column == DateColumn)
            return {quint64(uchar(behind()[0])), true};
        if (const qint32 *plain = plainNumber(column))
            return digitsClass(*plain);
        const NamePool::Name *shared = name(column);
        return shared ? TextClass{shared->id, false} : TextClass();
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

    /** The name that a column shows, if it does. */
    const NamePool::Name *name(int column) const
    {
        if constexpr (std::is_pointer_v<Kind>)
            if (column == KindColumn)
                return m_kind;
        return column == SensorColumn ? m_sensor : nullptr;
    }
    /** The number that a column shows as it is, if it does. */
    const qint32 *plainNumber(int column) const
    {
        if constexpr (std::is_integral_v<Kind>)
            if (column == KindColumn)
                return &m_kind;
        return column == IdentifierColumn ? &m_id : nullptr;
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

using EventItem = RecordItem<const NamePool::Name *>;
using CommandItem = RecordItem<qint32>;
