// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "loadguard.h"

#include "informationbox.h"
#include "listview.h"

#include <KLocalizedString>
#include <QGuiApplication>
#include <chrono>
#include <climits>
#include <cstdio>
#include <new>

namespace
{

int systemMilliseconds()
{
    using namespace std::chrono;
    const auto now = duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    return int(now % INT_MAX);
}

int (*loadClock)() = systemMilliseconds;

} // namespace

void setLoadClock(int (*milliseconds)())
{
    loadClock = milliseconds ? milliseconds : systemMilliseconds;
}

void tellShortMemory(QWidget *window)
{
    try {
        showInformationBox(window, QString(), tr2i18n("Not enough memory for the list"));
    } catch (const std::bad_alloc &) {
        std::fputs("Not enough memory for the list\n", stderr);
    }
}

LoadGuard::LoadGuard(QWidget *window, ListView *list, LoadGuard *&current, LastLoad &last, int asked)
    : m_window(window)
    , m_list(list)
    , m_current(current)
    , m_last(last)
    , m_asked(asked)
    , m_started(loadClock())
{
    if (pointerWaitsAtOnce(asked, last))
        showWaiting();
    m_current = this;
}

LoadGuard::~LoadGuard()
{
    if (m_window)
        finish();
    if (m_pointerWaits)
        QGuiApplication::restoreOverrideCursor();
}

void LoadGuard::finish()
{
    m_current = nullptr;
    m_last = {m_asked, elapsed()};
    m_list->setNotice(QString());
    // Who has waited that long is to see the rows before any other work is done.
    if (m_last.milliseconds >= LongLoad) {
        m_list->viewport()->update();
        m_window->repaint();
    }
}

/** A clock that starts anew within a load, every 24 days, leaves it a short one. */
int LoadGuard::elapsed() const
{
    return std::max(0, loadClock() - m_started);
}

void LoadGuard::awaitLibrary()
{
    if (m_pointerWaits)
        paintNotice(tr2i18n("Waiting for the database"));
}

void LoadGuard::showProgress(int rows, int all)
{
    const int now = elapsed();
    if (!progressIsDue(now, now - m_told))
        return;
    m_told = now;
    showWaiting();
    paintNotice(i18n("Row %1 of %2", rows, all));
}

void LoadGuard::showWaiting()
{
    if (!m_pointerWaits)
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    m_pointerWaits = true;
}

void LoadGuard::paintNotice(const QString &text)
{
    m_list->setNotice(text);
    m_list->viewport()->repaint();
}
