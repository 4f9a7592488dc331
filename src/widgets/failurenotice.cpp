// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "failurenotice.h"

#include <KLocalizedString>
#include <KNotification>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

namespace
{

QString textOf(const QString &function, std::optional<int> result)
{
    if (!result)
        return i18n("%1 threw an exception", function);
    return *result == 0 ? i18n("%1 works again", function) : i18n("%1 returned %2", function, QString::number(*result));
}

void show(const QString &event, const QString &text)
{
    auto *notification = new KNotification(event, KNotification::CloseOnTimeout);
    notification->setTitle(i18n("DB library"));
    notification->setText(text);
    notification->sendEvent();
}

} // namespace

void prepareFailureNotices()
{
    QDBusConnection::sessionBus();
}

void showFailureNotice(const char *function, std::optional<int> result)
{
    const QString event = result == 0 ? QStringLiteral("recovery") : QStringLiteral("failure");
    const QString text = textOf(QString::fromLatin1(function), result);
    // The desktop's service is asked first, without waiting, which also starts it: there may be none.
    const QDBusMessage question = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("GetCapabilities"));
    // The application deletes those that still wait at its end.
    auto *watcher =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), QCoreApplication::instance());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, event, text] {
        watcher->deleteLater();
        if (!watcher->isError())
            show(event, text);
    });
}
