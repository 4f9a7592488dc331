// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "windowkeys.h"

#include "informationbox.h"

#include <KConfigGroup>
#include <KHelpClient>
#include <KLocalizedString>
#include <KSharedConfig>
#include <QDesktopServices>
#include <QShortcut>
#include <QStandardPaths>
#include <QUrl>
#include <QWidget>

namespace
{

QString installed(const char *file)
{
    return QStandardPaths::locate(QStandardPaths::GenericDataLocation, QString::fromLatin1(file));
}

/** Asked first, as the desktop takes an address that it has no program for without a word. */
bool helpCentreHasIt()
{
    return !QStandardPaths::findExecutable(QStringLiteral("khelpcenter")).isEmpty() &&
           !installed("doc/HTML/en/obrim/index.docbook").isEmpty();
}

void openManual(QWidget *window, const QString &chapter)
{
    if (helpCentreHasIt()) {
        KHelpClient::invokeHelp(chapter, QStringLiteral("obrim"));
        return;
    }
    const QString file = installed("doc/obrim-doc/html/docs/manual.html");
    QUrl page = QUrl::fromLocalFile(file);
    page.setFragment(chapter);
    if (!file.isEmpty() && QDesktopServices::openUrl(page))
        return;
    showInformationBox(window, QString(), i18n("The manual is not installed. It is in the package obrim-doc."));
}

void keepAccelerators()
{
    // KXmlGui reads this when the event loop starts, and would go over every window that gets the focus.
    const KSharedConfig::Ptr config = KSharedConfig::openConfig();
    KConfigGroup(config, "Development").writeEntry("AutoCheckAccelerators", false);
    config->markAsClean();
}

} // namespace

void setUpKeys(QWidget *window, const QString &chapter)
{
    keepAccelerators();
    auto *key = new QShortcut(QKeySequence(Qt::Key_F1), window);
    QObject::connect(key, &QShortcut::activated, window, [window, chapter] { openManual(window, chapter); });
}
