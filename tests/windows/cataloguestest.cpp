// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The languages that the program is delivered in, in its windows.
#include "inlanguage.h"
#include "windowtestbase.h"

#include <QComboBox>
#include <QDateTimeEdit>
#include <QDir>
#include <QLabel>
#include <QMenuBar>
#include <QSet>

static const QStringList Windows = {"panel", "sensors", "events", "commands"};

static QStringList languages()
{
    return QDir(QStringLiteral(OBRIM_LOCALES)).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
}

static void addWindowsInEachLanguage()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("kind");
    for (const QString &language : languages())
        for (const QString &kind : Windows)
            QTest::addRow("%s in %s", qPrintable(kind), qPrintable(language)) << language << kind;
}

/** What shows a text that must fit into it. */
static QWidgetList widgetsWithText(const QWidget *window)
{
    QWidgetList found;
    for (QWidget *widget : window->findChildren<QWidget *>())
        if (qobject_cast<QLabel *>(widget) || qobject_cast<QAbstractButton *>(widget) ||
            qobject_cast<QComboBox *>(widget) || qobject_cast<QDateTimeEdit *>(widget))
            found << widget;
    return found;
}

/** Titles of record lists are what their caller says. */
static QStringList titleAndLastHeading(const QString &kind)
{
    const auto window = make(kind);
    QStringList texts;
    if (kind == "panel" || kind == "sensors")
        texts << window->windowTitle();
    if (const auto *list = window->findChild<ListView *>())
        texts << list->columnText(list->columns() - 1);
    return texts;
}

/** The font size of the panel of a list of records, else 0. */
static qreal panelFontSize(const QWidget *window)
{
    const auto *panel = window->findChild<QGroupBox *>("GB0");
    return panel ? panel->font().pointSizeF() : 0;
}

class CataloguesTest : public WindowTestBase
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void allLanguagesAreThere();
    void everyWindowSpeaksTheLanguage_data();
    void everyWindowSpeaksTheLanguage();
    void keysAreThoseOfTheTextsAndOnlyOnceInAWindow_data();
    void keysAreThoseOfTheTextsAndOnlyOnceInAWindow();
    void textsFitTheirWidgets_data();
    void textsFitTheirWidgets();
};

void CataloguesTest::initTestCase()
{
    KLocalizedString::setApplicationDomain("obrim");
    KLocalizedString::addDomainLocaleDir("obrim", QStringLiteral(OBRIM_LOCALES));
}

void CataloguesTest::cleanup()
{
    KLocalizedString::clearLanguages();
    WindowTestBase::cleanup();
}

void CataloguesTest::allLanguagesAreThere()
{
    QCOMPARE(languages(), QStringList({"de", "es", "fr", "ru"}));
}

void CataloguesTest::everyWindowSpeaksTheLanguage_data()
{
    addWindowsInEachLanguage();
}

void CataloguesTest::everyWindowSpeaksTheLanguage()
{
    QFETCH(QString, language);
    QFETCH(QString, kind);
    speak("en_US");
    const QStringList english = titleAndLastHeading(kind);
    speak(language);
    const QStringList translated = titleAndLastHeading(kind);
    for (int i = 0; i < english.size(); ++i)
        QVERIFY2(translated.at(i) != english.at(i), qPrintable(english.at(i)));
}

void CataloguesTest::keysAreThoseOfTheTextsAndOnlyOnceInAWindow_data()
{
    addWindowsInEachLanguage();
}

void CataloguesTest::keysAreThoseOfTheTextsAndOnlyOnceInAWindow()
{
    QFETCH(QString, language);
    QFETCH(QString, kind);
    speak(language);
    const auto window = make(kind);
    QStringList keys;
    for (const auto *button : window->findChildren<QAbstractButton *>())
        if (!button->shortcut().isEmpty()) {
            QCOMPARE(button->shortcut(), QKeySequence::mnemonic(button->text()));
            keys << button->shortcut().toString();
        }
    if (const auto *bar = window->findChild<QMenuBar *>())
        for (const QAction *menu : bar->actions())
            keys << QKeySequence::mnemonic(menu->text()).toString();
    QCOMPARE(QSet<QString>(keys.begin(), keys.end()).size(), keys.size());
    QVERIFY(keys.size() >= 2);
}

void CataloguesTest::textsFitTheirWidgets_data()
{
    addWindowsInEachLanguage();
}

void CataloguesTest::textsFitTheirWidgets()
{
    QFETCH(QString, language);
    QFETCH(QString, kind);
    speak("en_US");
    const qreal english = panelFontSize(make(kind).get());
    speak(language);
    const auto window = make(kind);
    QVERIFY(showAndWait(window.get()));
    for (const QWidget *widget : widgetsWithText(window.get())) {
        const QByteArray what = widget->objectName().toUtf8() + " needs " +
                                QByteArray::number(widget->sizeHint().width()) + " of " +
                                QByteArray::number(widget->width());
        QVERIFY2(widget->sizeHint().width() <= widget->width(), what.constData());
    }
    // The panel's font gives way to long texts: not so far that it cannot be read.
    const qreal translated = panelFontSize(window.get());
    QVERIFY2(translated >= 0.8 * english, QByteArray::number(translated / english).constData());
}

QTEST_MAIN(CataloguesTest)
#include "cataloguestest.moc"
