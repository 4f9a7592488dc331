// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "formchecks.h"
#include "obrimwidgetbase.h"
#include "patience.h"

#include <QLayout>

class TestPanelForm : public QObject
{
    Q_OBJECT

private slots:
    void aNullNameGivesTheDefault();
    void aGivenNameIsKept();
    void parentAndFlagsReachTheWidget();
    void slotsStandInOrder();
    void theButtonsStandInTheOrderOfCreation();
    void theRowIsSpacerColumnSpacer();
    void textsAndAccelerators_data();
    void textsAndAccelerators();
    void theCaptionIsTool();
    void theFirstSizeIsExact();
    void theFirstSizeIsNeverBelowTheMinimum();
    void aClickOnABareFormOnlyWarns_data();
    void aClickOnABareFormOnlyWarns();
    void theUnconnectedSlotOnlyWarns();
    void anAcceleratorClicksItsButton_data();
    void anAcceleratorClicksItsButton();
    void wideningWidensTheButtonsNotTheirHeight();
    void aLanguageSwitchSetsEveryText();
    void tabGoesDownTheColumn();
};

static const QStringList ButtonNames = {"Sensors_list", "Sensors_Tree", "BEventsList", "BCommandList", "Exit"};

void TestPanelForm::aNullNameGivesTheDefault()
{
    QCOMPARE(obrimWidgetBase(nullptr, nullptr, {}).objectName(), QString("obrimwidgetbase"));
}

void TestPanelForm::aGivenNameIsKept()
{
    QCOMPARE(obrimWidgetBase(nullptr, "mine", {}).objectName(), QString("mine"));
    QCOMPARE(obrimWidgetBase(nullptr, "", {}).objectName(), QString(""));
}

void TestPanelForm::parentAndFlagsReachTheWidget()
{
    QWidget parent;
    const obrimWidgetBase form(&parent, "mine", Qt::Tool);
    QCOMPARE(form.parentWidget(), &parent);
    QCOMPARE(form.windowType(), Qt::Tool);
    QVERIFY(!obrimWidgetBase(&parent).isWindow());
}

void TestPanelForm::slotsStandInOrder()
{
    const QStringList expected = {"button_clicked()", "onSensorsList()",  "onSensorsTree()", "onExit()",
                                  "onEventsList()",   "onCommandsList()", "languageChange()"};
    QCOMPARE(ownMethods(obrimWidgetBase::staticMetaObject), expected);
    const QMetaObject &type = obrimWidgetBase::staticMetaObject;
    QCOMPARE(type.method(type.indexOfMethod("onExit()")).access(), QMetaMethod::Public);
    QCOMPARE(type.method(type.indexOfMethod("languageChange()")).access(), QMetaMethod::Protected);
}

void TestPanelForm::theButtonsStandInTheOrderOfCreation()
{
    const obrimWidgetBase form;
    QCOMPARE(childNames(&form), ButtonNames);
    for (const QWidget *button : form.findChildren<QPushButton *>()) {
        QCOMPARE(button->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
        QCOMPARE(button->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);
    }
}

void TestPanelForm::theRowIsSpacerColumnSpacer()
{
    const obrimWidgetBase form;
    const QHBoxLayout *row = form.obrimwidgetbaseLayout;
    QCOMPARE(form.layout(), row);
    QCOMPARE(row->objectName(), QString("obrimwidgetbaseLayout"));
    QCOMPARE(row->contentsMargins(), QMargins(11, 11, 11, 11));
    QCOMPARE(row->spacing(), 6);
    QCOMPARE(row->count(), 3);
    QCOMPARE(row->itemAt(0), form.spacer22);
    QCOMPARE(row->itemAt(1), form.layout2);
    QCOMPARE(row->itemAt(2), form.spacer22_2);
    for (const QSpacerItem *spacer : {form.spacer22, form.spacer22_2}) {
        QCOMPARE(spacer->sizeHint(), QSize(16, 20));
        QCOMPARE(spacer->sizePolicy(), QSizePolicy(QSizePolicy::Minimum, QSizePolicy::Minimum));
    }
    QCOMPARE(form.layout2->objectName(), QString("layout2"));
    QCOMPARE(form.layout2->contentsMargins(), QMargins());
    QCOMPARE(form.layout2->spacing(), 6);
    for (int i = 0; i < ButtonNames.size(); ++i)
        QCOMPARE(form.layout2->itemAt(i)->widget()->objectName(), ButtonNames.at(i));
}

static void addTexts()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("accelerator");
    QTest::addColumn<QString>("slot");
    QTest::newRow("sensors list") << "Sensors_list"
                                  << "&Sensors List"
                                  << "Alt+S"
                                  << "onSensorsList()";
    QTest::newRow("sensors tree") << "Sensors_Tree"
                                  << "Sensors &Tree"
                                  << "Alt+T"
                                  << "onSensorsTree()";
    QTest::newRow("events list") << "BEventsList"
                                 << "&Events List"
                                 << "Alt+E"
                                 << "onEventsList()";
    QTest::newRow("commands list") << "BCommandList"
                                   << "&Coomands List"
                                   << "Alt+C"
                                   << "onCommandsList()";
    QTest::newRow("exit") << "Exit"
                          << "E&xit"
                          << "Alt+X"
                          << "onExit()";
}

void TestPanelForm::textsAndAccelerators_data()
{
    addTexts();
}

void TestPanelForm::textsAndAccelerators()
{
    QFETCH(QString, name);
    QFETCH(QString, text);
    QFETCH(QString, accelerator);
    const obrimWidgetBase form;
    const auto *button = form.findChild<QPushButton *>(name);
    QVERIFY(button);
    QCOMPARE(button->text(), text);
    QCOMPARE(button->shortcut(), QKeySequence(accelerator));
}

void TestPanelForm::theCaptionIsTool()
{
    QCOMPARE(obrimWidgetBase().windowTitle(), QString("Tool"));
}

void TestPanelForm::theFirstSizeIsExact()
{
    QCOMPARE(obrimWidgetBase().size(), QSize(436, 266));
}

void TestPanelForm::theFirstSizeIsNeverBelowTheMinimum()
{
    const QFont before = QApplication::font();
    QApplication::setFont(QFont(before.family(), 60));
    const obrimWidgetBase form;
    QApplication::setFont(before);
    QCOMPARE(form.size(), form.minimumSizeHint().expandedTo(QSize(436, 266)));
    QVERIFY(form.height() > 266);
}

void TestPanelForm::aClickOnABareFormOnlyWarns_data()
{
    addTexts();
}

void TestPanelForm::aClickOnABareFormOnlyWarns()
{
    QFETCH(QString, name);
    QFETCH(QString, slot);
    obrimWidgetBase form;
    const WarningLines warnings;
    form.findChild<QPushButton *>(name)->click();
    QCOMPARE(warnings.lines(), QStringList("obrimWidgetBase::" + slot + ": Not implemented yet"));
}

void TestPanelForm::theUnconnectedSlotOnlyWarns()
{
    obrimWidgetBase form;
    const WarningLines warnings;
    form.button_clicked();
    QCOMPARE(warnings.lines(), QStringList("obrimWidgetBase::button_clicked(): Not implemented yet"));
}

void TestPanelForm::anAcceleratorClicksItsButton_data()
{
    addTexts();
}

void TestPanelForm::anAcceleratorClicksItsButton()
{
    QFETCH(QString, accelerator);
    QFETCH(QString, slot);
    obrimWidgetBase form;
    form.show();
    form.activateWindow();
    QVERIFY(waitForActive(&form));
    const WarningLines warnings;
    QTest::keyClick(&form, char(accelerator.at(accelerator.size() - 1).toLower().toLatin1()), Qt::AltModifier);
    QTRY_VERIFY(!warnings.lines().isEmpty());
    QCOMPARE(warnings.lines(), QStringList("obrimWidgetBase::" + slot + ": Not implemented yet"));
}

void TestPanelForm::wideningWidensTheButtonsNotTheirHeight()
{
    obrimWidgetBase form;
    form.show();
    const QSize before = form.Exit->size();
    form.resize(form.width() + 200, form.height() + 200);
    QTRY_COMPARE(form.Exit->width(), before.width() + 200);
    QCOMPARE(form.Exit->height(), before.height());
    QVERIFY(form.Exit->x() >= 11 + 16);
    QVERIFY(form.width() - form.Exit->geometry().right() > 11 + 16);
}

void TestPanelForm::aLanguageSwitchSetsEveryText()
{
    obrimWidgetBase form;
    form.setWindowTitle("?");
    for (QPushButton *button : form.findChildren<QPushButton *>()) {
        button->setText("?");
        button->setShortcut(QKeySequence());
    }
    switchLanguage(&form);
    QCOMPARE(form.windowTitle(), QString("Tool"));
    QCOMPARE(form.BCommandList->text(), QString("&Coomands List"));
    for (const QPushButton *button : form.findChildren<QPushButton *>()) {
        QVERIFY(button->text() != "?");
        QCOMPARE(button->shortcut(), QKeySequence::mnemonic(button->text()));
    }
}

void TestPanelForm::tabGoesDownTheColumn()
{
    obrimWidgetBase form;
    form.show();
    form.activateWindow();
    QVERIFY(waitForActive(&form));
    form.Sensors_list->setFocus();
    for (const QString &name : ButtonNames) {
        QVERIFY(QApplication::focusWidget());
        QCOMPARE(QApplication::focusWidget()->objectName(), name);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
}

QTEST_MAIN(TestPanelForm)
#include "panelformtest.moc"
