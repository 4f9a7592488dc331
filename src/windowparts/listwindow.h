// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "listmenus.h"
#include "listview.h"
#include "loadguard.h"
#include "managedcolumns.h"
#include "windowkeys.h"
#include "windowplace.h"

#include <KLocalizedString>
#include <QMenuBar>
#include <QPointer>
#include <initializer_list>
#include <new>

/**
 * Creates a list window under `parent` and shows it.
 *
 * Its first load may wait in a box in which `parent` dies, and the window with
 * it: the result is then NULL, and a caller that is the parent must not touch
 * itself.
 */
template <class Window, class... Arguments> Window *openListWindow(QWidget *parent, Arguments... arguments)
{
    const QPointer<QObject> alive(parent);
    auto *window = new Window(parent, arguments...);
    if (!alive)
        return nullptr;
    window->fitInto(roomOnScreen(parent));
    placeWindow(window);
    window->show();
    return window;
}

/**
 * The same with a title of its own: `caption`, which is the object's name too,
 * is Latin-1, and a title in another language need not be.
 */
template <class Window>
void openTitled(QWidget *parent, const char *caption, const QString &title, const char *mask = nullptr)
{
    auto *window = openListWindow<Window>(parent, caption, mask);
    if (window)
        window->setWindowTitle(title);
}

/** Titles the windows of a kind that belong to `parent` anew, each with what `title` makes of it. */
template <class Window, class Title> void retitleWindows(const QWidget *parent, Title title)
{
    for (Window *window : parent->findChildren<Window *>(QString(), Qt::FindDirectChildrenOnly))
        window->setWindowTitle(title(window));
}

/**
 * What all list windows do alike on top of their form: they load, they have a
 * menu bar with a menu of their columns, and they delete themselves when they
 * are closed.
 *
 * Message boxes and menus run event loops of their own, in which timers tick
 * and the window may be closed: after each, nothing of the window is touched
 * unless it is still there. While a load of the window waits in such a loop,
 * every other load of it does nothing.
 */
template <class Form> class ListWindow : public Form, public ManagedColumns
{
public:
    /** Closing ends the window: it deletes itself. */
    void reject() override
    {
        // A box of the first load can close the window before its creator has it.
        if (!m_constructed) {
            m_rejected = true;
            return;
        }
        this->hide();
        this->deleteLater();
    }

    QListViewItem *itemSelected = nullptr; ///< the row under the last context menu; NULL when it is gone

protected:
    /** `chapter` of the manual is about this window. */
    ListWindow(QWidget *parent, const char *name, const QString &chapter)
        : Form(parent, name, false, Qt::WindowFlags())
        , ManagedColumns(this->list())
    {
        setUpKeys(this, chapter);
        // The bar takes no room from the layout, which leaves a gap for it: the desktop's own bar would leave it empty.
        m_menuBar->setNativeMenuBar(false);
        QObject::connect(this->list(), &ListView::itemRemoved, this, [this](const QListViewItem *item) {
            if (item == itemSelected)
                itemSelected = nullptr;
        });
        QObject::connect(this->list(), &ListView::cleared, this, [this] { itemSelected = nullptr; });
    }

    /** What the entries of the menu of columns say. */
    virtual QStringList columnNames() = 0;

    /** From here on the window can be closed. */
    void finishConstruction()
    {
        m_constructed = true;
        if (m_rejected)
            reject();
    }

    bool loading() const
    {
        return m_load != nullptr;
    }

    /**
     * Runs `work`, which loads the list of `asked` records at most, unless
     * another load is waiting. It gets a pointer that tells whether the window
     * is still there, to be asked after whatever may have shown a box, and the
     * load, which shows how it goes. `last` is the window's, one for each way
     * of loading.
     */
    template <class Work> void load(LastLoad &last, int asked, Work work)
    {
        if (m_load)
            return;
        try {
            const QPointer<QObject> self(this);
            LoadGuard load(this, this->list(), m_load, last, asked);
            try {
                work(self, load);
            } catch (const std::bad_alloc &) {
                // Still within the load: no other one may open a second box.
                if (self)
                    tellShortMemory(this);
            }
        } catch (const std::bad_alloc &) {
            tellShortMemory(this);
        }
    }

    /** Adds a menu to the menu bar; the window owns it. */
    QMenu *addMenu(const QString &title)
    {
        auto *menu = new QMenu(title, this);
        m_menuBar->addMenu(menu);
        return menu;
    }

    /** The menu of columns; `targets` are the slots of its entries. */
    template <class Window> void addColumnsMenu(std::initializer_list<void (Window::*)()> targets)
    {
        Menu1 = addMenu(tr2i18n("&Columns"));
        int column = 0;
        for (const auto target : targets) {
            QAction *entry = addCheckableAction(Menu1, columnNames().at(column), ColumnsVisibiliy[column] != 0);
            QObject::connect(entry, &QAction::triggered, static_cast<Window *>(this), target);
            ++column;
        }
    }

    void languageChange() override
    {
        Form::languageChange();
        if (!Menu1)
            return;
        Menu1->setTitle(tr2i18n("&Columns"));
        relabelEntries(Menu1, columnNames());
    }

    void resizeEvent(QResizeEvent *event) override
    {
        Form::resizeEvent(event);
        m_menuBar->setGeometry(0, 0, this->width(), m_menuBar->sizeHint().height());
        ResizeColumns();
    }

private:
    QMenuBar *const m_menuBar = new QMenuBar(this);
    LoadGuard *m_load = nullptr; ///< the one that runs
    bool m_constructed = false;
    bool m_rejected = false; ///< closed while it was built
};
