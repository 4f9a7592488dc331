// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "CommandsList.h"
#include "DBFuns.h"
#include "Messages.h"
#include "recorditem.h"
#include "recordlistwindow.h"

/** Commands, as RecordListWindow needs to know them; EventListTraits says what each member is for. */
struct CommandListTraits {
    using Form = DCommandsList;
    using Record = CMessageCommand;
    using Request = CMessageCommandRequest;
    using Item = CommandItem;

    static constexpr int NumericColumns[] = {NumberColumn, IdentifierColumn, KindColumn, DateColumn};
    static constexpr bool EmptyAnswerResetsDigits = false;
    static constexpr bool RepaintsAfterSizing = false;
    static constexpr auto GetNew = &DCommandsList::noGetNewCommands;
    static constexpr auto Identifier = &CMessageCommand::CommandID;
    static constexpr auto Time = &CMessageCommand::CommandTime;
    static constexpr auto Read = &readCommands;

    static int kind(const CMessageCommand &command, LentNames &names);
};

/** The window that lists, filters, refreshes and deletes commands. It deletes itself when it is closed. */
class CWD_CommandsList : public RecordListWindow<CommandListTraits>
{
    Q_OBJECT

public:
    /** As CWD_EventsList, but loads only once, with the mask. */
    CWD_CommandsList(QWidget *parent, const char *caption, const char *mask);

public slots:
    void onUpdateList() override;
    void noGetNewCommands() override;
    void onSetTimeFrom(int index) override;
    void onSetTimeTo(int index) override;
    void setAutoUpdate(int index) override;
    void onRBList(QListViewItem *item, const QPoint &pt, int ip) override;
    void onDeleteItem() override;
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
