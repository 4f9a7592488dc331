// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QApplication>
#include <clocale>
#include <langinfo.h>
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
#include <QX11Info>
#endif

struct xcb_connection_t;

/**
 * @file
 * Interfaces that changed from Qt 5 to Qt 6, for the few places that need them:
 * nothing else in the sources asks for the version.
 */
namespace Toolkit
{
/** Sharp texts and pictures on screens of many dots; set before the application is made. */
inline void useHighDpi()
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
#endif
}

/**
 * Gives texts that come as bytes the coding that Qt 6 wants, whatever the desktop's language: it would
 * do the same and say so on standard error. Called before the application is made.
 */
inline void useUtf8()
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    const char *found = std::setlocale(LC_CTYPE, "");
    if (found && qstricmp(nl_langinfo(CODESET), "UTF-8") == 0)
        return;
    QByteArray name = QByteArray(found ? found : "C");
    name = name.left(name.indexOf('.') < 0 ? name.size() : name.indexOf('.')) + ".UTF-8";
    if (!std::setlocale(LC_CTYPE, name.constData()))
        name = "C.UTF-8";
    // Only the coding changes: what one variable said for all is said for each of the others.
    const QByteArray all = qgetenv("LC_ALL");
    if (!all.isEmpty()) {
        for (const char *part : {"LC_NUMERIC", "LC_TIME", "LC_COLLATE", "LC_MONETARY", "LC_MESSAGES", "LC_MEASUREMENT"})
            qputenv(part, all);
        qunsetenv("LC_ALL");
    }
    qputenv("LC_CTYPE", name);
#endif
}

/** The application's connection to the X server; NULL on any other display. */
inline xcb_connection_t *xcbConnection()
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    return QX11Info::isPlatformX11() ? QX11Info::connection() : nullptr;
#else
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
#endif
}
} // namespace Toolkit
