// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "windowplace.h"

#include <QList>
#include <QPointer>
#include <QScreen>
#include <QStyle>
#include <QWidget>
#include <utility>

namespace
{

/** What the frame adds to a window's size: not known before it is shown, but that of `parent` is alike. */
QSize frameSize(const QWidget *parent)
{
    return parent->window()->frameGeometry().size() - parent->window()->size();
}

/** The open window of the same class that was opened last; NULL without one. Keeps in mind that `window` opens. */
const QWidget *openedBefore(QWidget *window)
{
    static QList<QPointer<QWidget>> opened;
    const QWidget *before = nullptr;
    opened.removeAll(nullptr);
    for (const QWidget *other : std::as_const(opened))
        if (other->isVisible() && other->metaObject() == window->metaObject())
            before = other;
    opened.append(window);
    return before;
}

} // namespace

QSize roomOnScreen(const QWidget *parent)
{
    return parent->screen()->availableSize() - frameSize(parent);
}

void placeWindow(QWidget *window)
{
    const QWidget *before = openedBefore(window);
    if (!before)
        return;
    const int step = window->style()->pixelMetric(QStyle::PM_TitleBarHeight);
    const QRect screen = before->screen()->availableGeometry();
    QRect place(before->pos() + QPoint(step, step), window->size() + frameSize(window->parentWidget()));
    if (place.right() > screen.right())
        place.moveLeft(screen.left());
    if (place.bottom() > screen.bottom())
        place.moveTop(screen.top());
    window->move(place.topLeft());
}
