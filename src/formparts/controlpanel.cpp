// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "controlpanel.h"

#include <KLocalizedString>
#include <QAbstractButton>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QEvent>
#include <QGroupBox>
#include <QLabel>
#include <QLayout>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalBlocker>
#include <algorithm>

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

bool textFits(const QWidget *widget)
{
    if (const auto *box = qobject_cast<const QGroupBox *>(widget))
        return box->fontMetrics().horizontalAdvance(box->title()) <= box->width();
    const bool hasText = qobject_cast<const QLabel *>(widget) || qobject_cast<const QAbstractButton *>(widget) ||
                         qobject_cast<const QComboBox *>(widget) || qobject_cast<const QDateTimeEdit *>(widget);
    return !hasText ||
           (widget->sizeHint().width() <= widget->width() && widget->fontMetrics().height() <= widget->height());
}

bool allTextsFit(const QWidget *panel)
{
    const auto widgets = panel->findChildren<QWidget *>();
    return std::all_of(widgets.begin(), widgets.end(), textFits);
}

QFont scaled(QFont font, int percent)
{
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * percent / 100);
    else
        font.setPixelSize(font.pixelSize() * percent / 100);
    return font;
}

void refillCombo(QComboBox *combo, const QStringList &items)
{
    const QSignalBlocker quiet(combo);
    const int current = combo->count() > 0 ? combo->currentIndex() : 0;
    combo->clear();
    combo->addItems(items);
    combo->setCurrentIndex(current);
}

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

void fitPanelFont(QWidget *panel)
{
    panel->setFont(QFont());
    const QFont whole = panel->font();
    for (int percent = 95; percent >= 30 && !allTextsFit(panel); percent -= 5)
        panel->setFont(scaled(whole, percent));
}

void fillComboBoxes(std::initializer_list<QComboBox *> timeAgo, QComboBox *autoUpdate)
{
    for (QComboBox *combo : timeAgo)
        refillCombo(combo, {tr2i18n("now"), tr2i18n("1 minute ago"), tr2i18n("1 hour ago"), tr2i18n("1 day ago"),
                            tr2i18n("1 week ago"), tr2i18n("1 month ago"), tr2i18n("1 year ago")});
    refillCombo(autoUpdate, {tr2i18n("No autoUpdate"), tr2i18n("AutoUpdate 2sec."), tr2i18n("AutoUpdate 5sec."),
                             tr2i18n("AutoUpdate 1min."), tr2i18n("AutoUpdate 10min.")});
}
