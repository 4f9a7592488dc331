// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "operator.h"

#include "menuclick.h"
#include "obrimwidget.h"
#include "patience.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTimer>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace
{

std::unique_ptr<QTemporaryDir> folder;
/** The simulator's process; 0 when there is none. */
qint64 simulator = 0;

/** The one line that the console itself writes to the warning channel. */
const QString traceLine = QStringLiteral("CWD_EventsList::onSetTimeFrom:i=2");

/** A warning of the toolkit's is a fault of the console. */
void TakeMessage(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    std::fprintf(stderr, "%s\n", qPrintable(text));
    Require(type == QtDebugMsg || type == QtInfoMsg || text == traceLine, "no warnings, but: " + text);
}

void LayOutInstallation()
{
    folder = std::make_unique<QTemporaryDir>();
    Require(folder->isValid(), "a folder for the installation");
    for (const char *name : {"Pics", "Config", "Libs", "bin"})
        Require(QDir(folder->path()).mkpath(name), "a folder in the installation");
    QFile picture(Installation() + "Pics/Red.bmp");
    Require(picture.open(QIODevice::WriteOnly), picture.fileName());
    Require(QFile::copy(DBLIB_SQLITE, Installation() + "Libs/DBLib.a"), "a copy of the DB library");
    Require(QDir::setCurrent(Installation() + "bin"), "the working directory");
}

obrimWidget *Panel()
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (auto *panel = qobject_cast<obrimWidget *>(widget))
            return panel;
    }
    return nullptr;
}

void RunScript()
{
    WaitFor([] { return Panel() && Panel()->isVisible(); }, "the panel");
    Work();
    Panel()->close();
}

void Start()
{
    qInstallMessageHandler(&TakeMessage);
    LayOutInstallation();
    QTimer::singleShot(0, qApp, &RunScript);
    QObject::connect(qApp, &QObject::destroyed, [] { folder.reset(); });
}

/** Clicks the entry of a menu as soon as the menu is open. */
void ClickInMenu(const QString &entry, const std::function<void()> &open)
{
    bool chosen = false;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        if (!menu || !menu->isVisible())
            return;
        for (QAction *action : menu->actions()) {
            if (action->text() != entry)
                continue;
            poll.stop();
            chosen = true;
            clickMenuEntry(menu, action);
            return;
        }
    });
    poll.start(5);
    open();
    WaitFor([&] { return chosen && !QApplication::activePopupWidget(); }, "the menu entry " + entry);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(Start)

void Require(bool holds, const QString &what)
{
    if (holds)
        return;
    std::fprintf(stderr, "expected: %s\n", qPrintable(what));
    if (simulator != 0)
        kill(pid_t(simulator), SIGKILL);
    folder.reset();
    std::_Exit(1);
}

void WaitFor(const std::function<bool()> &condition, const QString &what)
{
    Require(waitFor(condition), what);
}

QString Installation()
{
    return folder->path() + "/";
}

Simulator::Simulator(const QStringList &arguments)
{
    m_process.setProcessChannelMode(QProcess::ForwardedChannels);
    m_process.start(SENSOR_SIM, QStringList{"--config", Installation() + "Config"} + arguments);
    Require(m_process.waitForStarted(patience), "sensor-sim starts");
    simulator = m_process.processId();
}

void Simulator::stop()
{
    m_process.terminate();
    Require(m_process.waitForFinished(patience) && m_process.exitStatus() == QProcess::NormalExit &&
                m_process.exitCode() == 0,
            "sensor-sim ends in good order");
    simulator = 0;
}

QWidget *OpenList(const char *button)
{
    const QWidgetList before = QApplication::topLevelWidgets();
    Click(Panel(), button);
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (!before.contains(window) && window->findChild<ListView *>()) {
            Require(waitForExposed(window), "the window is shown");
            return window;
        }
    }
    Require(false, QString("%1 opens a window").arg(button));
    return nullptr;
}

ListView *ListOf(const QWidget *window)
{
    return window->findChild<ListView *>();
}

void Click(const QWidget *window, const char *button)
{
    auto *found = window->findChild<QPushButton *>(button);
    Require(found, button);
    QTest::mouseClick(found, Qt::LeftButton);
}

void TypeMost(const QWidget *window, int records)
{
    auto *field = window->findChild<QLineEdit *>("NMax");
    field->selectAll();
    QTest::keyClicks(field, QString::number(records));
}

void Choose(const QWidget *window, const char *combo, int index)
{
    auto *found = window->findChild<QComboBox *>(combo);
    found->setFocus();
    // The keys tell the combo box what a user's choice tells it, without a pop-up to aim at.
    QTest::keyClick(found, Qt::Key_Home);
    for (int i = 0; i < index; ++i)
        QTest::keyClick(found, Qt::Key_Down);
    Require(found->currentIndex() == index, combo);
}

void ChooseFromMenuBar(const QWidget *window, const QString &menu, const QString &entry)
{
    auto *bar = window->findChild<QMenuBar *>();
    for (QAction *action : bar->actions()) {
        if (action->text() == menu) {
            ClickInMenu(entry, [&] {
                QTest::mouseClick(bar, Qt::LeftButton, Qt::NoModifier, bar->actionGeometry(action).center());
            });
            // What the entry does may wait until the menu is gone.
            QCoreApplication::sendPostedEvents();
            return;
        }
    }
    Require(false, menu);
}

void ChooseFromRowMenu(ListView *list, int row, const QString &entry)
{
    const QModelIndex index = list->model()->index(row, 0);
    list->scrollTo(index);
    const QPoint place = list->visualRect(index).center();
    ClickInMenu(entry, [&] { QTest::mouseClick(list->viewport(), Qt::RightButton, Qt::NoModifier, place); });
}

int FindRow(const ListView *list, int column, const QString &text)
{
    for (int row = 0; row < list->childCount(); ++row) {
        if (list->itemAt(row)->text(column) == text)
            return row;
    }
    return -1;
}
