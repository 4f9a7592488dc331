// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "SensorsList.h"

#include "formtexts.h"

#include <KLocalizedString>
#include <QEvent>

namespace
{

QStringList Headings()
{
    return {tr2i18n("ID"), tr2i18n("Description"), tr2i18n("Is Alive")};
}

} // namespace

Form1::Form1(QWidget *parent, const char *name, bool modal, Qt::WindowFlags fl)
    : QDialog(parent, fl)
{
    setWindowFlag(Qt::WindowContextHelpButtonHint, fl.testFlag(Qt::WindowContextHelpButtonHint));
    setModal(modal);
    setupUi(this);
    if (name)
        setObjectName(QString::fromLatin1(name));
    AddColumns(SensorsList, Headings());
    SensorsList->setResizeMode(ListView::NoColumn);
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
    RelabelColumns(SensorsList, Headings());
}

void Form1::changeEvent(QEvent *event)
{
    QDialog::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        languageChange();
}
