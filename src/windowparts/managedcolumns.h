// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QAction>
#include <QMenu>
#include <QStringList>
#include <initializer_list>

class ListView;

/** The columns of a list window that its "&Columns" menu shows and hides. All of it stays the window's. */
struct ManagedColumns {
    ListView *list;
    QMenu *menu;  ///< an entry a column, in their order; may be NULL while the window is built
    int *visible; ///< a flag a column: non-zero when shown
    int count;
};

/** Room in pixels that the rows' texts in a column need. */
int columnTextWidth(const ListView *list, int column);

/** Shares the list's width among the columns. */
void fitToList(const ManagedColumns &columns);

/**
 * Shows (`set` 1), hides (0) or toggles (-1) a column; the menu's mark
 * follows. The flag of column 0 decides the width mode of every column. The
 * caller shares out the widths afterwards.
 */
void setColumnVisibility(const ManagedColumns &columns, int column, int set);

/** Fills a menu with a checkable entry for each column, each connected to its slot. */
template <class Window>
void addColumnEntries(const ManagedColumns &columns, const QStringList &texts, Window *window,
                      std::initializer_list<void (Window::*)()> targets);

/** Appends an entry whose mark changes only when the program sets it, not by a click. */
QAction *addCheckableAction(QMenu *menu, const QString &text, bool checked);

/** Gives the entries of a menu their texts again, from the first on. */
void relabelEntries(QMenu *menu, const QStringList &texts);

template <class Window>
void addColumnEntries(const ManagedColumns &columns, const QStringList &texts, Window *window,
                      std::initializer_list<void (Window::*)()> targets)
{
    int column = 0;
    for (const auto slot : targets) {
        QAction *entry = addCheckableAction(columns.menu, texts.at(column), columns.visible[column] != 0);
        QObject::connect(entry, &QAction::triggered, window, slot);
        ++column;
    }
}
