// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "controlpanel.h"
#include "formtexts.h"
#include "panelfont.h"

#include <QDialog>
#include <QEvent>

/**
 * What the forms of all list windows do alike: dialogs whose title bar has a
 * context-help button only when the caller asks for it, and whose texts follow
 * the language. `Widgets` is what the form's .ui file became.
 */
template <class Widgets> class ListForm : public QDialog, public Widgets
{
public:
    /** Makes the window, which is not shown yet, no larger than that. */
    void fitInto(QSize room)
    {
        resize(size().boundedTo(room));
    }

protected:
    /** A NULL `name` gives the object name of the .ui file. */
    ListForm(QWidget *parent, const char *name, bool modal, Qt::WindowFlags fl)
        : QDialog(parent, fl)
    {
        setWindowFlag(Qt::WindowContextHelpButtonHint, fl.testFlag(Qt::WindowContextHelpButtonHint));
        setModal(modal);
        this->setupUi(this);
        if (name)
            setObjectName(QString::fromLatin1(name));
    }

    /** Sets every visible text in the current language. */
    virtual void languageChange() = 0;

    void changeEvent(QEvent *event) override
    {
        QDialog::changeEvent(event);
        if (event->type() == QEvent::LanguageChange)
            languageChange();
    }
};

/** What the forms of events and of commands do alike beyond that: they have the same panel of filter controls. */
template <class Widgets> class RecordForm : public ListForm<Widgets>
{
public:
    /** As ListForm; the panel scrolls where it would be higher than the room. */
    void fitInto(QSize room)
    {
        if (this->minimumSizeHint().height() > room.height())
            letScroll(this->GB0);
        ListForm<Widgets>::fitInto(room);
    }

protected:
    RecordForm(QWidget *parent, const char *name, bool modal, Qt::WindowFlags fl)
        : ListForm<Widgets>(parent, name, modal, fl)
    {
        keepFromStrayWheel(this);
    }

    /** Sets the texts of all that both forms have, and the headings of the list. */
    void setTexts(ListView *list, const QStringList &headings)
    {
        this->retranslateUi(this);
        relabelColumns(list, headings);
        refillCombo(this->comboTo_TimeAgo, timeAgoItems());
        refillCombo(this->comboFrom_TimeAgo, timeAgoItems());
        refillCombo(this->AutoUpdate, autoUpdateItems());
        fitPanelFont(this->GB0);
    }

    void changeEvent(QEvent *event) override
    {
        ListForm<Widgets>::changeEvent(event);
        if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
            fitPanelFont(this->GB0);
    }
};
