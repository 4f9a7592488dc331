// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "controlpanel.h"

#include <QAbstractSpinBox>
#include <QComboBox>
#include <QEvent>
#include <QLayout>
#include <QScrollArea>
#include <QScrollBar>

namespace
{

/** Leaves the wheel over controls without the focus to what they lie in. */
class WheelFilter : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        const bool stray = event->type() == QEvent::Wheel && !static_cast<QWidget *>(watched)->hasFocus();
        if (stray)
            event->ignore();
        return stray;
    }
};

} // namespace

void keepFromStrayWheel(QWidget *form)
{
    auto *filter = new WheelFilter(form);
    for (auto *control : form->findChildren<QWidget *>()) {
        if (!qobject_cast<QComboBox *>(control) && !qobject_cast<QAbstractSpinBox *>(control))
            continue;
        control->setFocusPolicy(Qt::StrongFocus);
        control->installEventFilter(filter);
    }
}

void letScroll(QWidget *panel)
{
    QWidget *form = panel->parentWidget();
    auto *area = new QScrollArea(form);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setFixedWidth(panel->width() + area->verticalScrollBar()->sizeHint().width());
    delete form->layout()->replaceWidget(panel, area);
    for (auto *layout : form->findChildren<QLayout *>())
        layout->setAlignment(area, {}); // it takes the whole height, unlike the panel
    area->setWidget(panel);
}
