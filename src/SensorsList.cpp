// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "SensorsList.h"

#include <KLocalizedString>

Form1::Form1(QWidget *parent, const char *name, bool modal, Qt::WindowFlags fl)
    : ListForm(parent, name, modal, fl)
{
    Form1::languageChange();
    resize(size().expandedTo(minimumSizeHint()));
    connect(SensorsList, &ListView::rightButtonClicked, this, &Form1::onRBList);
}

void Form1::onRBList(QListViewItem *, const QPoint &, int)
{
    qWarning("Form1::onRBList(QListViewItem*,const QPoint&,int): Not implemented yet");
}

void Form1::languageChange()
{
    retranslateUi(this);
    setHeadings({tr2i18n("ID"), tr2i18n("Description"), tr2i18n("Is Alive")});
}
