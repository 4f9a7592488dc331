// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "loadfeedback.h"

#include <QPointer>
#include <QWidget>

class ListView;

/** Says that there was no memory for a list's rows; on standard error when there is none for that either. */
void tellShortMemory(QWidget *window);

/**
 * Replaces the clock by which loads are long, in milliseconds from any start,
 * so that tests can step it; NULL brings the system's back.
 */
void setLoadClock(int (*milliseconds)());

/**
 * A load of a list window under way, until the end of the scope: `current`, a
 * member of the window, points here meanwhile. A long load shows that it runs,
 * and the window is repainted at once after it. No event loop runs for that,
 * so that nothing else happens meanwhile. The window may die in between.
 */
class LoadGuard
{
public:
    /** `last`, a member of the window, is what is known of loads like this one, and learns from it. */
    LoadGuard(QWidget *window, ListView *list, LoadGuard *&current, LastLoad &last, int asked);
    ~LoadGuard();
    LoadGuard(const LoadGuard &) = delete;
    LoadGuard &operator=(const LoadGuard &) = delete;

    /** The library is called next: what a long load is to show meanwhile is shown now. */
    void awaitLibrary();
    /** So many of all rows are made: shown when the load is a long one. */
    void showProgress(int rows, int all);

private:
    int elapsed() const;
    void showWaiting();
    void finish();
    void paintNotice(const QString &text);

    QPointer<QWidget> m_window;
    ListView *m_list;
    LoadGuard *&m_current;
    LastLoad &m_last;
    int m_asked;
    int m_started;
    int m_told = 0; ///< milliseconds after the start
    bool m_pointerWaits = false;
};
