// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/** @file Linked into a program, this ends it as soon as its first window is painted. */

#include <QApplication>
#include <QEvent>
#include <QTimer>
#include <QWidget>
#include <unistd.h>

namespace
{

struct FirstPaint : QObject {
    using QObject::QObject;

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && qobject_cast<QWidget *>(watched) && !m_seen) {
            m_seen = true;
            // Not before the window with all that is in it went to the screen.
            QTimer::singleShot(0, [] { ::_exit(0); });
        }
        return false;
    }

private:
    bool m_seen = false;
};

void endWithFirstPaint()
{
    qApp->installEventFilter(new FirstPaint(qApp));
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(endWithFirstPaint)
