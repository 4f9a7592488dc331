// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "informationbox.h"
#include "listwindow.h"
#include "namepool.h"
#include "parametertext.h"
#include "recorditem.h"
#include "requestfilling.h"
#include "rownumbers.h"
#include "timepresets.h"

#include <QTimer>
#include <algorithm>
#include <climits>
#include <optional>
#include <string>
#include <utility>

/** The rows made of a fetch's records, before the list has them, and what is known of the identifiers. */
struct Arrivals {
    ListView::Rows rows;
    int lowest = INT_MAX;
    int highest = INT_MIN;
};

/**
 * What the windows of events and of commands do alike: filter controls to
 * request, records to rows, a timer that fetches what is new, deleting one
 * record.
 *
 * `Traits` names the form, the record, its request and its row, reaches the
 * data, and carries the words and the few steps that differ. The window class
 * derives from this one and has the slots.
 */
template <class Traits> class RecordListWindow : public ListWindow<typename Traits::Form>
{
public:
    using Record = typename Traits::Record;
    using Request = typename Traits::Request;

    ~RecordListWindow() override
    {
        delete timer;
        // The rows refer to the names, which go before the list does.
        const int rows = this->list()->childCount();
        this->list()->clear();
        m_arrivals = {};
        m_memory.release();
        trimMemoryAfter(rows);
    }

    /** Fetches everything anew. Returns 0 always. */
    int ResetData()
    {
        this->load(m_lastReload, this->NMax->text().toInt(), [this](const auto &self, auto &load) {
            const int before = this->list()->childCount();
            this->list()->clear();
            m_names.clear();
            m_memory.release();
            iFirst = iLast = 0;
            addRecords(self, load);
            if (self)
                trimMemoryAfter(std::max(before, this->list()->childCount()));
        });
        return 0;
    }

    /** Fetches what is newer than IDLast and adds it. Returns 0 always. */
    int GetNewData()
    {
        this->load(m_lastLoadOfNew, 0, [this](const auto &self, auto &load) {
            // There is no identifier above the largest one to ask for.
            if (IDLast < INT_MAX)
                addRecords(self, load, IDLast);
        });
        return 0;
    }

    void reject() override
    {
        chooseAutoUpdate(0);
        Base::reject();
    }

    /** Asks whether to delete the selected record, and does so. */
    virtual void onDeleteItem() = 0; // NOLINT(modernize-use-override): only one of the forms has it

    int IDFirst = 0;         ///< smallest identifier among the records shown
    int IDLast = 0;          ///< largest identifier among the records shown
    int iFirst = 0;          ///< first row number
    int iLast = 0;           ///< highest row number handed out so far
    int AccSensorID = 0;     ///< digits of the row numbers
    QTimer *timer = nullptr; ///< auto-update; NULL while it is off
    int firstPaint = 0;      ///< 1 until the first paint event has sized the columns
    QString SensorNameMask;  ///< selects the sensors by name; empty for all

protected:
    RecordListWindow(QWidget *parent, const char *caption)
        : Base(parent, caption, QStringLiteral("events-and-commands"))
    {
        for (int column : Traits::NumericColumns)
            this->list()->setColumnSortKey(column, ListView::SortKey::Number);
        this->NMax->setText(QStringLiteral("100"));
    }

    /**
     * What the window asks for as long as nobody chooses: the last records of
     * all kinds, of the sensors that `mask` selects, NULL: all. The last hour is
     * filled in as time range, without applying it. `caption` becomes the
     * title; NULL keeps the form's.
     */
    void setUp(const char *caption, const char *mask)
    {
        setFirstColumnWidth(20);
        IDFirst = IDLast = iFirst = iLast = 0;
        this->BG_WhichGet->setButton(0);
        this->BG_Type->setButton(0);
        AccSensorID = rowNumberDigits(0);
        SensorNameMask = QString::fromLatin1(mask ? mask : "");
        this->onSetTimeFrom(TimeHourAgo);
        this->onSetTimeTo(TimeNow);
        this->timeToUsed->setChecked(false);
        this->timeFromUsed->setChecked(false);
        if (caption)
            this->setWindowTitle(QString::fromLatin1(caption));
        firstPaint = 1;
        this->update();
    }

    /** The columns as the first load filled them; `targets` are the slots of their menu's entries. */
    template <class Window> void setUpColumns(std::initializer_list<void (Window::*)()> targets)
    {
        this->showAllColumns(RecordColumnCount);
        this->addColumnsMenu(targets);
        this->ResizeColumns();
    }

    void applyTimePreset(QDateTimeEdit *edit, QCheckBox *used, int index)
    {
        edit->setDateTime(timePreset(index, currentDateTime()));
        used->setChecked(true);
    }

    /** Starts the timer anew, or stops it. */
    void chooseAutoUpdate(int index)
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

    void showContextMenu(QListViewItem *item, const QString &deleteEntry)
    {
        if (this->loading())
            return;
        this->itemSelected = item;
        runContextMenu(this, {{deleteEntry, [this] { this->onDeleteItem(); }}});
    }

    /** Asks `question`, which is made of the record's identifier, and after a Yes removes the record and its row. */
    void deleteSelectedRecord(QString (*question)(const QString &), int (*remove)(int))
    {
        QListViewItem *const item = this->itemSelected;
        if (!item || this->loading())
            return;
        const QString id = item->text(IdentifierColumn);
        const QPointer<QObject> self(this);
        const bool yes = confirm(this, tr2i18n("???"), question(id));
        if (!self || !yes)
            return;
        remove(id.toInt());
        // A reload while the question was open may have taken the row away.
        if (this->itemSelected == item)
            this->list()->removeItem(item);
        this->itemSelected = nullptr;
    }

    void paintEvent(QPaintEvent *) override
    {
        if (!firstPaint)
            return;
        this->ResizeColumns();
        firstPaint = 0;
    }

    void languageChange() override
    {
        const QString caption = this->windowTitle();
        Base::languageChange();
        this->setWindowTitle(caption);
    }

    /** The system's time zone may be switched while the rows are in the list: their dates then read differently. */
    void textsAreMeasured() override
    {
        const QByteArray basis = dateTextBasis();
        if (basis == m_dateTextBasis)
            return;
        m_dateTextBasis = basis;
        DateClasses dates;
        for (int row = 0; row < this->list()->childCount(); ++row)
            static_cast<typename Traits::Item *>(this->list()->itemAt(row))->renewDateClass(dates);
        this->list()->textsChanged();
    }

    void columnsAreSized() override
    {
        if (!Traits::RepaintsAfterSizing)
            return;
        this->update();
        if (!firstPaint)
            this->repaint();
    }

private:
    using Base = ListWindow<typename Traits::Form>;

    void setFirstColumnWidth(int width)
    {
        this->list()->setColumnWidthMode(NumberColumn, ListView::Manual);
        this->list()->setColumnWidth(NumberColumn, width);
    }

    FilterControls filterControls()
    {
        return {this->NMax->text(),           this->BG_WhichGet->selectedId(), this->BG_Type->selectedId(),
                this->timeFrom->dateTime(),   this->timeFromUsed->isChecked(), this->timeTo->dateTime(),
                this->timeToUsed->isChecked()};
    }

    /**
     * Adds rows of the records that the controls select: those above `idLast` with the numbers that come next, without
     * one all, numbered anew.
     */
    void addRecords(const QPointer<QObject> &self, LoadGuard &load, std::optional<int> idLast = std::nullopt)
    {
        Request request;
        fillRequest(request, filterControls(), SensorNameMask, idLast);
        const bool first = request.TakeFirst1_Last0 != 0;
        load.awaitLibrary();
        const auto reader = [&](const Record *records, int count) {
            if (!self)
                return;
            textsAreMeasured();
            const auto numberOf = [&](int i) { return idLast ? addedRowNumber(iLast, i) : rowNumber(i, count, first); };
            m_arrivals = rowsOf(records, count, idLast ? AccSensorID : rowNumberDigits(count), numberOf, load);
        };
        const int result = Traits::Read(reader, &request, this);
        if (!self)
            return;
        Arrivals arrivals = std::exchange(m_arrivals, {});
        if (result != 0)
            return;
        const int count = int(arrivals.rows.size());
        if (!idLast && (count > 0 || Traits::EmptyAnswerResetsDigits))
            AccSensorID = rowNumberDigits(count);
        if (count == 0)
            return;
        addRows(arrivals, first, !idLast);
        iLast = idLast ? addedRowNumber(iLast, count - 1) : count - 1;
    }

    /** Rows of `count` records, numbered by numberOf(i) in so many digits. `load` shows how far it is. */
    template <class NumberOf>
    Arrivals rowsOf(const Record *records, int count, int digits, NumberOf numberOf, LoadGuard &load)
    {
        constexpr int rowsPerLook = 4096; // at the clock
        DateClasses dates;
        LentNames lent(m_names, count);
        std::string parameters;
        Arrivals arrivals;
        arrivals.rows.reserve(std::size_t(count));
        for (int i = 0; i < count; ++i) {
            const auto &record = records[i];
            const int id = record.*Traits::Identifier;
            const std::time_t time = record.*Traits::Time;
            arrivals.lowest = std::min(arrivals.lowest, id);
            arrivals.highest = std::max(arrivals.highest, id);
            parameters.clear();
            appendLentParameters(parameters, record.par, record.ParNum);
            const auto *sensor = lent.name(record.SensorID, record.LSensorID);
            arrivals.rows.push_back(
                Traits::Item::create(m_memory, {numberOf(i), digits, sensor, id, Traits::kind(record, lent), time,
                                                dates.of(time), parameters}));
            if (i % rowsPerLook == rowsPerLook - 1)
                load.showProgress(i + 1, count);
        }
        return arrivals;
    }

    /**
     * Puts the rows into the list, sorted by their numbers, and widens IDFirst and
     * IDLast, which start over if wanted. When memory is short the rows in the
     * list and both are as before.
     */
    void addRows(Arrivals &arrivals, bool first, bool startOver)
    {
        // Room for a number of usual length, wherever the column was before.
        constexpr int numberWidth = 30;
        setFirstColumnWidth(numberWidth);
        this->list()->setSorting(NumberColumn, first);
        this->list()->insertItems(std::move(arrivals.rows));
        IDFirst = startOver ? arrivals.lowest : std::min(IDFirst, arrivals.lowest);
        IDLast = startOver ? arrivals.highest : std::max(IDLast, arrivals.highest);
    }

    NamePool m_names; ///< of the rows in the list
    RowMemory m_memory;
    Arrivals m_arrivals; ///< between a fetch and the release, in which the window may go
    QByteArray m_dateTextBasis;
    LastLoad m_lastReload;
    LastLoad m_lastLoadOfNew{0, 0}; ///< what is new is little as a rule
};
