// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "DBFuns.h"
#include "EventsList.h"
#include "Messages.h"
#include "recorditem.h"
#include "recordlistwindow.h"

/** Events, as RecordListWindow needs to know them. */
struct EventListTraits {
    using Form = DEventList;
    using Record = CMessageEvent;
    using Request = CMessageEventRequest;
    using Item = EventItem;

    /** Columns that sort by numbers, dates among them. */
    static constexpr int NumericColumns[] = {NumberColumn, IdentifierColumn, DateColumn};
    /** Whether a full load without records brings the row numbers back to their fewest digits. */
    static constexpr bool EmptyAnswerResetsDigits = true;
    static constexpr bool RepaintsAfterSizing = true;
    /** What the auto-update timer ticks for. */
    static constexpr auto GetNew = &DEventList::onGetNewEvents;
    /** The members that hold the identifier and the time of a record. */
    static constexpr auto Identifier = &CMessageEvent::MessageID;
    static constexpr auto Time = &CMessageEvent::EventTime;
    /** What DBFuns.h has for these records. */
    static constexpr auto Read = &readEvents;

    /** Column 3; what it refers to is kept in `names`. */
    static const NamePool::Name *kind(const CMessageEvent &event, LentNames &names);
};

/** The window that lists, filters, refreshes and deletes events. It deletes itself when it is closed. */
class CWD_EventsList : public RecordListWindow<EventListTraits>
{
    Q_OBJECT

public:
    /**
     * `caption` is the object's name and the window's title; `mask` selects the
     * sensors by name, NULL: all. Both are copied.
     *
     * Loads twice, first without the mask: a failing load shows its box here
     * already. When `parent` dies under such a box, so has this window, and
     * its creator must not touch it.
     */
    CWD_EventsList(QWidget *parent, const char *caption, const char *mask);

    /** As QWidget::create: makes the native window. */
    virtual void create(WId window, bool initializeWindow, bool destroyOldWindow);

public slots:
    void onUpdateList() override;
    void onGetNewEvents() override;
    void onSetTimeFrom(int index) override;
    void onSetTimeTo(int index) override;
    void setAutoUpdate(int index) override;
    void onDeleteItem() override;
    /** Does nothing. */
    virtual void onRBList(int) {}
    void onRBList(QListViewItem *item, const QPoint &pt, int ip) override;
    void FSetVisibilityC0()
    {
        SetColumnsVisibiliy(0, -1);
    }
    void FSetVisibilityC1()
    {
        SetColumnsVisibiliy(1, -1);
    }
    void FSetVisibilityC2()
    {
        SetColumnsVisibiliy(2, -1);
    }
    void FSetVisibilityC3()
    {
        SetColumnsVisibiliy(3, -1);
    }
    void FSetVisibilityC4()
    {
        SetColumnsVisibiliy(4, -1);
    }
    void FSetVisibilityC5()
    {
        SetColumnsVisibiliy(5, -1);
    }

protected:
    QStringList columnNames() override;
};
