// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QButtonGroup>
#include <QGroupBox>

/**
 * A titled box whose radio buttons are numbered.
 *
 * Radio buttons that become children of the box get the ids 0, 1, 2 … in the
 * order they join, and keep them. At most one is checked at a time.
 */
class ButtonGroup : public QGroupBox
{
    Q_OBJECT

public:
    using QGroupBox::QGroupBox;

    /** The id of the checked button, -1 when none is checked. */
    int selectedId() const;

    /** Checks the button with this id; -1 unchecks all, any other unknown id changes nothing. */
    void setButton(int id);

    /** The id of one of the box's buttons, -1 for any other button. */
    int id(QAbstractButton *button) const;

protected:
    void childEvent(QChildEvent *event) override;

private:
    void adoptButtons() const;

    // Not a child: the box's children are its buttons alone.
    mutable QButtonGroup m_buttons;
    mutable int m_nextId = 0;
};
