// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "mainwidget.h"

#include <QCoreApplication>
#include <QEvent>
#include <QWidget>

namespace
{

class CloseWatcher : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Close)
            QCoreApplication::exit(0);
        return QObject::eventFilter(watched, event);
    }
};

} // namespace

void setMainWidget(QWidget *widget)
{
    widget->installEventFilter(new CloseWatcher(QCoreApplication::instance()));
    // exit, not quit: quit would first ask every open window to close.
    QObject::connect(widget, &QObject::destroyed, QCoreApplication::instance(), [] { QCoreApplication::exit(0); });
}
