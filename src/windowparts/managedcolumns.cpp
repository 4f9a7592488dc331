// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "managedcolumns.h"

#include "columnfitting.h"
#include "listview.h"

namespace
{
// Keeps the last character off the next column's first.
constexpr int TextWidthExtra = 3;
} // namespace

int columnTextWidth(const ListView *list, int column)
{
    return list->maximumTextWidth(column) + TextWidthExtra;
}

void fitToList(const ManagedColumns &columns)
{
    std::vector<FittedColumn> fitted(std::size_t(columns.count));
    for (int c = 0; c < columns.count; ++c) {
        FittedColumn &column = fitted[std::size_t(c)];
        column.visible = columns.visible[c] != 0;
        // A hidden column's texts count for nothing: spare the measuring.
        column.textWidth = column.visible ? columnTextWidth(columns.list, c) : 0;
    }
    if (!fitColumns(columns.list->width(), fitted))
        return;
    for (int c = 0; c < columns.count; ++c)
        columns.list->setColumnWidth(c, fitted[std::size_t(c)].width);
}

void setColumnVisibility(const ManagedColumns &columns, int column, int set)
{
    if (!columns.menu || column < 0 || column >= columns.count)
        return;
    QAction *entry = columns.menu->actions().at(column);
    int &visible = columns.visible[column];
    visible = entry->isChecked() ? 1 : 0;
    visible = set == -1 ? !visible : set;
    entry->setChecked(visible != 0);
    columns.list->setColumnWidthMode(column, columns.visible[0] ? ListView::Maximum : ListView::Manual);
    if (!visible)
        columns.list->setColumnWidth(column, HiddenColumnWidth);
}

QAction *addCheckableAction(QMenu *menu, const QString &text, bool checked)
{
    QAction *entry = menu->addAction(text);
    entry->setCheckable(true);
    entry->setChecked(checked);
    // A click turns the mark before it is told: turn it back, so that what
    // the entry is connected to finds the mark that the program set last.
    QObject::connect(entry, &QAction::triggered, entry, [entry] { entry->setChecked(!entry->isChecked()); });
    return entry;
}

void relabelEntries(QMenu *menu, const QStringList &texts)
{
    const QList<QAction *> entries = menu->actions();
    for (int i = 0; i < entries.size() && i < texts.size(); ++i)
        entries.at(i)->setText(texts.at(i));
}
