// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "informationbox.h"

#include "emptytitle.h"
#include "waitcursor.h"

#include <KLocalizedString>
#include <QDialog>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>

namespace
{

/** Runs a message box, which may be destroyed with its parent meanwhile; whether that button of it was pressed. */
bool runBox(QMessageBox *box, const char *name, const QAbstractButton *button)
{
    box->setObjectName(QString::fromLatin1(name));
    // These texts carry what a database or a file holds: a "<" in them is no markup.
    box->setTextFormat(Qt::PlainText);
    if (box->windowTitle().isEmpty())
        setEmptyTitle(box);
    const QPointer<QMessageBox> alive(box);
    const WaitCursor::Pause pause;
    box->exec();
    const bool pressed = alive && box->clickedButton() == button;
    delete alive;
    return pressed;
}

} // namespace

void showInformationBox(QWidget *parent, const QString &caption, const QString &text)
{
    auto *box = new QMessageBox(QMessageBox::Information, caption, text, QMessageBox::Ok, parent);
    runBox(box, "information", nullptr);
}

bool askQuestion(QWidget *parent, const QString &caption, const QString &text)
{
    auto *box = new QMessageBox(QMessageBox::Question, caption, text, QMessageBox::Yes | QMessageBox::No, parent);
    return runBox(box, "question", box->button(QMessageBox::Yes));
}

bool confirm(QWidget *parent, const QString &caption, const QString &text)
{
    auto *box = new QMessageBox(QMessageBox::Question, caption, text, QMessageBox::NoButton, parent);
    // Both in one role, which keeps their order: a button in that of a No would answer to Escape.
    QPushButton *yes = box->addButton(tr2i18n("Yes"), QMessageBox::YesRole);
    box->addButton(tr2i18n("No"), QMessageBox::YesRole);
    box->setDefaultButton(yes);
    return runBox(box, "question", yes);
}
