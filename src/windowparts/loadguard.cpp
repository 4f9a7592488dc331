// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "loadguard.h"

#include "clock.h"
#include "informationbox.h"
#include "listview.h"

#include <KLocalizedString>
#include <cstdio>
#include <new>

void tellShortMemory(QWidget *window)
{
    try {
        showInformationBox(window, QString(), tr2i18n("Not enough memory for the list"));
    } catch (const std::bad_alloc &) {
        std::fputs("Not enough memory for the list\n", stderr);
    }
}

LoadGuard::LoadGuard(QWidget *window, ListView *list, bool &loading)
    : m_window(window)
    , m_list(list)
    , m_loading(loading)
    , m_started(currentTime())
{
    m_loading = true;
}

LoadGuard::~LoadGuard()
{
    if (!m_window)
        return;
    m_loading = false;
    // Who has waited that long is to see the rows before any other work is
    // done. A clock of whole seconds misses no load of more than one.
    if (currentTime() - m_started >= 1) {
        m_window->repaint();
        m_list->viewport()->repaint();
    }
}
