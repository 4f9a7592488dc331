// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "controlpanel.h"
#include "listview.h"

#include <QComboBox>
#include <QDialog>
#include <QEvent>
#include <QPushButton>

/**
 * What the forms of all list windows do alike: dialogs whose title bar has a
 * context-help button only when the caller asks for it, and whose texts follow
 * the language. `Widgets` is what the form's .ui file became, `List` its member for the list.
 */
template <class Widgets, auto List> class ListForm : public QDialog, public Widgets
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

    ListView *list()
    {
        return this->*List;
    }

    /** Gives the columns their headings, from column 0 on; what is no column yet becomes one, as wide as its contents.
     */
    void setHeadings(const QStringList &headings)
    {
        for (int column = 0; column < headings.size(); ++column) {
            if (column == list()->columns())
                list()->addColumn(headings.at(column));
            list()->setColumnText(column, headings.at(column));
        }
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
template <class Widgets, auto List> class RecordForm : public ListForm<Widgets, List>
{
public:
    /** As ListForm; the panel scrolls where it would be higher than the room. */
    void fitInto(QSize room)
    {
        if (this->minimumSizeHint().height() > room.height())
            letScroll(this->GB0);
        Base::fitInto(room);
    }

protected:
    RecordForm(QWidget *parent, const char *name, bool modal, Qt::WindowFlags fl)
        : Base(parent, name, modal, fl)
    {
        keepFromStrayWheel(this);
    }

    /** Connects the controls with the slots of `Form`, the class of the form; `getNew` fetches what is new. */
    template <class Form> void connectControls(void (Form::*getNew)())
    {
        auto *form = static_cast<Form *>(this);
        const auto activated = QOverload<int>::of(&QComboBox::activated);
        QObject::connect(form->BUpdateList, &QPushButton::clicked, form, &Form::onUpdateList);
        QObject::connect(form->comboFrom_TimeAgo, activated, form, &Form::onSetTimeFrom);
        QObject::connect(form->comboTo_TimeAgo, activated, form, &Form::onSetTimeTo);
        QObject::connect(form->pushButton2, &QPushButton::clicked, form, getNew);
        QObject::connect(form->AutoUpdate, activated, form, &Form::setAutoUpdate);
        QObject::connect(this->list(), &ListView::rightButtonClicked, form, &Form::onRBList);
    }

    /** Sets the texts of all that both forms have, and the headings of the list. */
    void setTexts(const QStringList &headings)
    {
        this->retranslateUi(this);
        this->setHeadings(headings);
        fillComboBoxes({this->comboFrom_TimeAgo, this->comboTo_TimeAgo}, this->AutoUpdate);
        fitPanelFont(this->GB0);
    }

    void changeEvent(QEvent *event) override
    {
        Base::changeEvent(event);
        if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
            fitPanelFont(this->GB0);
    }

private:
    using Base = ListForm<Widgets, List>;
};
