// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#ifndef OBRIM_TOOLKIT_H
#define OBRIM_TOOLKIT_H

#include <QAbstractItemView>
#include <QApplication>
#include <QFont>
#include <QHoverEvent>

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

/** Where the mouse is, from the widget's upper left corner. */
inline QPoint placeOf(const QHoverEvent &event)
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    return event.pos();
#else
    return event.position().toPoint();
#endif
}

/** Whether features of the font are switched on or off by name. */
inline bool hasFeatures(const QFont &font)
{
#if QT_VERSION < QT_VERSION_CHECK(6, 7, 0)
    return static_cast<void>(font), false;
#else
    return !font.featureTags().isEmpty();
#endif
}

/** Reaches what views keep for the classes derived from them. */
class ViewOptions : private QAbstractItemView
{
public:
    /** How a view draws its items, before any item has its say. */
    static QStyleOptionViewItem of(const QAbstractItemView &view)
    {
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
        return (view.*&ViewOptions::viewOptions)();
#else
        QStyleOptionViewItem option;
        (view.*&ViewOptions::initViewItemOption)(&option);
        return option;
#endif
    }
};
} // namespace Toolkit

#endif
