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
const QString TraceLine = QStringLiteral("CWD_EventsList::onSetTimeFrom:i=2");

/** A warning of the toolkit's is a fault of the console. */
void takeMessage(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    std::fprintf(stderr, "%s\n", qPrintable(text));
    require(type == QtDebugMsg || type == QtInfoMsg || text == TraceLine, "no warnings, but: " + text);
}

void layOutInstallation()
{
    folder = std::make_unique<QTemporaryDir>();
    require(folder->isValid(), "a folder for the installation");
    for (const char *name : {"Pics", "Config", "Libs", "bin"})
        require(QDir(folder->path()).mkpath(name), "a folder in the installation");
    QFile picture(installation() + "Pics/Red.bmp");
    require(picture.open(QIODevice::WriteOnly), picture.fileName());
    require(QFile::copy(DBLIB_SQLITE, installation() + "Libs/DBLib.a"), "a copy of the DB library");
    require(QDir::setCurrent(installation() + "bin"), "the working directory");
}

obrimWidget *panel()
{
    for (QWidget *widget : QApplication::topLevelWidgets())
        if (auto *panel = qobject_cast<obrimWidget *>(widget))
            return panel;
    return nullptr;
}

void runScript()
{
    waitFor([] { return panel() && panel()->isVisible(); }, "the panel");
    work();
    panel()->close();
}

void start()
{
    qInstallMessageHandler(&takeMessage);
    layOutInstallation();
    QTimer::singleShot(0, qApp, &runScript);
    QObject::connect(qApp, &QObject::destroyed, [] { folder.reset(); });
}

/** Clicks the entry of a menu as soon as the menu is open. */
void clickInMenu(const QString &entry, const std::function<void()> &open)
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
    waitFor([&] { return chosen && !QApplication::activePopupWidget(); }, "the menu entry " + entry);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(start)

void require(bool holds, const QString &what)
{
    if (holds)
        return;
    std::fprintf(stderr, "expected: %s\n", qPrintable(what));
    if (simulator != 0)
        kill(pid_t(simulator), SIGKILL);
    folder.reset();
    std::_Exit(1);
}

void waitFor(const std::function<bool()> &condition, const QString &what)
{
    require(waitFor(condition), what);
}

QString installation()
{
    return folder->path() + "/";
}

Simulator::Simulator(const QStringList &arguments)
{
    m_process.setProcessChannelMode(QProcess::ForwardedChannels);
    m_process.start(SENSOR_SIM, QStringList{"--config", installation() + "Config"} + arguments);
    require(m_process.waitForStarted(Patience), "sensor-sim starts");
    simulator = m_process.processId();
}

void Simulator::stop()
{
    m_process.terminate();
    require(m_process.waitForFinished(Patience) && m_process.exitStatus() == QProcess::NormalExit &&
                m_process.exitCode() == 0,
            "sensor-sim ends in good order");
    simulator = 0;
}

QWidget *openList(const char *button)
{
    const QWidgetList before = QApplication::topLevelWidgets();
    click(panel(), button);
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (!before.contains(window) && window->findChild<ListView *>()) {
            require(waitForExposed(window), "the window is shown");
            return window;
        }
    }
    require(false, QString("%1 opens a window").arg(button));
    return nullptr;
}

ListView *listOf(const QWidget *window)
{
    return window->findChild<ListView *>();
}

void click(const QWidget *window, const char *button)
{
    auto *found = window->findChild<QPushButton *>(button);
    require(found, button);
    QTest::mouseClick(found, Qt::LeftButton);
}

void typeMost(const QWidget *window, int records)
{
    auto *field = window->findChild<QLineEdit *>("NMax");
    field->selectAll();
    QTest::keyClicks(field, QString::number(records));
}

void choose(const QWidget *window, const char *combo, int index)
{
    auto *found = window->findChild<QComboBox *>(combo);
    found->setFocus();
    // The keys tell the combo box what a user's choice tells it, without a pop-up to aim at.
    QTest::keyClick(found, Qt::Key_Home);
    for (int i = 0; i < index; ++i)
        QTest::keyClick(found, Qt::Key_Down);
    require(found->currentIndex() == index, combo);
}

void chooseFromMenuBar(const QWidget *window, const QString &menu, const QString &entry)
{
    auto *bar = window->findChild<QMenuBar *>();
    for (QAction *action : bar->actions()) {
        if (action->text() == menu) {
            clickInMenu(entry, [&] {
                QTest::mouseClick(bar, Qt::LeftButton, Qt::NoModifier, bar->actionGeometry(action).center());
            });
            // What the entry does may wait until the menu is gone.
            QCoreApplication::sendPostedEvents();
            return;
        }
    }
    require(false, menu);
}

void chooseFromRowMenu(ListView *list, int row, const QString &entry)
{
    const QModelIndex index = list->model()->index(row, 0);
    list->scrollTo(index);
    const QPoint place = list->visualRect(index).center();
    clickInMenu(entry, [&] { QTest::mouseClick(list->viewport(), Qt::RightButton, Qt::NoModifier, place); });
}

int findRow(const ListView *list, int column, const QString &text)
{
    for (int row = 0; row < list->childCount(); ++row)
        if (list->itemAt(row)->text(column) == text)
            return row;
    return -1;
}
