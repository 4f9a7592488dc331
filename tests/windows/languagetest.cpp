// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The language is switched while windows are open, to a catalogue that was
// compiled for it and back, as the toolkit does it: by an event to the
// application.
#include "capturedoutput.h"
#include "data.h"
#include "inlanguage.h"
#include "obrimwidget.h"
#include "windowtestbase.h"

#include <QLabel>
#include <QTemporaryDir>

/** Every text of a window, with who shows it before it. Records are not in it. */
static QStringList texts(const QWidget *window)
{
    QStringList all;
    QString owner;
    const auto note = [&all, &owner](const QString &text) {
        if (!text.isEmpty())
            all << owner + ": " + text;
    };
    for (const QWidget *widget : window->findChildren<QWidget *>()) {
        owner = widget->objectName();
        note(widget->toolTip());
        if (const auto *label = qobject_cast<const QLabel *>(widget))
            note(label->text());
        if (const auto *button = qobject_cast<const QAbstractButton *>(widget))
            note(button->text());
        if (const auto *box = qobject_cast<const QGroupBox *>(widget))
            note(box->title());
        if (const auto *combo = qobject_cast<const QComboBox *>(widget))
            for (int i = 0; i < combo->count(); ++i)
                note(combo->itemText(i));
        if (const auto *list = qobject_cast<const ListView *>(widget))
            for (int column = 0; column < list->columns(); ++column)
                note(list->columnText(column));
        if (const auto *menu = qobject_cast<const QMenu *>(widget)) {
            note(menu->title());
            for (const QString &entry : entryTexts(menu))
                note(entry);
        }
    }
    return all;
}

class LanguageTest : public WindowTestBase
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void everyTextOfAWindowChangesAndComesBack_data();
    void everyTextOfAWindowChangesAndComesBack();
    void thePanelTakesTheKeysOfTheLanguage();
    void buttonsWithoutAKeyGetNone();
    void rowsAreShownInTheLanguage();
    void listsOfOneSensorAreNamedInTheLanguage();
    void listsOfThePanelAreNamedInTheLanguage();
    void menusAndQuestionsSpeakTheLanguage();
    void messagesOfTheDataLayerSpeakTheLanguage();
    void longerTextsFitIntoThePanel();
};

void LanguageTest::initTestCase()
{
    KLocalizedString::setApplicationDomain("obrim");
    KLocalizedString::addDomainLocaleDir("obrim", QStringLiteral(OBRIM_TEST_LOCALES));
}

void LanguageTest::cleanup()
{
    KLocalizedString::clearLanguages();
    for (QString *directory : {&CurWD, &BaseWD, &ConfigWD, &DLLWD})
        directory->clear();
    WindowTestBase::cleanup();
}

void LanguageTest::everyTextOfAWindowChangesAndComesBack_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("title");
    // Buttons; headings, tool tip and menus; those, the texts of the panel, two tool tips and 19 entries.
    QTest::newRow("panel") << 5 << "Werkzeug";
    QTest::newRow("sensors") << 3 + 1 + 2 + 4 << "Sensorliste";
    QTest::newRow("events") << 6 + 7 + 17 + 2 + 19 << "A list";
    QTest::newRow("commands") << 6 + 7 + 17 + 2 + 19 << "A list";
}

void LanguageTest::everyTextOfAWindowChangesAndComesBack()
{
    QFETCH(int, count);
    QFETCH(QString, title);
    const auto shown = make(QTest::currentDataTag());
    const QString titleBefore = shown->windowTitle();
    const QStringList before = texts(shown.get());
    QCOMPARE(before.size(), count);

    for (int i = 0; i < 2; ++i) {
        speak("de");
        QCOMPARE(shown->windowTitle(), title);
        const QStringList after = texts(shown.get());
        QCOMPARE(after.size(), count);
        for (int text = 0; text < count; ++text)
            QVERIFY2(after.at(text) != before.at(text), qPrintable(after.at(text)));
        speak("en_US");
        QCOMPARE(shown->windowTitle(), titleBefore);
        QCOMPARE(texts(shown.get()), before);
    }
}

void LanguageTest::thePanelTakesTheKeysOfTheLanguage()
{
    const obrimWidgetBase panel;
    QCOMPARE(panel.Exit->shortcut(), QKeySequence("Alt+X"));
    speak("de");
    QCOMPARE(panel.Exit->text(), QStringLiteral("Been&den"));
    QCOMPARE(panel.Exit->shortcut(), QKeySequence("Alt+D"));
    // Not in the catalogue: as it stands in the code.
    QCOMPARE(panel.Sensors_list->shortcut(), QKeySequence("Alt+S"));
}

void LanguageTest::buttonsWithoutAKeyGetNone()
{
    const CWD_CommandsList commands(nullptr, "A list", nullptr);
    speak("de");
    QCOMPARE(commands.pushButton2->text(), QString::fromUtf8("Neue &hinzufügen"));
    QVERIFY(commands.pushButton2->shortcut().isEmpty());
    QVERIFY(commands.toolTip().isEmpty());
}

void LanguageTest::rowsAreShownInTheLanguage()
{
    m_library->sensors.answer = {sensor("pump"), sensor("boiler", "", SensorDead)};
    const CWD_SensorsList sensors(nullptr, "Sensors list");
    QCOMPARE(columnTexts(sensors.SensorsList, 2), QStringList({"IsDead", "Is Alive"}));
    speak("de");
    QCOMPARE(columnTexts(sensors.SensorsList, 2), QStringList({"Tot", "Lebt"}));
}

void LanguageTest::listsOfOneSensorAreNamedInTheLanguage()
{
    m_library->sensors.answer = {sensor("pump"), sensor("valve")};
    CWD_SensorsList sensors(nullptr, "Sensors list");
    sensors.itemSelected = sensors.SensorsList->itemAt(0);
    QVERIFY(QMetaObject::invokeMethod(&sensors, "CallEventsDialog"));
    speak("de");
    sensors.itemSelected = sensors.SensorsList->itemAt(1);
    QVERIFY(QMetaObject::invokeMethod(&sensors, "CallCommandsDialog"));
    const auto *events = sensors.findChild<CWD_EventsList *>();
    const auto *commands = sensors.findChild<CWD_CommandsList *>();
    QCOMPARE(events->windowTitle(), QStringLiteral("Ereignisse von pump"));
    QCOMPARE(commands->windowTitle(), QString::fromUtf8("Befehle → valve"));
    speak("en_US");
    QCOMPARE(events->windowTitle(), QStringLiteral("Events list for pump"));
    QCOMPARE(commands->windowTitle(), QStringLiteral("Commands list for valve"));
}

void LanguageTest::listsOfThePanelAreNamedInTheLanguage()
{
    const QTemporaryDir folder;
    CurWD = folder.filePath(QStringLiteral("bin"));
    BaseWD = folder.path();
    const CapturedOutput out(stdout);
    speak("de");
    obrimWidget panel;
    panel.onEventsList();
    panel.onCommandsList();
    const auto *events = panel.findChild<CWD_EventsList *>();
    const auto *commands = panel.findChild<CWD_CommandsList *>();
    QCOMPARE(events->windowTitle(), QStringLiteral("Alle Ereignisse"));
    QCOMPARE(commands->windowTitle(), QString::fromUtf8("Alle Befehle → hier"));
    QCOMPARE(events->objectName(), QStringLiteral("Events list"));
    QCOMPARE(commands->objectName(), QStringLiteral("Commands list"));
    speak("en_US");
    QCOMPARE(events->windowTitle(), QStringLiteral("Events list"));
    QCOMPARE(commands->windowTitle(), QStringLiteral("Commands list"));
}

void LanguageTest::menusAndQuestionsSpeakTheLanguage()
{
    m_library->events.answer = events(5, 1);
    CWD_EventsList window(nullptr, "A list", nullptr);
    QVERIFY(showAndWait(&window));
    speak("de");
    QString caption;
    QString question;
    QString defaultButton;
    when([] { return openBox() != nullptr; },
         [&] {
             caption = openBox()->windowTitle();
             question = openBox()->text();
             defaultButton = openBox()->defaultButton()->text();
             QTest::mouseClick(buttonOf(openBox(), QString::fromUtf8("Doch nicht")), Qt::LeftButton);
         });
    chooseFromMenu(QString::fromUtf8("Ereignis löschen"));
    rightClick(window.listMessages, 0);
    QCOMPARE(caption, QStringLiteral("Frage"));
    QCOMPARE(question, QStringLiteral("5 (Ereignis): soll es weg?"));
    QCOMPARE(defaultButton, QStringLiteral("Ja, weg"));
}

void LanguageTest::messagesOfTheDataLayerSpeakTheLanguage()
{
    m_library->sensors.sizes = 0;
    speak("de");
    QString text;
    answerBox(QMessageBox::Ok, &text);
    const CWD_SensorsList sensors(nullptr, "Sensors list");
    QCOMPARE(text, QString::fromUtf8("Die Bibliothek passt nicht: Größe eines Sensors"));
    // The numbers go into what the catalogue has.
    m_library->events.sizes = 7 | (8 << 16);
    answerBox(QMessageBox::Ok, &text);
    answerBox(QMessageBox::Ok);
    const CWD_EventsList events(nullptr, "A list", nullptr);
    QCOMPARE(text,
             QString::fromUtf8("Größen: %1/7, %2/8").arg(sizeof(CMessageEvent)).arg(sizeof(CMessageEventRequest)));
}

void LanguageTest::longerTextsFitIntoThePanel()
{
    CWD_EventsList window(nullptr, "A list", nullptr);
    QVERIFY(showAndWait(&window));
    speak("de");
    for (const QWidget *widget : window.GB0->findChildren<QAbstractButton *>())
        QVERIFY2(widget->sizeHint().width() <= widget->width(), qPrintable(widget->objectName()));
    QVERIFY(window.AutoUpdate->sizeHint().width() <= window.AutoUpdate->width());
    const qreal german = window.GB0->font().pointSizeF();
    speak("en_US");
    QVERIFY(window.GB0->font().pointSizeF() > german);
}

QTEST_MAIN(LanguageTest)
#include "languagetest.moc"
