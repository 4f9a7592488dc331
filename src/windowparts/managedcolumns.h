// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QAction>
#include <QMenu>
#include <QStringList>

class ListView;

/** The columns of a list window: how they share its width, and the menu that shows and hides them. */
class ManagedColumns
{
public:
    /** Room in pixels that the rows' texts in a column need. */
    int ColumnTextWidth(int c);
    /** Shares the list's width among the columns. */
    void ResizeColumns();
    /**
     * Shows (`set` 1), hides (0) or toggles (-1) a column; the menu's mark
     * follows. The flag of column 0 decides the width mode of every column.
     */
    void SetColumnsVisibiliy(int c, int set);

    QMenu *Menu1 = nullptr;        ///< "&Columns", an entry a column, in their order; NULL while the window is built
    int ColumnsVisibiliy[10] = {}; ///< a flag a column, 1 shown, 0 hidden
    int NColumns = 0;              ///< columns in use

protected:
    /** `list` outlives this. */
    explicit ManagedColumns(ListView *list);
    ~ManagedColumns() = default;

    void showAllColumns(int count);
    /** The texts of the rows are measured next. */
    virtual void textsAreMeasured() {}
    /** The columns have their widths. */
    virtual void columnsAreSized() {}

private:
    int textWidth(int column) const;
    void setVisible(int column, int set);

    ListView *m_list;
};

/** Appends an entry whose mark changes only when the program sets it, not by a click. */
QAction *addCheckableAction(QMenu *menu, const QString &text, bool checked);

/** Gives the entries of a menu their texts again, from the first on. */
void relabelEntries(QMenu *menu, const QStringList &texts);
