// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "managedcolumns.h"

#include "columnfitting.h"
#include "listview.h"

#include <algorithm>
#include <vector>

namespace
{
// Keeps the last character off the next column's first.
constexpr int TextWidthExtra = 3;
} // namespace

ManagedColumns::ManagedColumns(ListView *list)
    : m_list(list)
{
}

void ManagedColumns::showAllColumns(int count)
{
    std::fill(std::begin(ColumnsVisibiliy), std::end(ColumnsVisibiliy), 1);
    NColumns = count;
}

int ManagedColumns::textWidth(int column) const
{
    return m_list->maximumTextWidth(column) + TextWidthExtra;
}

int ManagedColumns::ColumnTextWidth(int c)
{
    textsAreMeasured();
    return textWidth(c);
}

void ManagedColumns::ResizeColumns()
{
    textsAreMeasured();
    std::vector<FittedColumn> fitted;
    for (int c = 0; c < NColumns; ++c) {
        const bool visible = ColumnsVisibiliy[c] != 0;
        // A hidden column's texts count for nothing: spare the measuring.
        fitted.push_back({visible, visible ? textWidth(c) : 0});
    }
    if (fitColumns(m_list->width(), fitted))
        for (int c = 0; c < NColumns; ++c)
            m_list->setColumnWidth(c, fitted[std::size_t(c)].width);
    columnsAreSized();
}

void ManagedColumns::SetColumnsVisibiliy(int c, int set)
{
    if (Menu1 && c >= 0 && c < NColumns)
        setVisible(c, set);
    ResizeColumns();
}

void ManagedColumns::setVisible(int column, int set)
{
    QAction *entry = Menu1->actions().at(column);
    int &visible = ColumnsVisibiliy[column];
    visible = entry->isChecked() ? 1 : 0;
    visible = set == -1 ? !visible : set;
    entry->setChecked(visible != 0);
    m_list->setColumnWidthMode(column, ColumnsVisibiliy[0] ? ListView::Maximum : ListView::Manual);
    if (!visible)
        m_list->setColumnWidth(column, HiddenColumnWidth);
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
