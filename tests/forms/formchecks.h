// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QAbstractButton>
#include <QCoreApplication>
#include <QEvent>
#include <QMetaMethod>
#include <QStringList>
#include <QWidget>

/** Keeps what is written to the warning channel while it lives. */
class WarningLines
{
public:
    WarningLines()
        : m_before(qInstallMessageHandler(&WarningLines::take))
    {
        lines().clear();
    }
    ~WarningLines()
    {
        qInstallMessageHandler(m_before);
    }
    WarningLines(const WarningLines &) = delete;
    WarningLines &operator=(const WarningLines &) = delete;

    static QStringList &lines()
    {
        static QStringList all;
        return all;
    }

private:
    static void take(QtMsgType, const QMessageLogContext &, const QString &text)
    {
        // The platform without a screen says so of windows and popups.
        if (!text.startsWith(QLatin1String("This plugin does not support ")))
            lines().append(text);
    }

    QtMessageHandler m_before;
};

/** A widget of a form, in the order of creation. */
struct FormWidget {
    const char *name;
    const char *type;
    const char *parent;
    QRect geometry;
    const char *text;     ///< title of a box, text of a label or button; NULL: none
    const char *shortcut; ///< "" for none
};

/** The methods that a class adds to its base, in the order of its meta-object. */
inline QStringList ownMethods(const QMetaObject &type)
{
    QStringList methods;
    for (int i = type.methodOffset(); i < type.methodCount(); ++i)
        methods.append(QString::fromLatin1(type.method(i).methodSignature()));
    return methods;
}

/** The object names of a widget's child widgets, in the order of creation. */
inline QStringList childNames(const QObject *parent)
{
    QStringList names;
    for (const QObject *child : parent->children())
        if (child->isWidgetType())
            names.append(child->objectName());
    return names;
}

/** Caption, title or text of a widget. */
inline QString shownText(const QWidget *widget)
{
    for (const char *property : {"title", "text"}) {
        const QVariant value = widget->property(property);
        if (value.isValid())
            return value.toString();
    }
    return widget->windowTitle();
}

inline QKeySequence shortcut(const QWidget *widget)
{
    const auto *button = qobject_cast<const QAbstractButton *>(widget);
    return button ? button->shortcut() : QKeySequence();
}

/** What a window gets when the desktop's language changes. */
inline void switchLanguage(QWidget *window)
{
    QEvent change(QEvent::LanguageChange);
    QCoreApplication::sendEvent(window, &change);
}
