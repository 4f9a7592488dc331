// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "buttongroup.h"

#include <QChildEvent>
#include <QRadioButton>

int ButtonGroup::selectedId() const
{
    adoptButtons();
    return m_buttons.checkedId();
}

void ButtonGroup::setButton(int id)
{
    adoptButtons();
    if (QAbstractButton *button = m_buttons.button(id)) {
        button->setChecked(true);
    } else if (QAbstractButton *checked = m_buttons.checkedButton(); checked && id == -1) {
        // Neither the group nor the buttons let the last mark go while they are exclusive.
        m_buttons.setExclusive(false);
        checked->setAutoExclusive(false);
        checked->setChecked(false);
        checked->setAutoExclusive(true);
        m_buttons.setExclusive(true);
    }
}

int ButtonGroup::id(QAbstractButton *button) const
{
    adoptButtons();
    return m_buttons.id(button);
}

void ButtonGroup::childEvent(QChildEvent *event)
{
    QGroupBox::childEvent(event);
    if (event->polished()) {
        adoptButtons();
    } else if (event->removed()) {
        // A child that is dying is no button any more and has left by itself.
        if (auto *button = qobject_cast<QAbstractButton *>(event->child()))
            m_buttons.removeButton(button);
    }
}

/**
 * Numbers the buttons that joined since the last call.
 *
 * A child announces itself while its own constructor has not run yet, so the
 * buttons are looked up when they are first needed.
 */
void ButtonGroup::adoptButtons() const
{
    for (QObject *child : children()) {
        auto *button = qobject_cast<QRadioButton *>(child);
        if (button && m_buttons.id(button) == -1)
            m_buttons.addButton(button, m_nextId++);
    }
}
