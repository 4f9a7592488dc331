// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "data.h"

#include "DBFuns.h"
#include "failurenotice.h"
#include "informationbox.h"
#include "mainwidget.h"
#include "obrim.h"
#include "obrimwidget.h"
#include "sessionbus.h"
#include "standardstreams.h"
#include "toolkit.h"
#include "visibletext.h"

#include <KAboutData>
#include <KConfig>
#include <KConfigGroup>
#include <KConfigGui>
#include <KLocalizedString>
#include <QApplication>
#include <QCommandLineParser>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QIcon>
#include <QPointer>
#include <QRegularExpression>
#include <cstdio>
#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace
{

/** Without a login session nobody names the runtime directory, and Qt warns before it takes this very one. */
void setRuntimeDirectory()
{
    if (!qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR"))
        return;
    const passwd *user = getpwuid(getuid());
    const QByteArray name = user ? QByteArray(user->pw_name) : QByteArray::number(qulonglong(getuid()));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(QDir::tempPath()) + "/runtime-" + name);
}

KAboutData aboutData()
{
    KAboutData about(QStringLiteral("obrim"), QStringLiteral("obrim"), QStringLiteral(OBRIM_VERSION), QString(),
                     KAboutLicense::GPL, QStringLiteral("© 2026 The obrim developers"), QString(), QString(),
                     QStringLiteral("obrim@localhost"));
    about.addAuthor(QStringLiteral("The obrim developers"));
    about.setDesktopFileName(QStringLiteral("obrim"));
    return about;
}

/**
 * A box that closes under the pointer makes the toolkit ask the display which
 * windows lie there, and complain when the window manager has just destroyed
 * one of them.
 */
bool isOfAVanishedWindow(const QMessageLogContext &context, const QString &text)
{
    static const QRegularExpression complaint(
        QStringLiteral("^QXcbConnection: XCB error: 3 \\(BadWindow\\), sequence: \\d+, resource id: \\d+, "
                       "major code: 40 \\(TranslateCoords\\), minor code: 0$"));
    return qstrcmp(context.category, "qt.qpa.xcb") == 0 && complaint.match(text).hasMatch();
}

void ignoreVanishedWindows()
{
    static QtMessageHandler tell =
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &context, const QString &text) {
            if (!isOfAVanishedWindow(context, text))
                tell(type, context, text);
        });
}

/**
 * From now on the captions stand as they are, without the program's name behind
 * them. Not before a KMainWindow is built: it compares the name with the about data.
 */
void useBareCaptions()
{
    QGuiApplication::setApplicationDisplayName(QString());
}

/** The first window of a restored session shows such a box while it is built; no other one follows it then. */
void showBox(QDialog *parent, const QString &caption, const QString &text)
{
    useBareCaptions();
    showInformationBox(parent, caption, text);
}

/** Tells the application who it is. The description waits until now: there are no translations before. */
void setUpApplication(KAboutData &about)
{
    KLocalizedString::setApplicationDomain("obrim");
    about.setShortDescription(i18n("A KDE KPart Application"));
    KAboutData::setApplicationData(about);
    QGuiApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("obrim")));
    setInformationBox(showBox);
    setTextLookUp([](const char *text) { return tr2i18n(text); });
    setFailureNotice(showFailureNotice);
    prepareFailureNotices();
}

/** The program takes no options of its own; false when there are words that it takes for nothing. */
bool parseCommandLine(KAboutData &about)
{
    QCommandLineParser parser;
    about.setupCommandLine(&parser);
    parser.process(*qApp);
    about.processCommandLine(&parser);
    const QStringList unknown = parser.positionalArguments();
    if (!unknown.isEmpty())
        std::fprintf(stderr, "obrim: unexpected argument: %s\n",
                     visibleText(unknown.join(QStringLiteral(", ")).toStdString()).c_str());
    return unknown.isEmpty();
}

bool savedNumberOfWindows()
{
    KConfig *session = KConfigGui::sessionConfig();
    return session && KConfigGroup(session, QStringLiteral("Number")).hasKey("NumberOfWindows");
}

void restoreWindows()
{
    for (int n = 1; KMainWindow::canBeRestored(n); ++n)
        (new obrim)->restore(n, true);
    // What saved no number had one window; KDE Frameworks 6 takes that for none.
    if (KMainWindow::memberList().isEmpty() && !savedNumberOfWindows())
        (new obrim)->show();
    // Without a window nobody could ever end the process.
    if (KMainWindow::memberList().isEmpty())
        QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
}

int runRestored()
{
    restoreWindows();
    useBareCaptions();
    const int result = QApplication::exec();
    qDeleteAll(KMainWindow::memberList());
    return result;
}

int runPanel()
{
    useBareCaptions();
    const QPointer<obrimWidget> panel = new obrimWidget;
    setMainWidget(panel);
    panel->show();
    const int result = QApplication::exec();
    delete panel.data();
    return result;
}

int run(int &argc, char **argv)
{
    KAboutData about = aboutData();
    Toolkit::useHighDpi();
    const QApplication application(argc, argv);
    ignoreVanishedWindows();
    setUpApplication(about);
    if (!parseCommandLine(about))
        return EXIT_FAILURE;
    return application.isSessionRestored() ? runRestored() : runPanel();
}

} // namespace

int main(int argc, char **argv)
{
    openStandardDescriptors();
    neverWaitForReaders();
    setRuntimeDirectory();
    avoidSilentSessionBus();
    Toolkit::useUtf8();
    const int result = run(argc, argv);
    SetWAllocOutput = 1;
    return result;
}
