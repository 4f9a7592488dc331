// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "listview.h"

#include <QComboBox>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>
#include <functional>
#include <memory>

/**
 * @file
 * Linked beside the program's own main(): lays out an installation with the
 * SQLite library before the console looks for one, and then works the
 * console's windows with mouse and keys, by the script that Work() is.
 *
 * The process ends with 0 when the script came to its end and nothing was
 * wrong, and with 1 after a first complaint on standard error.
 */

/** The script of this program. Runs once the panel is shown; whatever it waits for, the event loop runs. */
void work();

/** Ends the process with a complaint unless `holds`. */
void require(bool holds, const QString &what);

/** Waits until `condition` holds, and complains when it never does. */
void waitFor(const std::function<bool()> &condition, const QString &what);

/** The installation's base directory, with a slash at its end. */
QString installation();

/** sensor-sim at work on the installation, ended with the process. */
class Simulator
{
public:
    explicit Simulator(const QStringList &arguments);
    /** Ends it as Ctrl-C does and waits for its end. */
    void stop();

private:
    QProcess m_process;
};

/** Clicks a button of the panel and returns the window that it opens. */
QWidget *openList(const char *button);

/** The list of a list window. */
ListView *listOf(const QWidget *window);

/** Clicks a button of a window with the mouse. */
void click(const QWidget *window, const char *button);

/** Types into the field for the most records. */
void typeMost(const QWidget *window, int records);

/** Chooses an entry of a combo box from its list. */
void choose(const QWidget *window, const char *combo, int index);

/** Chooses an entry of the window's menu bar with the mouse. */
void chooseFromMenuBar(const QWidget *window, const QString &menu, const QString &entry);

/** Clicks a row with the right button and chooses from its menu. */
void chooseFromRowMenu(ListView *list, int row, const QString &entry);

/** The row whose text in a column is `text`, -1 when there is none. */
int findRow(const ListView *list, int column, const QString &text);
