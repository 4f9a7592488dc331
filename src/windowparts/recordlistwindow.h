// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "arrivals.h"
#include "autoupdate.h"
#include "informationbox.h"
#include "listview.h"
#include "listwindow.h"
#include "managedcolumns.h"
#include "manual.h"
#include "namepool.h"
#include "requestfilling.h"
#include "rownumbers.h"
#include "timepresets.h"

#include <KLocalizedString>
#include <QTimer>
#include <climits>
#include <optional>
#include <utility>

/**
 * What the windows of events and of commands do alike: filter controls to
 * request, records to rows, a timer that fetches what is new, a menu of
 * columns, deleting one record.
 *
 * `Traits` names the form, the record, its request and its row, reaches the
 * data, and carries the words and the few steps that differ. The window class
 * derives from this one and has the slots.
 */
template <class Traits> class RecordListWindow : public ListWindow<typename Traits::Form>
{
public:
    using Form = typename Traits::Form;
    using Record = typename Traits::Record;
    using Request = typename Traits::Request;

    ~RecordListWindow() override;

    /** Fetches everything anew. Returns 0 always. */
    int ResetData();
    /** Fetches what is newer than IDLast and adds it. Returns 0 always. */
    int GetNewData();
    /** Shows (1), hides (0) or toggles (-1) a column. */
    void SetColumnsVisibiliy(int c, int set);
    /** Shares the list's width among the columns. */
    void ResizeColumns();
    /** Room in pixels that the rows' texts in a column need. */
    int ColumnTextWidth(int c);
    /** Asks whether to delete the selected record, and does so. */
    virtual void onDeleteItem() = 0; // NOLINT(modernize-use-override): only one of the forms has it

    int IDFirst = 0;                       ///< smallest identifier among the records shown
    int IDLast = 0;                        ///< largest identifier among the records shown
    int iFirst = 0;                        ///< first row number
    int iLast = 0;                         ///< highest row number handed out so far
    int AccSensorID = 0;                   ///< digits of the row numbers
    QTimer *timer = nullptr;               ///< auto-update; NULL while it is off
    QListViewItem *itemSelected = nullptr; ///< the row under the last context menu; NULL when it is gone
    int firstPaint = 0;                    ///< 1 until the first paint event has sized the columns
    QString SensorNameMask;                ///< selects the sensors by name; empty for all
    QMenu *Menu1 = nullptr;                ///< shows and hides columns
    int ColumnsVisibiliy[10] = {};         ///< a flag a column, 1 shown, 0 hidden
    int NColumns = 0;                      ///< columns in use

protected:
    RecordListWindow(QWidget *parent, const char *caption);

    ListView *list() override;
    void closing() override;
    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void languageChange() override;

    /** `caption` as window title; NULL keeps the form's. */
    void setCaption(const char *caption);
    void setSensorNameMask(const char *mask);
    /** Nothing has been fetched yet. */
    void resetNumbers();
    /** The last records of all kinds. */
    void selectDefaultFilter();
    /** Fills in the last hour as time range, without applying it. */
    void fillTimeRange();
    void showAllColumns();
    /** The menu bar with its one menu; `targets` are the slots of the menu's entries. */
    template <class Window> void createMenus(std::initializer_list<void (Window::*)()> targets);

    void setFirstColumnWidth(int width);
    void applyTimePreset(QDateTimeEdit *edit, QCheckBox *used, int index);
    /** Starts the timer anew, or stops it. */
    void chooseAutoUpdate(int index);
    void showContextMenu(QListViewItem *item);
    void deleteSelectedRecord();

private:
    ManagedColumns managedColumns();
    FilterControls filterControls();
    void reload(const QPointer<QObject> &self, LoadGuard &load);
    void loadNew(const QPointer<QObject> &self, LoadGuard &load);
    template <class DigitsOf, class NumberOf>
    std::optional<Arrivals> fetch(const QPointer<QObject> &self, LoadGuard &load, Request &request, DigitsOf digitsOf,
                                  NumberOf numberOf);
    void followTimeZone();
    void addRows(Arrivals &arrivals, bool first, bool startOver);

    NamePool m_names; ///< of the rows in the list
    RowMemory m_memory;
    Arrivals m_arrivals; ///< between a fetch and the release, in which the window may go
    QByteArray m_dateTextBasis;
    LastLoad m_lastReload;
    LastLoad m_lastLoadOfNew{0, 0}; ///< what is new is little as a rule
    bool m_painting = false;
};

template <class Traits>
RecordListWindow<Traits>::RecordListWindow(QWidget *parent, const char *caption)
    : ListWindow<Form>(parent, caption)
{
    addManualKey(this, QStringLiteral("events-and-commands"));
    ListView *view = this->*Traits::List;
    for (int column : Traits::NumericColumns)
        view->setColumnSortKey(column, ListView::SortKey::Number);
    QObject::connect(view, &ListView::itemRemoved, this, [this](const QListViewItem *item) {
        if (item == itemSelected)
            itemSelected = nullptr;
    });
    QObject::connect(view, &ListView::cleared, this, [this] { itemSelected = nullptr; });
}

template <class Traits> RecordListWindow<Traits>::~RecordListWindow()
{
    delete timer;
    // The rows refer to the names, which go before the list does.
    ListView *const view = this->*Traits::List;
    const int rows = view->childCount();
    view->clear();
    m_arrivals = {};
    m_memory.clear();
    RowMemory::trimAfter(rows);
}

template <class Traits> ListView *RecordListWindow<Traits>::list()
{
    return this->*Traits::List;
}

template <class Traits> void RecordListWindow<Traits>::closing()
{
    chooseAutoUpdate(0);
}

template <class Traits> ManagedColumns RecordListWindow<Traits>::managedColumns()
{
    return {list(), Menu1, ColumnsVisibiliy, NColumns};
}

template <class Traits> void RecordListWindow<Traits>::setCaption(const char *caption)
{
    if (caption)
        this->setWindowTitle(QString::fromLatin1(caption));
}

template <class Traits> void RecordListWindow<Traits>::setSensorNameMask(const char *mask)
{
    SensorNameMask = QString::fromLatin1(mask ? mask : "");
}

template <class Traits> void RecordListWindow<Traits>::resetNumbers()
{
    IDFirst = IDLast = iFirst = iLast = 0;
}

template <class Traits> void RecordListWindow<Traits>::selectDefaultFilter()
{
    this->BG_WhichGet->setButton(0);
    this->BG_Type->setButton(0);
}

template <class Traits> void RecordListWindow<Traits>::fillTimeRange()
{
    this->onSetTimeFrom(TimeHourAgo);
    this->onSetTimeTo(TimeNow);
    this->timeToUsed->setChecked(false);
    this->timeFromUsed->setChecked(false);
}

template <class Traits> void RecordListWindow<Traits>::showAllColumns()
{
    std::fill(std::begin(ColumnsVisibiliy), std::end(ColumnsVisibiliy), 1);
    NColumns = RecordColumnCount;
}

template <class Traits>
template <class Window>
void RecordListWindow<Traits>::createMenus(std::initializer_list<void (Window::*)()> targets)
{
    Menu1 = new QMenu(tr2i18n("&Columns"), this);
    addColumnEntries(managedColumns(), Traits::columnNames(), static_cast<Window *>(this), targets);
    this->addMenuBar()->addMenu(Menu1);
}

template <class Traits> void RecordListWindow<Traits>::languageChange()
{
    const QString caption = this->windowTitle();
    Form::languageChange();
    this->setWindowTitle(caption);
    if (!Menu1)
        return;
    Menu1->setTitle(tr2i18n("&Columns"));
    relabelEntries(Menu1, Traits::columnNames());
}

template <class Traits> void RecordListWindow<Traits>::resizeEvent(QResizeEvent *event)
{
    ListWindow<Form>::resizeEvent(event);
    ResizeColumns();
}

template <class Traits> void RecordListWindow<Traits>::paintEvent(QPaintEvent *)
{
    if (!firstPaint)
        return;
    firstPaint = 0;
    m_painting = true;
    ResizeColumns();
    m_painting = false;
}

template <class Traits> int RecordListWindow<Traits>::ColumnTextWidth(int c)
{
    followTimeZone();
    return columnTextWidth(list(), c);
}

template <class Traits> void RecordListWindow<Traits>::ResizeColumns()
{
    followTimeZone();
    fitToList(managedColumns());
    if (!Traits::RepaintsAfterSizing)
        return;
    this->update();
    if (!m_painting)
        this->repaint();
}

template <class Traits> void RecordListWindow<Traits>::SetColumnsVisibiliy(int c, int set)
{
    setColumnVisibility(managedColumns(), c, set);
    ResizeColumns();
}

template <class Traits> void RecordListWindow<Traits>::setFirstColumnWidth(int width)
{
    list()->setColumnWidthMode(NumberColumn, ListView::Manual);
    list()->setColumnWidth(NumberColumn, width);
}

template <class Traits> void RecordListWindow<Traits>::applyTimePreset(QDateTimeEdit *edit, QCheckBox *used, int index)
{
    edit->setDateTime(timePreset(index, currentDateTime()));
    used->setChecked(true);
}

template <class Traits> void RecordListWindow<Traits>::chooseAutoUpdate(int index)
{
    delete timer;
    timer = nullptr;
    const int interval = autoUpdateInterval(index);
    if (interval == 0)
        return;
    timer = new QTimer(this);
    timer->setTimerType(Qt::PreciseTimer);
    QObject::connect(timer, &QTimer::timeout, this, Traits::GetNew);
    timer->start(interval);
}

template <class Traits> FilterControls RecordListWindow<Traits>::filterControls()
{
    return {this->NMax->text(),           this->BG_WhichGet->selectedId(), this->BG_Type->selectedId(),
            this->timeFrom->dateTime(),   this->timeFromUsed->isChecked(), this->timeTo->dateTime(),
            this->timeToUsed->isChecked()};
}

template <class Traits> int RecordListWindow<Traits>::ResetData()
{
    this->load(m_lastReload, this->NMax->text().toInt(), [this](const auto &self, auto &load) {
        const int before = list()->childCount();
        reload(self, load);
        if (self)
            RowMemory::trimAfter(std::max(before, list()->childCount()));
    });
    return 0;
}

template <class Traits> int RecordListWindow<Traits>::GetNewData()
{
    this->load(m_lastLoadOfNew, 0, [this](const auto &self, auto &load) { loadNew(self, load); });
    return 0;
}

template <class Traits> void RecordListWindow<Traits>::reload(const QPointer<QObject> &self, LoadGuard &load)
{
    list()->clear();
    m_names.clear();
    m_memory.clear();
    iFirst = iLast = 0;
    Request request;
    fillRequest(request, filterControls(), SensorNameMask);
    const bool first = request.TakeFirst1_Last0 != 0;
    auto arrivals =
        fetch(self, load, request, rowNumberDigits, [first](int i, int count) { return rowNumber(i, count, first); });
    if (!arrivals)
        return;
    const int count = int(arrivals->rows.size());
    if (count > 0 || Traits::EmptyAnswerResetsDigits)
        AccSensorID = rowNumberDigits(count);
    if (count == 0)
        return;
    setFirstColumnWidth(Traits::FirstColumnWidthWhileLoading);
    addRows(*arrivals, first, true);
    iLast = count - 1;
}

template <class Traits> void RecordListWindow<Traits>::loadNew(const QPointer<QObject> &self, LoadGuard &load)
{
    // There is no identifier above the largest one to ask for.
    if (IDLast == INT_MAX)
        return;
    Request request;
    fillRequest(request, filterControls(), SensorNameMask, IDLast);
    const auto digits = [this](int) { return AccSensorID; };
    const int last = iLast;
    auto arrivals = fetch(self, load, request, digits, [last](int i, int) { return addedRowNumber(last, i); });
    if (!arrivals || arrivals->rows.empty())
        return;
    const int count = int(arrivals->rows.size());
    addRows(*arrivals, request.TakeFirst1_Last0 != 0, false);
    iLast = addedRowNumber(last, count - 1);
}

/** The system's time zone may be switched while the rows are in the list: their dates then read differently. */
template <class Traits> void RecordListWindow<Traits>::followTimeZone()
{
    const QByteArray basis = dateTextBasis();
    if (basis == m_dateTextBasis)
        return;
    m_dateTextBasis = basis;
    DateClasses dates;
    for (int row = 0; row < list()->childCount(); ++row)
        static_cast<typename Traits::Item *>(list()->itemAt(row))->renewDateClass(dates);
    list()->textsChanged();
}

/**
 * Makes rows of the records that the request selects; nothing when the fetch failed or the window is gone. The rows
 * are numbered by numberOf(i, count), in digitsOf(count) digits.
 */
template <class Traits>
template <class DigitsOf, class NumberOf>
auto RecordListWindow<Traits>::fetch(const QPointer<QObject> &self, LoadGuard &load, Request &request,
                                     DigitsOf digitsOf, NumberOf numberOf) -> std::optional<Arrivals>
{
    load.awaitLibrary();
    const auto reader = [&](const Record *records, int count) {
        if (!self)
            return;
        followTimeZone();
        m_arrivals = rowsOf<Traits>(records, count, digitsOf(count), numberOf, m_names, m_memory, load);
    };
    const int result = Traits::Read(reader, &request, this);
    if (!self)
        return std::nullopt;
    auto arrivals = std::exchange(m_arrivals, {});
    return result == 0 ? std::optional(std::move(arrivals)) : std::nullopt;
}

/**
 * Puts the rows into the list, sorted by their numbers, and widens IDFirst and
 * IDLast, which start over if wanted. When memory is short the rows in the
 * list and both are as before.
 */
template <class Traits> void RecordListWindow<Traits>::addRows(Arrivals &arrivals, bool first, bool startOver)
{
    // Room for a number of usual length, wherever the column was before.
    constexpr int numberWidth = 30;
    setFirstColumnWidth(numberWidth);
    list()->setSorting(NumberColumn, first);
    list()->insertItems(std::move(arrivals.rows));
    IDFirst = startOver ? arrivals.lowest : std::min(IDFirst, arrivals.lowest);
    IDLast = startOver ? arrivals.highest : std::max(IDLast, arrivals.highest);
}

template <class Traits> void RecordListWindow<Traits>::showContextMenu(QListViewItem *item)
{
    if (this->loading())
        return;
    itemSelected = item;
    runContextMenu(this, {{Traits::deleteEntry(), [this] { this->onDeleteItem(); }}});
}

template <class Traits> void RecordListWindow<Traits>::deleteSelectedRecord()
{
    QListViewItem *const item = itemSelected;
    if (!item || this->loading())
        return;
    const QString id = item->text(IdentifierColumn);
    const QPointer<QObject> self(this);
    const bool yes = confirm(this, tr2i18n("???"), Traits::deleteQuestion(id));
    if (!self || !yes)
        return;
    Traits::Remove(id.toInt());
    // A reload while the question was open may have taken the row away.
    if (itemSelected == item)
        list()->removeItem(item);
    itemSelected = nullptr;
}
