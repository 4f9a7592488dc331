// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "waitcursor.h"

#include <QApplication>

WaitCursor::WaitCursor()
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
}

WaitCursor::~WaitCursor()
{
    QApplication::restoreOverrideCursor();
}

WaitCursor::Pause::Pause()
{
    for (; QApplication::overrideCursor(); ++m_depth)
        QApplication::restoreOverrideCursor();
}

WaitCursor::Pause::~Pause()
{
    for (; m_depth > 0; --m_depth)
        QApplication::setOverrideCursor(Qt::WaitCursor);
}
