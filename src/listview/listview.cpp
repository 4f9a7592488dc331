// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// A ListView's columns and rows; what it looks like and how it is used are in the files beside this one.
#include "listview.h"

#include "listaccess.h"

#include <QHeaderView>
#include <QResizeEvent>
#include <QSignalBlocker>
#include <algorithm>
#include <utility>

namespace
{
// No screen is wider, and what a row costs to paint follows its columns' widths.
constexpr int WidestColumn = 16383;

/** The font in which a text is as wide as its characters. */
QFont unshaped(QFont font)
{
    font.setStyleStrategy(QFont::StyleStrategy(font.styleStrategy() | QFont::PreferNoShaping));
    return font;
}
} // namespace

ListView::ListView(QWidget *parent)
    : QAbstractItemView(parent)
    , m_model(new ListModel(this))
    , m_header(new QHeaderView(Qt::Horizontal, this))
{
    ListAccess::install();
    setItemDelegate(&m_delegate);
    // All else of the font stays the desktop's.
    setFont(unshaped(QFont()));
    setModel(m_model);
    setSelectionMode(SingleSelection);
    setSelectionBehavior(SelectRows);
    setEditTriggers(NoEditTriggers);
    setHorizontalScrollMode(ScrollPerPixel);
    connectHeader();
    connect(m_model, &QAbstractItemModel::layoutChanged, this, &ListView::endSearch);
    connect(this, &QAbstractItemView::activated, this, &ListView::endSearch);
    connect(&m_searchTimer, &QTimer::timeout, this, &ListView::searchOn);
}

ListView::~ListView()
{
    // Hidden by and by with the list, it would still tell of its changes.
    delete m_header;
}

void ListView::connectHeader()
{
    m_header->setModel(m_model);
    m_header->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    m_header->setMinimumSectionSize(NarrowestColumn);
    m_header->setMaximumSectionSize(WidestColumn);
    m_header->setSectionsMovable(true);
    m_header->setSectionsClickable(true);
    m_header->setSortIndicatorShown(true);
    m_header->setFocusProxy(this);
    m_header->viewport()->installEventFilter(this);
    markSorting();
    connect(m_header, &QHeaderView::sortIndicatorChanged, m_model, &ListModel::sort);
    connect(m_header, &QHeaderView::geometriesChanged, this, &ListView::updateGeometries);
    const auto layOut = [this] { scheduleDelayedItemsLayout(); };
    connect(m_header, &QHeaderView::sectionResized, this, layOut);
    connect(m_header, &QHeaderView::sectionMoved, this, layOut);
    connect(m_header, &QHeaderView::sectionCountChanged, this, layOut);
    connect(m_header, &QHeaderView::sectionHandleDoubleClicked, this, [this](int column) {
        setColumnWidth(column, std::max(maximumTextWidth(column), m_header->sectionSizeHint(column)));
    });
}

// --- Columns

int ListView::addColumn(const QString &label, int width)
{
    const int column = m_model->addColumn(label);
    m_widths.reset();
    m_modes.push_back(width < 0 ? Maximum : Manual);
    // The header moves its mark along when the first column comes in below it.
    markSorting();
    setColumnWidth(column, width < 0 ? m_header->sectionSizeHint(column) : width);
    return column;
}

void ListView::setColumnText(int column, const QString &label)
{
    m_model->setLabel(column, label);
}

QString ListView::columnText(int column) const
{
    return m_model->headerData(column, Qt::Horizontal).toString();
}

int ListView::columns() const
{
    return m_model->columnCount();
}

void ListView::setColumnWidth(int column, int width)
{
    if (column < 0 || column >= columns())
        return;
    // A hidden list hears of its own resize only when it is shown: what was set after that stands.
    if (m_ownWidth >= 0)
        m_ownWidth = this->width();
    resizeColumn(column, width);
}

void ListView::resizeColumn(int column, int width)
{
    m_header->resizeSection(column, std::clamp(width, NarrowestColumn, WidestColumn));
}

int ListView::columnWidth(int column) const
{
    return m_header->sectionSize(column);
}

void ListView::setColumnWidthMode(int column, WidthMode mode)
{
    if (column >= 0 && column < columns())
        m_modes[size_t(column)] = mode;
}

ListView::WidthMode ListView::columnWidthMode(int column) const
{
    return column >= 0 && column < columns() ? m_modes[size_t(column)] : Manual;
}

void ListView::setResizeMode(ResizeMode mode)
{
    m_resizeMode = mode;
}

ListView::ResizeMode ListView::resizeMode() const
{
    return m_resizeMode;
}

QHeaderView *ListView::header() const
{
    return m_header;
}

void ListView::resizeEvent(QResizeEvent *event)
{
    QAbstractItemView::resizeEvent(event);
    // Also told when a scroll bar comes or goes.
    if (std::exchange(m_ownWidth, width()) != width() && m_resizeMode == AllColumns)
        scaleColumns();
}

void ListView::scaleColumns()
{
    std::vector<int> widths;
    for (int column = 0; column < columns(); ++column)
        widths.push_back(columnWidth(column));
    widths = m_scaling.scaled(widths, viewport()->width());
    for (int column = 0; column < columns(); ++column)
        resizeColumn(column, widths[size_t(column)]);
}

// --- Sorting

void ListView::setColumnSortKey(int column, SortKey key)
{
    m_model->setSortKey(column, key);
}

void ListView::setSorting(int column, bool ascending)
{
    const Qt::SortOrder order = ascending ? Qt::AscendingOrder : Qt::DescendingOrder;
    if (column == m_model->sortColumn() && order == m_model->sortOrder())
        return;
    m_model->sort(column, order);
    markSorting();
}

void ListView::markSorting()
{
    // Not told: the header's own clicks are what sorts the rows.
    const QSignalBlocker quiet(m_header);
    m_header->setSortIndicator(m_model->sortColumn(), m_model->sortOrder());
}

void ListView::sort()
{
    m_model->sort(m_model->sortColumn(), m_model->sortOrder());
}

// --- Rows

void ListView::textsChanged()
{
    m_widths.reset();
    viewport()->update();
}

void ListView::clear()
{
    emit cleared();
    m_model->clear();
    m_widths.reset();
}

QListViewItem *ListView::insertItem(std::unique_ptr<QListViewItem> item)
{
    QListViewItem *row = item.get();
    Rows rows;
    rows.push_back(std::move(item));
    insertItems(std::move(rows));
    return row;
}

void ListView::insertItems(Rows &&items)
{
    items.erase(std::remove(items.begin(), items.end(), nullptr), items.end());
    try {
        ColumnWidths &known = widths();
        for (const auto &item : items)
            known.add(*item);
        m_model->insert(std::move(items));
    } catch (...) {
        // What was counted has not all come in.
        m_widths.reset();
        throw;
    }
}

void ListView::removeItem(QListViewItem *item)
{
    if (m_model->rowOf(item) < 0)
        return;
    emit itemRemoved(item);
    // A clock or a language that changed since can have changed the text.
    if (m_widths && !m_widths->remove(*item))
        m_widths.reset();
    m_model->remove(item);
}

int ListView::childCount() const
{
    return m_model->rowCount();
}

QListViewItem *ListView::itemAt(int row) const
{
    return m_model->item(row);
}

QListViewItem *ListView::firstChild() const
{
    return m_model->item(0);
}

QListViewItem *ListView::currentItem() const
{
    return m_model->item(currentIndex().row());
}

// --- Widths of texts

const TextMeasure &ListView::measure() const
{
    if (!m_measure)
        m_measure.emplace(font(), QFontMetricsF(fontMetrics()));
    return *m_measure;
}

ColumnWidths &ListView::widths() const
{
    if (!m_widths) {
        m_widths.emplace(columns(), measure());
        for (int row = 0; row < childCount(); ++row)
            m_widths->add(*itemAt(row));
    }
    return *m_widths;
}

int ListView::maximumTextWidth(int column) const
{
    const bool none = childCount() == 0 || column < 0 || column >= columns();
    return none ? 0 : widths().widest(column) + 2 * QListViewItem::TextMargin;
}

void ListView::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        m_lineHeight = 0;
        m_measure.reset();
        m_widths.reset();
        if (!(font().styleStrategy() & QFont::PreferNoShaping))
            setFont(unshaped(font()));
    }
    QAbstractItemView::changeEvent(event);
}
