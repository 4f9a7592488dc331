// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "waitcursor.h"

#include <QPointer>
#include <QWidget>
#include <ctime>

class ListView;

/** Says that there was no memory for a list's rows; on standard error when there is none for that either. */
void tellShortMemory(QWidget *window);

/**
 * A load of a list window under way, until the end of the scope: `loading`,
 * a member of the window, is true meanwhile and the pointer shows that the
 * program works. After a long load the window is repainted at once. The
 * window may die in between.
 */
class LoadGuard
{
public:
    LoadGuard(QWidget *window, ListView *list, bool &loading);
    ~LoadGuard();
    LoadGuard(const LoadGuard &) = delete;
    LoadGuard &operator=(const LoadGuard &) = delete;

private:
    QPointer<QWidget> m_window;
    ListView *m_list;
    bool &m_loading;
    std::time_t m_started;
    WaitCursor m_cursor;
};
