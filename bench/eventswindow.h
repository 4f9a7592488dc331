// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/** @file Installations with the SQLite library, and the events window on them as an operator works it. */

#include "DBFuns.h"
#include "benchfolder.h"
#include "cwd_eventslist.h"
#include "measuring.h"

#include <QScrollBar>
#include <fstream>
#include <initializer_list>
#include <memory>
#include <string>

/** Installations with the SQLite library and databases of their own, all in one folder. */
class Installations
{
public:
    explicit Installations(std::initializer_list<const char *> names)
    {
        std::filesystem::copy_file(DBLIB_SQLITE, m_folder.path("Libs/DBLib.a"));
        for (const char *name : names)
            std::ofstream(m_folder.path(std::string(name) + "/DBLib.def")) << "Database=" << database(name) << "\n";
    }

    QString libs() const
    {
        return QString::fromStdString(m_folder.path("Libs"));
    }
    QString config(const std::string &name) const
    {
        return QString::fromStdString(m_folder.path(name));
    }
    std::string database(const std::string &name) const
    {
        return m_folder.path(name + ".db");
    }

private:
    BenchFolder m_folder;
};

/** The DB library is loaded already. */
inline void useInstallation(const Installations &installations, const char *name)
{
    InitDBEvents(installations.config(name));
}

/** An events window on the screen. */
class Window
{
public:
    Window()
        : m_window(std::make_unique<CWD_EventsList>(nullptr, "Events list", nullptr))
    {
        m_window->listMessages->viewport()->installEventFilter(&m_paints);
        m_window->show();
        paint();
    }

    /** "Update list" with this NMax, until its rows are painted and the columns fitted to them. */
    void load(int count)
    {
        m_window->NMax->setText(QString::number(count));
        m_window->BUpdateList->click();
        paint();
        m_window->ResizeColumns();
        paint();
    }

    /** "Get new", until what came is painted. */
    void getNew()
    {
        m_window->pushButton2->click();
        paint();
    }

    void scrollToEnd()
    {
        QScrollBar *const bar = list().verticalScrollBar();
        bar->setValue(bar->maximum());
        paint();
    }

    /** A drag of the window's edge. */
    void resize()
    {
        m_window->resize(m_window->width() == 800 ? 810 : 800, 700);
        paint();
    }

    /** Hides a column, or shows it. */
    void turnColumn(int column)
    {
        m_window->SetColumnsVisibiliy(column, -1);
        paint();
    }

    /** Chooses an entry of the auto-update. */
    void follow(int entry)
    {
        m_window->AutoUpdate->setCurrentIndex(entry);
        m_window->setAutoUpdate(entry);
    }

    /** A tick of the auto-update. */
    void tick()
    {
        m_window->onGetNewEvents();
        QCoreApplication::processEvents();
    }

    /** Lets everything be painted that is due. */
    void settle()
    {
        for (int i = 0; i < 20; ++i)
            QCoreApplication::processEvents();
        m_paints.count = 0;
    }

    void close()
    {
        m_window->hide();
        m_window.reset();
    }

    const ListView &list() const
    {
        return *m_window->listMessages;
    }

private:
    void paint()
    {
        // A load of more than a second is painted by itself; nothing is waited for then.
        m_paints.wait(m_paints.count);
        QCoreApplication::processEvents();
    }

    PaintCounter m_paints;
    std::unique_ptr<CWD_EventsList> m_window;
};
