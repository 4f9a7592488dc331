// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * Linked beside the program's own main(), this works its windows by a script
 * and tells on standard error what it sees.
 *
 * The environment variable OBRIM_TEST_STEPS holds the steps, separated by
 * blanks. Each waits until it can be taken:
 *   press=NAME    clicks the button of that object name in the first panel
 *   answer=WAY    tells caption and text of the open box, then answers it:
 *                 ok, yes, no, or escape
 *   windows=N     waits until N windows are visible and tells their titles
 *   panels        tells how many panels there are
 *   file=FILE     waits until there is such a file
 *   remove=FILE   removes a file
 *   streams=FILE  writes to a file where the descriptors 0 to 2 lead to
 *   warn=CATEGORY warns in a category of the toolkit's
 *   xerror=CODE   warns of a window that is gone, as the toolkit does of a request with that code
 *   close         closes the panel's window, or the window that has lost its panel
 *   delete        destroys the panel
 *   exit=CODE     ends the event loop with that code
 */

#include "data.h"
#include "obrimwidget.h"

#include <QApplication>
#include <QFile>
#include <QLoggingCategory>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <cstdio>
#include <cstdlib>

namespace
{

void tell(const QString &line)
{
    std::fprintf(stderr, "%s\n", line.toUtf8().constData());
}

void warnIn(const QByteArray &name, const char *text = "a warning")
{
    const QLoggingCategory category(name.constData());
    qCWarning(category, "%s", text);
}

QByteArray goneWindow(const QByteArray &code)
{
    return "QXcbConnection: XCB error: 3 (BadWindow), sequence: 1784, resource id: 2103065, major code: " + code +
           " (" + (code == "40" ? "TranslateCoords" : "GetProperty") + "), minor code: 0";
}

void tellStreams(const QString &path)
{
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    for (int descriptor = 0; descriptor <= 2; ++descriptor)
        file.write(QFile::symLinkTarget(QString("/proc/self/fd/%1").arg(descriptor)).toLocal8Bit() + '\n');
}

QList<obrimWidget *> panels()
{
    QList<obrimWidget *> panels;
    for (QWidget *widget : QApplication::allWidgets())
        if (auto *panel = qobject_cast<obrimWidget *>(widget))
            panels.append(panel);
    return panels;
}

QStringList visibleTitles()
{
    QStringList titles;
    for (const QWidget *widget : QApplication::topLevelWidgets())
        if (widget->isVisible())
            titles.append(widget->windowTitle());
    titles.sort();
    return titles;
}

class Driver : public QObject
{
public:
    explicit Driver(QObject *parent)
        : QObject(parent)
        , m_steps(qEnvironmentVariable("OBRIM_TEST_STEPS").split(' ', Qt::SkipEmptyParts))
    {
        connect(&m_timer, &QTimer::timeout, this, &Driver::takeStep);
        m_timer.start(5);
    }

private:
    void takeStep()
    {
        if (m_steps.isEmpty())
            return;
        const QString step = m_steps.first();
        const QString name = step.section('=', 0, 0);
        const QString value = step.section('=', 1);
        if (!isPossible(name, value))
            return;
        m_steps.removeFirst();
        take(name, value);
    }

    static QPushButton *button(const QString &name)
    {
        for (const obrimWidget *panel : panels())
            if (panel->isVisible())
                return panel->findChild<QPushButton *>(name);
        return nullptr;
    }

    static QMessageBox *box()
    {
        return qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
    }

    static bool isPossible(const QString &name, const QString &value)
    {
        if (name == "answer")
            return box() && box()->isVisible();
        if (box())
            return false;
        if (name == "press")
            return button(value);
        if (name == "windows")
            return visibleTitles().size() == value.toInt();
        if (name == "file")
            return QFile::exists(value);
        return name == "delete" ? !panels().isEmpty() : true;
    }

    static void take(const QString &name, const QString &value)
    {
        if (name == "answer")
            answer(value);
        else if (name == "press")
            // Queued: a timer does not tick inside its own tick, and a click may open a box.
            QMetaObject::invokeMethod(button(value), &QAbstractButton::click, Qt::QueuedConnection);
        else if (name == "windows")
            tell("windows: " + visibleTitles().join(", "));
        else if (name == "panels")
            tell(QString("panels: %1").arg(panels().size()));
        else if (name == "remove")
            QFile::remove(value);
        else if (name == "streams")
            tellStreams(value);
        else if (name == "warn")
            warnIn(value.toLatin1());
        else if (name == "xerror")
            warnIn("qt.qpa.xcb", goneWindow(value.toLatin1()));
        else if (name == "close")
            windowToClose()->close();
        else if (name == "delete")
            delete panels().first();
        else if (name == "exit")
            QApplication::exit(value.toInt());
    }

    static QWidget *windowToClose()
    {
        return panels().isEmpty() ? QApplication::topLevelWidgets().first() : panels().first()->window();
    }

    static void answer(const QString &way)
    {
        QMessageBox *open = box();
        tell(QString("box: [%1] [%2] %3")
                 .arg(open->windowTitle(), open->text(),
                      open->parentWidget() ? open->parentWidget()->objectName() : QString("without parent")));
        if (way == "escape")
            QTest::keyClick(open, Qt::Key_Escape);
        else
            open->button(way == "yes" ? QMessageBox::Yes : way == "no" ? QMessageBox::No : QMessageBox::Ok)->click();
    }

    QTimer m_timer;
    QStringList m_steps;
};

void tellTheFlagAtTheEnd()
{
    tell(QString("at exit: flag %1").arg(SetWAllocOutput));
}

void startDriving()
{
    std::atexit(&tellTheFlagAtTheEnd);
    new Driver(qApp);
    QObject::connect(qApp, &QObject::destroyed,
                     [] { tell(QString("application gone: flag %1").arg(SetWAllocOutput)); });
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(startDriving)
