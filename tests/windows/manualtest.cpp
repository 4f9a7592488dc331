// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What F1 opens, on a desktop with a help centre, with no more than the pages, and with neither.
#include "capturedoutput.h"
#include "data.h"
#include "obrimwidget.h"
#include "windowtestbase.h"

#include <QDesktopServices>
#include <QDialog>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUrl>
#include <array>

class ManualTest : public WindowTestBase
{
    Q_OBJECT

public slots:
    /** Stands in for the desktop's programs. */
    void take(const QUrl &address)
    {
        m_opened << address;
    }

private slots:
    void init();
    void cleanup();

    void theHelpCentreOpensTheWindowsChapter_data();
    void theHelpCentreOpensTheWindowsChapter();
    void withoutAHelpCentreThePageOpens();
    void withoutTheHelpCentresManualThePageOpens();
    void withoutAnyManualABoxSaysSo();

private:
    void install(const QString &file);
    void installHelpCentre();
    void pressF1(QWidget *window);

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<CapturedOutput> m_out;
    QList<QUrl> m_opened;
    QByteArray m_path;
    QByteArray m_dataFolders;
};

void ManualTest::init()
{
    WindowTestBase::init();
    m_folder = std::make_unique<QTemporaryDir>();
    CurWD = m_folder->filePath(QStringLiteral("bin"));
    BaseWD = m_folder->path();
    m_path = qgetenv("PATH");
    m_dataFolders = qgetenv("XDG_DATA_DIRS");
    qputenv("PATH", QFile::encodeName(m_folder->filePath(QStringLiteral("programs"))));
    qputenv("XDG_DATA_DIRS", QFile::encodeName(m_folder->filePath(QStringLiteral("share"))));
    m_opened.clear();
    for (const char *scheme : {"help", "file"})
        QDesktopServices::setUrlHandler(QString::fromLatin1(scheme), this, "take");
    m_out = std::make_unique<CapturedOutput>(stdout);
}

void ManualTest::cleanup()
{
    m_out.reset();
    for (const char *scheme : {"help", "file"})
        QDesktopServices::unsetUrlHandler(QString::fromLatin1(scheme));
    qputenv("PATH", m_path);
    qputenv("XDG_DATA_DIRS", m_dataFolders);
    for (QString *directory : {&CurWD, &BaseWD, &ConfigWD, &DLLWD})
        directory->clear();
    WindowTestBase::cleanup();
}

/** An empty file that may be executed, in a folder as they are installed. */
void ManualTest::install(const QString &file)
{
    const QFileInfo place(m_folder->filePath(file));
    QVERIFY(QDir().mkpath(place.path()));
    QFile made(place.filePath());
    QVERIFY(made.open(QIODevice::WriteOnly));
    QVERIFY(made.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

void ManualTest::installHelpCentre()
{
    install(QStringLiteral("programs/khelpcenter"));
    install(QStringLiteral("share/doc/HTML/en/obrim/index.docbook"));
}

void ManualTest::pressF1(QWidget *window)
{
    m_out.reset();
    window->show();
    window->activateWindow();
    QVERIFY(waitForActive(window));
    QTest::keyClick(window, Qt::Key_F1);
}

void ManualTest::theHelpCentreOpensTheWindowsChapter_data()
{
    QTest::addColumn<int>("list");
    QTest::addColumn<QString>("chapter");
    QTest::newRow("the panel") << -1 << "the-panel";
    QTest::newRow("sensors") << 0 << "sensors";
    QTest::newRow("events") << 1 << "events-and-commands";
    QTest::newRow("commands") << 2 << "events-and-commands";
}

void ManualTest::theHelpCentreOpensTheWindowsChapter()
{
    QFETCH(int, list);
    QFETCH(QString, chapter);
    installHelpCentre();
    obrimWidget panel;
    const std::array<void (obrimWidget::*)(), 3> opening = {&obrimWidget::onSensorsList, &obrimWidget::onEventsList,
                                                            &obrimWidget::onCommandsList};
    if (list >= 0)
        (panel.*opening.at(std::size_t(list)))();
    pressF1(list >= 0 ? panel.findChild<QDialog *>() : static_cast<QWidget *>(&panel));
    QCOMPARE(m_opened.size(), 1);
    // The next generation of the frameworks names the chapter in another place of the address.
    const QString address = m_opened.first().toString();
    QVERIFY2(address.startsWith(QLatin1String("help:/obrim/")) && address.contains(chapter), qPrintable(address));
    QFile source(QStringLiteral(OBRIM_MANUAL));
    QVERIFY(source.open(QIODevice::ReadOnly));
    QVERIFY(source.readAll().contains("<chapter id=\"" + chapter.toUtf8() + "\">"));
}

void ManualTest::withoutAHelpCentreThePageOpens()
{
    install(QStringLiteral("share/doc/HTML/en/obrim/index.docbook"));
    install(QStringLiteral("share/doc/obrim-doc/html/docs/manual.html"));
    obrimWidget panel;
    pressF1(&panel);
    QUrl page = QUrl::fromLocalFile(m_folder->filePath(QStringLiteral("share/doc/obrim-doc/html/docs/manual.html")));
    page.setFragment(QStringLiteral("the-panel"));
    QCOMPARE(m_opened, QList<QUrl>{page});
}

void ManualTest::withoutTheHelpCentresManualThePageOpens()
{
    install(QStringLiteral("programs/khelpcenter"));
    install(QStringLiteral("share/doc/obrim-doc/html/docs/manual.html"));
    obrimWidget panel;
    pressF1(&panel);
    QCOMPARE(m_opened.size(), 1);
    QCOMPARE(m_opened.first().scheme(), QStringLiteral("file"));
}

void ManualTest::withoutAnyManualABoxSaysSo()
{
    install(QStringLiteral("programs/khelpcenter"));
    obrimWidget panel;
    QString text;
    answerBox(QMessageBox::Ok, &text);
    pressF1(&panel);
    QCOMPARE(text, QStringLiteral("The manual is not installed. It is in the package obrim-doc."));
    QVERIFY(m_opened.isEmpty());
}

QTEST_MAIN(ManualTest)
#include "manualtest.moc"
