// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "recorditem.h"

/** Column 3 of a command: its type. */
struct CommandKind {
    int type;

    QString text() const
    {
        return QString::number(type);
    }
    qint64 number() const
    {
        return type;
    }
    QLatin1String latin1() const
    {
        return {};
    }
    QListViewItem::TextClass textClass() const
    {
        return digitsClass(type);
    }
};

using CommandItem = RecordItem<CommandKind>;
