// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "columnscaling.h"
#include "columnwidths.h"
#include "keptplace.h"
#include "listmodel.h"
#include "listviewitem.h"
#include "typedsearch.h"

#include <QAbstractItemDelegate>
#include <QAbstractItemView>
#include <QElapsedTimer>
#include <QTimer>
#include <memory>
#include <optional>
#include <vector>

class QHeaderView;
class QHelpEvent;

/**
 * Paints the cells of a ListView: the style's panel, and the text in one line
 * with the list's own margin, which the styles' own painting does not know.
 * The tool tip of a cell whose text is cut is the whole text.
 */
class CellDelegate : public QAbstractItemDelegate
{
public:
    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override;
};

/**
 * A flat list of rows in columns, made for millions of rows.
 *
 * Rows stand sorted, by column 0 ascending unless told otherwise, and keep
 * that order as they come. One row at most is selected. Since all rows are of
 * one height, their places are computed and not kept.
 */
class ListView : public QAbstractItemView
{
    Q_OBJECT
public:
    /** Kept for each column and told; no width follows from it. */
    enum WidthMode { Manual, Maximum };
    Q_ENUM(WidthMode)
    /** Whether a change of the list's own width leaves the columns alone or scales them to fill it. */
    enum ResizeMode { NoColumn, AllColumns };
    Q_ENUM(ResizeMode)
    using SortKey = ListModel::SortKey;
    using Rows = ListModel::Rows;

    explicit ListView(QWidget *parent = nullptr);
    ~ListView() override;

    /**
     * Adds a column at the right and returns its number. Without a width (a
     * negative one) it is as wide as its heading, and its mode is Maximum.
     */
    int addColumn(const QString &label, int width = -1);
    void setColumnText(int column, const QString &label);
    QString columnText(int column) const;
    int columns() const;
    /**
     * Sets a width in pixels; less than 2 counts as 2. Beside this only the
     * user and the scaling change a width: rows that come or go do not.
     */
    void setColumnWidth(int column, int width);
    int columnWidth(int column) const;
    void setColumnWidthMode(int column, WidthMode mode);
    WidthMode columnWidthMode(int column) const;
    void setResizeMode(ResizeMode mode);
    ResizeMode resizeMode() const;
    /** The headings, in the order in which the user has put the columns. */
    QHeaderView *header() const;

    /** What a column is sorted by; Text unless set. */
    void setColumnSortKey(int column, SortKey key);
    /** Sorts by a column now and from now on; rows of equal keys stand as they arrived. */
    void setSorting(int column, bool ascending = true);
    /** Sorts again in the order set: only needed when the keys themselves changed. */
    void sort();

    /** Tells that texts of rows read differently from now on: counts the widths anew and paints the rows. */
    void textsChanged();

    /** A text in the middle, over the rows, until another one or none comes. Painted in its time. */
    void setNotice(const QString &text);
    QString notice() const;

    /** Deletes all rows. */
    void clear();
    /** Takes over a row, puts it at its place and returns it; null is ignored. */
    QListViewItem *insertItem(std::unique_ptr<QListViewItem> item);
    /** Takes over rows, each put at its place: cheaper than one by one. */
    void insertItems(Rows &&items);
    /** Deletes a row of this list; null is ignored. */
    void removeItem(QListViewItem *item);
    int childCount() const;
    /** The row at an index in the order shown; null outside. */
    QListViewItem *itemAt(int row) const;
    /** The first row shown, or null. */
    QListViewItem *firstChild() const;
    /** The row with the keyboard's focus, or null. */
    QListViewItem *currentItem() const;

    /** The widest QListViewItem::width() of a column over all rows, in the list's font; 0 without rows. */
    int maximumTextWidth(int column) const;
    /** Measures texts in the list's font. */
    const TextMeasure &measure() const;

    QRect visualRect(const QModelIndex &index) const override;
    void scrollTo(const QModelIndex &index, ScrollHint hint = EnsureVisible) override;
    QModelIndex indexAt(const QPoint &point) const override;
    /**
     * Goes on to the next row that begins, in the current column, with what was
     * typed. Many rows are looked through by and by from the event loop; what
     * the user does in the meantime ends that, but typing on goes on with it.
     */
    void keyboardSearch(const QString &search) override;
    /** Whether rows are still being looked through for what was typed. */
    bool isSearching() const;
    void reset() override;

signals:
    /**
     * The right button was released at a global position, over a row and
     * column, or over nothing (null, -1). The menu key gives the same for the
     * current row.
     */
    void rightButtonClicked(QListViewItem *item, const QPoint &position, int column);
    /** A row is about to be deleted. */
    void itemRemoved(QListViewItem *item);
    /** All rows are about to be deleted. */
    void cleared();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    bool event(QEvent *event) override;
    bool eventFilter(QObject *object, QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;

    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    int horizontalOffset() const override;
    int verticalOffset() const override;
    bool isIndexHidden(const QModelIndex &index) const override;
    void setSelection(const QRect &rect, QItemSelectionModel::SelectionFlags command) override;
    QRegion visualRegionForSelection(const QItemSelection &selection) const override;

protected slots:
    void rowsInserted(const QModelIndex &parent, int first, int last) override;
    void rowsAboutToBeRemoved(const QModelIndex &parent, int first, int last) override;
    void updateGeometries() override;
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
    void selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) override;

private:
    void connectHeader();
    /** The widths of all rows' texts, counted anew if what was known no longer holds. */
    ColumnWidths &widths() const;
    void resizeColumn(int column, int width);
    void scaleColumns();
    /** Shows in the heading what the rows are sorted by. */
    void markSorting();

    /** Brings the scroll bars up to date with the rows. */
    void settle() const;
    void setScrollRanges(const QSize &room);
    void takePlace();
    KeptPlace::Sight sight() const;

    int lineHeight() const;
    /** Rows that are wholly seen at once, at least one. */
    int rowsPerPage() const;
    /** Scroll bar steps from one row to the next. */
    int stepsPerRow() const;
    /** The row at the upper edge, as it was when the rows were last laid out. */
    int topRow() const;
    /** The row at a height of the viewport; may lie outside the rows. */
    int rowAtHeight(int y) const;
    /** Where the rows from first to last stand, in all columns, on the viewport. */
    QRect rowsRect(int first, int last) const;

    QStyleOptionViewItem rowOption() const;
    void drawRow(QPainter *painter, QStyleOptionViewItem option, int row) const;
    void drawNotice(QPainter *painter) const;

    /** Shows the whole text of a heading that is cut; false when it is not. */
    bool showHeadingTip(const QHelpEvent &event);
    void copyCurrentRow() const;
    void emitForCurrentRow();
    bool startsWith(int row, int column, const QString &start) const;
    /** Looks through the next rows for what was typed; the event loop calls for more. */
    void searchOn();
    void endSearch();

    ListModel *m_model;
    QHeaderView *m_header;
    CellDelegate m_delegate;
    mutable std::optional<TextMeasure> m_measure; ///< none when unknown, as all that hangs on the font
    mutable std::optional<ColumnWidths> m_widths;
    mutable int m_lineHeight = 0; ///< 0 when unknown
    std::vector<WidthMode> m_modes;
    ResizeMode m_resizeMode = NoColumn;
    ColumnScaling m_scaling;
    int m_ownWidth = -1;        ///< the list's, as the columns were last scaled or set to; -1 before its first resize
    bool m_updating = false;    ///< the scroll bars are being set
    bool m_shown = false;       ///< rows have been painted since the last reset
    KeptPlace m_place;          ///< since the rows were laid out
    bool m_menuKeyDown = false; ///< the menu key's press was answered already
    QString m_notice;
    TypedSearch m_search;
    QElapsedTimer m_typingClock; ///< since the last key
    QTimer m_searchTimer;        ///< runs while rows are looked through
};
