// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "informationbox.h"

#include "waitcursor.h"

#include <KLocalizedString>
#include <QDialog>
#include <QPointer>

namespace
{

/** Runs a message box that may be destroyed with its parent meanwhile; the button pressed, NoButton then. */
QMessageBox::StandardButton runBox(QMessageBox *box, const char *name)
{
    box->setObjectName(QString::fromLatin1(name));
    // These texts carry what a database or a file holds: a "<" in them is no markup.
    box->setTextFormat(Qt::PlainText);
    const QPointer<QMessageBox> alive(box);
    const WaitCursor::Pause pause;
    box->exec();
    if (!alive)
        return QMessageBox::NoButton;
    const QMessageBox::StandardButton pressed = box->standardButton(box->clickedButton());
    delete box;
    return pressed;
}

QString translated(const QString &text)
{
    return tr2i18n(text.toUtf8().constData());
}

} // namespace

void showInformationBox(QWidget *parent, const QString &caption, const QString &text)
{
    runBox(new QMessageBox(QMessageBox::Information, caption, text, QMessageBox::Ok, parent), "information");
}

void showInformationBox(QDialog *parent, const QString &caption, const QString &text)
{
    showInformationBox(static_cast<QWidget *>(parent), translated(caption), translated(text));
}

bool askQuestion(QWidget *parent, const QString &caption, const QString &text,
                 QMessageBox::StandardButton defaultButton)
{
    auto *box = new QMessageBox(QMessageBox::Question, caption, text, QMessageBox::Yes | QMessageBox::No, parent);
    box->setDefaultButton(defaultButton);
    return runBox(box, "question") == QMessageBox::Yes;
}
