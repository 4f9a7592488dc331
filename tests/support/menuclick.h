// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QApplication>
#include <QMenu>
#include <QMouseEvent>
#include <QTest>

/** Clicks an entry of an open menu as people do: a click without a way to the entry ends the one that opened it. */
inline void clickMenuEntry(QMenu *menu, QAction *entry)
{
    const QPoint place = menu->actionGeometry(entry).center();
    for (int way = 10; way >= 0; --way) {
        const QPoint at = place - QPoint(way, 0);
        QMouseEvent move(QEvent::MouseMove, at, menu->mapToGlobal(at), Qt::NoButton, Qt::NoButton, {});
        QApplication::sendEvent(menu, &move);
    }
    QTest::mouseClick(menu, Qt::LeftButton, {}, place);
}
