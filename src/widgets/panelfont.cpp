// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "panelfont.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QGroupBox>
#include <QLabel>

namespace
{

bool titleFits(const QGroupBox *box)
{
    return box->fontMetrics().horizontalAdvance(box->title()) <= box->width();
}

bool textFits(const QWidget *widget)
{
    if (const auto *box = qobject_cast<const QGroupBox *>(widget))
        return titleFits(box);
    const bool hasText = qobject_cast<const QLabel *>(widget) || qobject_cast<const QAbstractButton *>(widget) ||
                         qobject_cast<const QComboBox *>(widget) || qobject_cast<const QDateTimeEdit *>(widget);
    return !hasText ||
           (widget->sizeHint().width() <= widget->width() && widget->fontMetrics().height() <= widget->height());
}

bool allTextsFit(const QWidget *panel)
{
    for (const QWidget *widget : panel->findChildren<QWidget *>())
        if (!textFits(widget))
            return false;
    return true;
}

QFont scaled(QFont font, int percent)
{
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * percent / 100);
    else
        font.setPixelSize(font.pixelSize() * percent / 100);
    return font;
}

} // namespace

void fitPanelFont(QWidget *panel)
{
    panel->setFont(QFont());
    const QFont whole = panel->font();
    for (int percent = 95; percent >= 30 && !allTextsFit(panel); percent -= 5)
        panel->setFont(scaled(whole, percent));
}
