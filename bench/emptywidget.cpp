// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/** @file The least that a program with the console's libraries does to show a window, with a text in it if one is
 * given. */

#include "obrim.h"

#include <KAboutData>
#include <QApplication>
#include <QLabel>
#include <memory>

namespace
{

/** Never called. What it names has the linker keep the libraries that the console has. */
void useLibraries()
{
    KAboutData::setApplicationData(KAboutData());
    (new obrim)->restore(1, true);
}

} // namespace

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    if (argc < 1)
        useLibraries();
    QWidget empty;
    // Without a text, a label asks for its font all the same.
    std::unique_ptr<QWidget> label(argc > 1 ? new QLabel(QString::fromLocal8Bit(argv[1])) : nullptr);
    (label ? *label : empty).show();
    return QApplication::exec();
}
