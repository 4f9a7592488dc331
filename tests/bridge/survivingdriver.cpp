// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * Linked beside the program's own main(), this has one console work with one
 * DB library after the other. OBRIM_TEST_LIBRARIES names a file with a line for
 * each: the text of a Config/DBLib.def, with "|" between its lines. For each,
 * the console initialises its data as in a restored session, every window is
 * opened from the panel and used, and standard error tells
 *
 *     survived NUMBER: EVENTS rows
 *
 * with the rows of the events list at the end.
 */
#include "DBFuns.h"
#include "cwd_commandslist.h"
#include "cwd_eventslist.h"
#include "cwd_sensorslist.h"
#include "data.h"
#include "obrimwidget.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFile>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <cstdio>
#include <cstdlib>

namespace
{
template <class Window> Window *shown()
{
    for (QWidget *widget : QApplication::topLevelWidgets())
        if (auto *window = qobject_cast<Window *>(widget))
            return window;
    return nullptr;
}

template <class Window> Window *openFromPanel(const char *button)
{
    shown<obrimWidget>()->findChild<QPushButton *>(QString::fromLatin1(button))->click();
    return shown<Window>();
}

/** What makes the faulty libraries show their faults. */
const char *const Counts[] = {"2147483647", "0", "-2147483648", "-1", "100"};

void useSensors()
{
    auto *window = openFromPanel<CWD_SensorsList>("Sensors_list");
    window->FUpdateData();
    if ((window->itemSelected = window->SensorsList->firstChild()))
        QMetaObject::invokeMethod(window, "FKill");
    delete window;
}

int useEvents()
{
    auto *window = openFromPanel<CWD_EventsList>("BEventsList");
    for (const char *count : Counts) {
        window->NMax->setText(QString::fromLatin1(count));
        window->onUpdateList();
        window->onGetNewEvents();
    }
    if ((window->itemSelected = window->listMessages->firstChild()))
        window->onDeleteItem();
    const int rows = window->listMessages->childCount();
    delete window;
    return rows;
}

void useCommands()
{
    auto *window = openFromPanel<CWD_CommandsList>("BCommandList");
    window->noGetNewCommands();
    if ((window->itemSelected = window->listCommands->firstChild()))
        window->onDeleteItem();
    delete window;
}

class Driver : public QObject
{
public:
    explicit Driver(QObject *parent)
        : QObject(parent)
    {
        QFile file(qEnvironmentVariable("OBRIM_TEST_LIBRARIES"));
        if (!file.open(QIODevice::ReadOnly))
            std::abort();
        m_libraries = file.readAll().split('\n');
        m_libraries.removeAll(QByteArray());
        connect(&m_boxes, &QTimer::timeout, this, &Driver::answerBox);
        m_boxes.start(1);
        QTimer::singleShot(0, this, &Driver::next);
    }

private:
    static void answerBox()
    {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box || !box->isVisible())
            return;
        QAbstractButton *yes = box->button(QMessageBox::Yes);
        (yes ? yes : box->buttons().first())->click();
    }

    void next()
    {
        if (!shown<obrimWidget>())
            return QTimer::singleShot(5, this, &Driver::next);
        if (m_done == m_libraries.size()) {
            shown<obrimWidget>()->window()->close();
            return;
        }
        use(m_libraries[m_done].replace('|', '\n'));
        QTimer::singleShot(0, this, &Driver::next);
    }

    void use(const QByteArray &definitions)
    {
        QFile file(ConfigWD + QLatin1String("/DBLib.def"));
        if (!file.open(QIODevice::WriteOnly) || file.write(definitions) != definitions.size())
            std::abort();
        file.close();
        InitData();
        useSensors();
        const int rows = useEvents();
        useCommands();
        std::fprintf(stderr, "survived %d: %d rows\n", int(m_done), rows);
        ++m_done;
    }

    QTimer m_boxes;
    QList<QByteArray> m_libraries;
    decltype(m_libraries.size()) m_done = 0;
};

void startDriving()
{
    new Driver(qApp);
}
} // namespace

Q_COREAPP_STARTUP_FUNCTION(startDriving)
