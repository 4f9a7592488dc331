// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "informationbox.h"

#include "toolkit.h"

#include <KLocalizedString>
#include <QGuiApplication>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QScopeGuard>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <xcb/xcb.h>

namespace
{

xcb_atom_t atom(xcb_connection_t *connection, const char *name)
{
    const auto asked = xcb_intern_atom(connection, 0, std::uint16_t(std::strlen(name)), name);
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(connection, asked, nullptr), &std::free);
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

/**
 * Takes the title from a window that is not shown yet: the toolkit would tell
 * the window manager the program's name instead of nothing. On X only.
 */
void setEmptyTitle(QWidget *window)
{
    xcb_connection_t *connection = Toolkit::xcbConnection();
    if (!connection)
        return;
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, xcb_window_t(window->winId()),
                        atom(connection, "_NET_WM_NAME"), atom(connection, "UTF8_STRING"), 8, 0, nullptr);
    xcb_flush(connection);
}

/** Runs a message box, which may be destroyed with its parent meanwhile; whether that button of it was pressed. */
bool runBox(QMessageBox *box, const char *name, const QAbstractButton *button)
{
    box->setObjectName(QString::fromLatin1(name));
    // These texts carry what a database or a file holds: a "<" in them is no markup.
    box->setTextFormat(Qt::PlainText);
    if (box->windowTitle().isEmpty())
        setEmptyTitle(box);
    const QPointer<QMessageBox> alive(box);
    // Who is to answer gets the usual pointer, also when a load waits for the answer.
    const bool waits = QGuiApplication::overrideCursor();
    QGuiApplication::restoreOverrideCursor();
    const auto waitAgain = qScopeGuard([waits] {
        if (waits)
            QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    });
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
