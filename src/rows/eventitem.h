// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "recorditem.h"

/** Column 3 of an event: its name. */
struct EventKind {
    const NamePool::Name *name;

    QString text() const
    {
        return latin1();
    }
    qint64 number() const
    {
        return 0;
    }
    QLatin1String latin1() const
    {
        return asLatin1(name->text);
    }
    QListViewItem::TextClass textClass() const
    {
        return {name->id, false};
    }
};

using EventItem = RecordItem<EventKind>;
