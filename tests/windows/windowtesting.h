// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "listview.h"
#include "patience.h"

#include <QApplication>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QStringList>
#include <QTimer>
#include <functional>

/**
 * Catches what Qt, the toolkit and the program say on standard error while it
 * lives. What was not announced counts as a fault of the test.
 */
class MessageWatch
{
public:
    MessageWatch();
    ~MessageWatch();
    MessageWatch(const MessageWatch &) = delete;
    MessageWatch &operator=(const MessageWatch &) = delete;

    /** All lines so far but the trace lines of the events window. */
    static QStringList unexpected();
    /** The trace lines of the events window. */
    static QStringList traces();

private:
    QtMessageHandler m_before;
};

/** Runs `act` once, from whatever event loop runs, as soon as `ready` says so. */
void when(const std::function<bool()> &ready, const std::function<void()> &act);
/** Forgets what when() still waits for; how many that were. */
int forgetWaiting();

/** The open message box, or NULL. */
QMessageBox *openBox();
/** The open context menu or menu bar menu, or NULL. */
QMenu *openMenu();
/** All message boxes that are visible now. */
int openBoxes();

/** As soon as a message box is open: notes its text and presses a button of it. */
void answerBox(QMessageBox::StandardButton button, QString *text = nullptr);
/** The box's button with this text, NULL when there is none. */
QPushButton *buttonOf(const QMessageBox *box, const QString &text);
/** As soon as a message box is open: presses its button with this text. */
void pressInBox(const QString &button);
/** Dismisses every box and notes caption and text. */
class BoxNotes
{
public:
    BoxNotes()
    {
        QObject::connect(&m_poll, &QTimer::timeout, &m_poll, [this] {
            QMessageBox *box = openBox();
            if (!box)
                return;
            m_notes << box->windowTitle() + '|' + box->text();
            QTest::keyClick(box, Qt::Key_Return);
        });
        m_poll.start(1);
    }
    const QStringList &notes() const
    {
        return m_notes;
    }

private:
    QTimer m_poll;
    QStringList m_notes;
};

/** As soon as a context menu is open: runs `act` with it. */
void onMenu(const std::function<void(QMenu *)> &act);
/** Clicks the entry with this text in an open menu. */
void clickEntry(QMenu *menu, const QString &text);
/** As soon as a context menu is open: clicks an entry. */
void chooseFromMenu(const QString &text);
/** The texts of a menu's entries, "-" for a separator. */
QStringList entryTexts(const QMenu *menu);
/** The entry of a menu with this text, NULL when there is none. */
QAction *entryOf(const QMenu *menu, const QString &text);

/** A column's texts from the first row to the last. */
QStringList columnTexts(const ListView *list, int column);
/** A row's texts, one for each of the list's columns. */
QStringList rowTexts(const ListView *list, int row);
/** The widths of all columns. */
QList<int> columnWidths(const ListView *list);
/** Clicks the right button on a row, on empty space for -1. */
void rightClick(ListView *list, int row);

/** The slots that a class declares itself, in the order of its meta-object. */
QStringList ownSlots(const QMetaObject &meta);

/** Counts the paint events of a widget, or of all with the application. */
class PaintCounter : public QObject
{
public:
    explicit PaintCounter(QObject *watched);
    bool eventFilter(QObject *watched, QEvent *event) override;
    int paints = 0;
};

/** Shows a window and waits until it is on the screen. */
bool showAndWait(QWidget *window);
/** Closes a window and waits until it has deleted itself. */
bool closeAndWait(QWidget *window);
