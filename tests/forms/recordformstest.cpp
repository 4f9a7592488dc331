// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "CommandsList.h"
#include "EventsList.h"
#include "formchecks.h"
#include "patience.h"

#include <QAbstractItemView>
#include <QHeaderView>
#include <QLayout>
#include <QSignalSpy>
#include <memory>
#include <vector>

/** What the tables say of a form: of the events form or of the commands form. */
struct FormTable {
    const char *name;
    const char *caption;
    const char *list;
    QSize size;
    int gap;
    int listGapWidth;
    const char *listColumn;
    const char *panelColumn;
    QStringList headings;
    ListView::ResizeMode resizeMode;
    QStringList methods;
    std::vector<FormWidget> panel;
    std::unique_ptr<QDialog> (*make)(QWidget *parent, const char *name, bool modal, Qt::WindowFlags fl);
};

template <class Form>
static std::unique_ptr<QDialog> make(QWidget *parent, const char *name, bool modal, Qt::WindowFlags fl)
{
    return std::make_unique<Form>(parent, name, modal, fl);
}

static const FormTable Events = {
    "DEventList",
    "Events List",
    "listMessages",
    {543, 655},
    30,
    250,
    "layout8",
    "layout9",
    {"N", "Sensor ID", "EventID", "Event Name", "Event Time", "Parameters"},
    ListView::NoColumn,
    {"onUpdateList()", "onSetTimeFrom(int)", "onSetTimeTo(int)", "onGetNewEvents()", "setAutoUpdate(int)",
     "onRBList(QListViewItem*,QPoint,int)", "languageChange()"},
    {
        // clang-format off
        {"NMax", "QLineEdit", "GB0", {70, 270, 70, 25}, nullptr, ""},
        {"textLabel1_3", "QLabel", "GB0", {20, 270, 50, 20}, "Nmax=", ""},
        {"BG_Type", "ButtonGroup", "GB0", {30, 380, 120, 111}, "Type", ""},
        {"rbType_all", "QRadioButton", "BG_Type", {10, 20, 70, 25}, "&all", "Alt+A"},
        {"rbType_Analysers", "QRadioButton", "BG_Type", {10, 40, 90, 25}, "t&ype1?\?\?", "Alt+Y"},
        {"rbType_Converters", "QRadioButton", "BG_Type", {10, 60, 90, 25}, "ty&pe2?\?\?", "Alt+P"},
        {"rbType_Receivers", "QRadioButton", "BG_Type", {10, 80, 90, 25}, "type&3?\?\?", "Alt+3"},
        {"groupBox3", "QGroupBox", "GB0", {10, 20, 180, 240}, "Time", ""},
        {"timeFromUsed", "QCheckBox", "groupBox3", {80, 20, 70, 25}, "&used", "Alt+U"},
        {"textLabel1", "QLabel", "groupBox3", {10, 30, 61, 20}, "From:", ""},
        {"textLabel1_2", "QLabel", "groupBox3", {10, 140, 61, 20}, "To:", ""},
        {"timeToUsed", "QCheckBox", "groupBox3", {80, 130, 70, 25}, "use&d", "Alt+D"},
        {"timeFrom", "QDateTimeEdit", "groupBox3", {0, 50, 174, 25}, nullptr, ""},
        {"timeTo", "QDateTimeEdit", "groupBox3", {0, 160, 174, 25}, nullptr, ""},
        {"comboTo_TimeAgo", "QComboBox", "groupBox3", {33, 193, 130, 27}, nullptr, ""},
        {"comboFrom_TimeAgo", "QComboBox", "groupBox3", {30, 80, 130, 27}, nullptr, ""},
        {"BG_WhichGet", "ButtonGroup", "GB0", {50, 300, 90, 70}, "Which Get", ""},
        {"rb_Last", "QRadioButton", "BG_WhichGet", {10, 20, 70, 25}, "&last", "Alt+L"},
        {"rb_First", "QRadioButton", "BG_WhichGet", {10, 40, 70, 25}, "&first", "Alt+F"},
        {"pushButton2", "QPushButton", "GB0", {10, 530, 180, 34}, "&Get new commands", "Alt+G"},
        {"BUpdateList", "QPushButton", "GB0", {50, 500, 102, 30}, "Upda&te list", "Alt+T"},
        {"AutoUpdate", "QComboBox", "GB0", {10, 570, 180, 27}, nullptr, ""},
        // clang-format on
    },
    &make<DEventList>,
};

static const FormTable Commands = {
    "DCommandsList",
    "Coommands List",
    "listCommands",
    {638, 677},
    20,
    306,
    "layout7",
    "layout7_2",
    {"N", "Sensor ID", "Cmd ID", "Cmd Type", "Cmd Time", "Parameters"},
    ListView::AllColumns,
    {"onUpdateList()", "onSetTimeFrom(int)", "onSetTimeTo(int)", "noGetNewCommands()", "setAutoUpdate(int)",
     "onRBList(QListViewItem*,QPoint,int)", "onDeleteItem()", "languageChange()"},
    {
        // clang-format off
        {"textLabel1_3", "QLabel", "GB0", {20, 270, 50, 20}, "Nmax=", ""},
        {"BUpdateList", "QPushButton", "GB0", {50, 500, 102, 30}, "Update l&ist", "Alt+I"},
        {"pushButton2", "QPushButton", "GB0", {10, 530, 180, 34}, "&Get new commands", ""},
        {"BG_Type", "ButtonGroup", "GB0", {30, 380, 120, 111}, "Type", ""},
        {"rbType_all", "QRadioButton", "BG_Type", {10, 20, 70, 25}, "&all", "Alt+A"},
        {"rbType_Analysers", "QRadioButton", "BG_Type", {10, 40, 90, 25}, "type&1?\?\?", "Alt+1"},
        {"rbType_Converters", "QRadioButton", "BG_Type", {10, 60, 90, 25}, "type&2?\?\?", "Alt+2"},
        {"rbType_Receivers", "QRadioButton", "BG_Type", {10, 80, 90, 25}, "&type3?\?\?", "Alt+T"},
        {"BG_WhichGet", "ButtonGroup", "GB0", {50, 300, 90, 70}, "Which Get", ""},
        {"rb_Last", "QRadioButton", "BG_WhichGet", {10, 20, 70, 25}, "&last", "Alt+L"},
        {"rb_First", "QRadioButton", "BG_WhichGet", {10, 40, 70, 25}, "fi&rst", "Alt+R"},
        {"AutoUpdate", "QComboBox", "GB0", {10, 570, 180, 27}, nullptr, ""},
        {"NMax", "QLineEdit", "GB0", {70, 270, 70, 25}, nullptr, ""},
        {"groupBox3", "QGroupBox", "GB0", {10, 20, 180, 240}, "Time", ""},
        {"textLabel1", "QLabel", "groupBox3", {10, 30, 61, 20}, "From:", ""},
        {"textLabel1_2", "QLabel", "groupBox3", {10, 140, 61, 20}, "To:", ""},
        {"timeToUsed", "QCheckBox", "groupBox3", {80, 130, 70, 25}, "use&d", "Alt+D"},
        {"comboFrom_TimeAgo", "QComboBox", "groupBox3", {30, 80, 130, 27}, nullptr, ""},
        {"timeFrom", "QDateTimeEdit", "groupBox3", {0, 50, 174, 25}, nullptr, ""},
        {"timeTo", "QDateTimeEdit", "groupBox3", {0, 160, 174, 25}, nullptr, ""},
        {"timeFromUsed", "QCheckBox", "groupBox3", {80, 20, 70, 25}, "&used", "Alt+U"},
        {"comboTo_TimeAgo", "QComboBox", "GB0", {40, 210, 130, 27}, nullptr, ""},
        // clang-format on
    },
    &make<DCommandsList>,
};

static const QStringList TimeAgo = {"now",        "1 minute ago", "1 hour ago", "1 day ago",
                                    "1 week ago", "1 month ago",  "1 year ago"};
static const QStringList AutoUpdate = {"No autoUpdate", "AutoUpdate 2sec.", "AutoUpdate 5sec.", "AutoUpdate 1min.",
                                       "AutoUpdate 10min."};

Q_DECLARE_METATYPE(const FormTable *)
Q_DECLARE_METATYPE(const FormWidget *)

static QStringList items(const QComboBox *combo)
{
    QStringList items;
    for (int i = 0; i < combo->count(); ++i)
        items.append(combo->itemText(i));
    return items;
}

static QString notYet(const FormTable *table, const QString &slot)
{
    return QString("%1::%2: Not implemented yet").arg(table->name, slot);
}

class TestRecordForms : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void aNullNameGivesTheDefault_data();
    void aNullNameGivesTheDefault();
    void aGivenNameIsKept_data();
    void aGivenNameIsKept();
    void modalityAndFlagsAreTheCallers_data();
    void modalityAndFlagsAreTheCallers();
    void slotsStandInOrder_data();
    void slotsStandInOrder();
    void theFirstSizeIsExact_data();
    void theFirstSizeIsExact();
    void listAndPanelStandUnderTheirGaps_data();
    void listAndPanelStandUnderTheirGaps();
    void aWidgetOfThePanelStandsAsInTheTable_data();
    void aWidgetOfThePanelStandsAsInTheTable();
    void childrenStandInTheOrderOfCreation_data();
    void childrenStandInTheOrderOfCreation();
    void noButtonIsAutomaticDefault_data();
    void noButtonIsAutomaticDefault();
    void radioButtonsAreNumberedInOrder_data();
    void radioButtonsAreNumberedInOrder();
    void controlsHaveNoInitialValues_data();
    void controlsHaveNoInitialValues();
    void timesShowAndTakeTheirSeconds_data();
    void timesShowAndTakeTheirSeconds();
    void columnsAreAsInTheTable_data();
    void columnsAreAsInTheTable();
    void captionTitlesAndToolTips_data();
    void captionTitlesAndToolTips();
    void comboBoxesHoldTheirItems_data();
    void comboBoxesHoldTheirItems();
    void aControlOfABareFormOnlyWarns_data();
    void aControlOfABareFormOnlyWarns();
    void aRightClickOnABareFormOnlyWarns_data();
    void aRightClickOnABareFormOnlyWarns();
    void theDeleteSlotOfABareFormOnlyWarns();
    void choosingTheCurrentEntryCallsTheSlot_data();
    void choosingTheCurrentEntryCallsTheSlot();
    void anAcceleratorWorks_data();
    void anAcceleratorWorks();
    void getNewCommandsHasNoAccelerator();
    void wideningKeepsThePanel_data();
    void wideningKeepsThePanel();
    void aLanguageSwitchRelabelsEverything_data();
    void aLanguageSwitchRelabelsEverything();
    void aLanguageSwitchDoublesNothingAndKeepsTheChoice_data();
    void aLanguageSwitchDoublesNothingAndKeepsTheChoice();
    void tabMovesAsTheEye_data();
    void tabMovesAsTheEye();
    void textsFitInAnyFont_data();
    void textsFitInAnyFont();

private:
    static void addForms();
    static std::unique_ptr<QDialog> make(const FormTable *table)
    {
        return table->make(nullptr, nullptr, false, {});
    }
};

void TestRecordForms::initTestCase()
{
    QFont font = QApplication::font();
    font.setPointSize(9);
    QApplication::setFont(font);
}

void TestRecordForms::addForms()
{
    QTest::addColumn<const FormTable *>("table");
    QTest::newRow("events") << &Events;
    QTest::newRow("commands") << &Commands;
}

#define EACH_FORM(test)                                                                                                \
    void TestRecordForms::test##_data()                                                                                \
    {                                                                                                                  \
        addForms();                                                                                                    \
    }                                                                                                                  \
    void TestRecordForms::test()

EACH_FORM(aNullNameGivesTheDefault)
{
    QFETCH(const FormTable *, table);
    QCOMPARE(make(table)->objectName(), QString(table->name));
}

EACH_FORM(aGivenNameIsKept)
{
    QFETCH(const FormTable *, table);
    QCOMPARE(table->make(nullptr, "Events list for x", false, {})->objectName(), QString("Events list for x"));
}

EACH_FORM(modalityAndFlagsAreTheCallers)
{
    QFETCH(const FormTable *, table);
    QWidget parent;
    QVERIFY(!make(table)->isModal());
    QVERIFY(!make(table)->windowFlags().testFlag(Qt::WindowContextHelpButtonHint));
    const auto form = table->make(&parent, nullptr, true, Qt::Tool);
    QVERIFY(form->isModal());
    QCOMPARE(form->windowType(), Qt::Tool);
    QCOMPARE(form->parentWidget(), &parent);
}

EACH_FORM(slotsStandInOrder)
{
    QFETCH(const FormTable *, table);
    const auto form = make(table);
    const QMetaObject *type = form->metaObject();
    QCOMPARE(ownMethods(*type), table->methods);
    for (const QString &method : table->methods) {
        const bool isProtected = method == "languageChange()";
        QCOMPARE(type->method(type->indexOfMethod(method.toLatin1())).access(),
                 isProtected ? QMetaMethod::Protected : QMetaMethod::Public);
    }
}

EACH_FORM(theFirstSizeIsExact)
{
    QFETCH(const FormTable *, table);
    const auto form = make(table);
    QCOMPARE(form->size(), table->size);
    form->show();
    QCOMPARE(form->size(), table->size);
}

static void checkColumn(QLayoutItem *item, const char *name, QSize gap, const QWidget *widget)
{
    const auto *column = qobject_cast<QVBoxLayout *>(item->layout());
    QVERIFY(column);
    QCOMPARE(column->objectName(), QString(name));
    QCOMPARE(column->contentsMargins(), QMargins());
    QCOMPARE(column->spacing(), 6);
    QCOMPARE(column->count(), 2);
    QVERIFY(column->itemAt(0)->spacerItem());
    QCOMPARE(column->itemAt(0)->sizeHint(), gap);
    QCOMPARE(column->itemAt(0)->spacerItem()->sizePolicy(), QSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed));
    QCOMPARE(column->itemAt(1)->widget(), widget);
}

EACH_FORM(listAndPanelStandUnderTheirGaps)
{
    QFETCH(const FormTable *, table);
    const auto form = make(table);
    const auto *list = form->findChild<ListView *>(table->list);
    const auto *panel = form->findChild<QGroupBox *>("GB0");
    const auto *row = qobject_cast<QHBoxLayout *>(form->layout());
    QVERIFY(list && panel && row);
    QCOMPARE(row->objectName(), QString(table->name) + "Layout");
    QCOMPARE(row->contentsMargins(), QMargins(11, 11, 11, 11));
    QCOMPARE(row->spacing(), 6);
    QCOMPARE(row->count(), 2);
    checkColumn(row->itemAt(0), table->listColumn, QSize(table->listGapWidth, table->gap), list);
    checkColumn(row->itemAt(1), table->panelColumn, QSize(200, table->gap), panel);
    QCOMPARE(panel->sizePolicy(), QSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed));
    QVERIFY(!panel->layout());
    form->show();
    QCOMPARE(panel->size(), QSize(200, 597));
    QCOMPARE(list->geometry().top(), panel->geometry().top());
    QVERIFY(list->geometry().top() >= 11 + table->gap);
    QVERIFY(list->geometry().right() < panel->geometry().left());
}

static void addPanelWidgets(const FormTable *table)
{
    for (const FormWidget &widget : table->panel)
        QTest::addRow("%s %s", table->name, widget.name) << table << &widget;
}

void TestRecordForms::aWidgetOfThePanelStandsAsInTheTable_data()
{
    QTest::addColumn<const FormTable *>("table");
    QTest::addColumn<const FormWidget *>("row");
    addPanelWidgets(&Events);
    addPanelWidgets(&Commands);
}

void TestRecordForms::aWidgetOfThePanelStandsAsInTheTable()
{
    QFETCH(const FormTable *, table);
    QFETCH(const FormWidget *, row);
    const auto form = make(table);
    form->show();
    const auto *widget = form->findChild<QWidget *>(row->name);
    QVERIFY(widget);
    QCOMPARE(widget->metaObject()->className(), row->type);
    QCOMPARE(widget->parentWidget()->objectName(), QString(row->parent));
    QCOMPARE(widget->geometry(), row->geometry);
    if (row->text)
        QCOMPARE(shownText(widget), QString(row->text));
    QCOMPARE(shortcut(widget), QKeySequence(row->shortcut));
}

EACH_FORM(childrenStandInTheOrderOfCreation)
{
    QFETCH(const FormTable *, table);
    const auto form = make(table);
    QCOMPARE(childNames(form.get()), QStringList({table->list, "GB0"}));
    for (const char *parent : {"GB0", "BG_Type", "BG_WhichGet", "groupBox3"}) {
        QStringList expected;
        for (const FormWidget &widget : table->panel)
            if (QByteArray(widget.parent) == parent)
                expected.append(widget.name);
        QVERIFY(!expected.isEmpty());
        QCOMPARE(childNames(form->findChild<QWidget *>(parent)), expected);
    }
}

EACH_FORM(noButtonIsAutomaticDefault)
{
    QFETCH(const FormTable *, table);
    const auto form = make(table);
    const auto buttons = form->findChildren<QPushButton *>();
    QCOMPARE(buttons.size(), 2);
    for (const QPushButton *button : buttons) {
        QVERIFY(!button->autoDefault());
        QVERIFY(!button->isDefault());
    }
}

EACH_FORM(radioButtonsAreNumberedInOrder)
{
    QFETCH(const FormTable *, table);
    const auto form = make(table);
    const auto *type = form->findChild<ButtonGroup *>("BG_Type");
    const auto *whichGet = form->findChild<ButtonGroup *>("BG_WhichGet");
    const auto id = [&form](const ButtonGroup *group, const char *button) {
        return group->id(form->findChild<QRadioButton *>(button));
    };
    QCOMPARE(id(type, "rbType_all"), 0);
    QCOMPARE(id(type, "rbType_Analysers"), 1);
    QCOMPARE(id(type, "rbType_Converters"), 2);
    QCOMPARE(id(type, "rbType_Receivers"), 3);
    QCOMPARE(id(whichGet, "rb_Last"), 0);
    QCOMPARE(id(whichGet, "rb_First"), 1);
}

EACH_FORM(controlsHaveNoInitialValues)
{
    QFETCH(const FormTable *, table);
    const auto form = make(table);
    QCOMPARE(form->findChild<ButtonGroup *>("BG_Type")->selectedId(), -1);
    QCOMPARE(form->findChild<ButtonGroup *>("BG_WhichGet")->selectedId(), -1);
    QVERIFY(!form->findChild<QCheckBox *>("timeFromUsed")->isChecked());
    QVERIFY(!form->findChild<QCheckBox *>("timeToUsed")->isChecked());
    QCOMPARE(form->findChild<QLineEdit *>("NMax")->text(), QString());
    for (const char *name : {"timeFrom", "timeTo"})
        QCOMPARE(form->findChild<QDateTimeEdit *>(name)->dateTime(), QDateTimeEdit().dateTime());
    for (const QComboBox *combo : form->findChildren<QComboBox *>()) {
        QCOMPARE(combo->currentIndex(), 0);
        QVERIFY(!combo->isEditable());
    }
}

EACH_FORM(timesShowAndTakeTheirSeconds)
{
    QFETCH(const FormTable *, table);
    const auto form = make(table);
    for (const char *name : {"timeFrom", "timeTo"}) {
        auto *edit = form->findChild<QDateTimeEdit *>(name);
        edit->setDateTime(QDateTime(QDate(2004, 2, 29), QTime(3, 4, 5)));
        QCOMPARE(edit->text(), QString("2004-02-29 03:04:05"));
        edit->setSelectedSection(QDateTimeEdit::SecondSection);
        QTest::keyClicks(edit, "42");
        QCOMPARE(edit->dateTime(), QDateTime(QDate(2004, 2, 29), QTime(3, 4, 42)));
    }
}

EACH_FORM(columnsAreAsInTheTable)
{
    QFETCH(const FormTable *, table);
    const auto form = make(table);
    const auto *list = form->findChild<ListView *>(table->list);
    QCOMPARE(list->columns(), 6);
    for (int column = 0; column < 6; ++column) {
        QCOMPARE(list->columnText(column), table->headings.at(column));
        QCOMPARE(list->columnWidthMode(column), ListView::Maximum);
    }
    QCOMPARE(list->resizeMode(), table->resizeMode);
}

EACH_FORM(captionTitlesAndToolTips)
{
    QFETCH(const FormTable *, table);
    const auto form = make(table);
    QCOMPARE(form->windowTitle(), QString(table->caption));
    QVERIFY(form->toolTip().isNull());
    QCOMPARE(form->findChild<QGroupBox *>("GB0")->title(), QString("Conditions"));
    QCOMPARE(form->findChild<QComboBox *>("comboTo_TimeAgo")->toolTip(),
             QString("Select combo box to set time `To' to correspondend value"));
    QCOMPARE(form->findChild<QComboBox *>("comboFrom_TimeAgo")->toolTip(),
             QString("Select combo box to set time `From' to correspondend value"));
}

EACH_FORM(comboBoxesHoldTheirItems)
{
    QFETCH(const FormTable *, table);
    const auto form = make(table);
    QCOMPARE(items(form->findChild<QComboBox *>("comboTo_TimeAgo")), TimeAgo);
    QCOMPARE(items(form->findChild<QComboBox *>("comboFrom_TimeAgo")), TimeAgo);
    QCOMPARE(items(form->findChild<QComboBox *>("AutoUpdate")), AutoUpdate);
}

static void addControls(const FormTable *table, const char *getNew)
{
    const auto row = [table](const char *control, const char *slot) {
        QTest::addRow("%s %s", table->name, control) << table << QString(control) << QString(slot);
    };
    row("comboFrom_TimeAgo", "onSetTimeFrom(int)");
    row("comboTo_TimeAgo", "onSetTimeTo(int)");
    row("BUpdateList", "onUpdateList()");
    row("pushButton2", getNew);
    row("AutoUpdate", "setAutoUpdate(int)");
}

void TestRecordForms::aControlOfABareFormOnlyWarns_data()
{
    QTest::addColumn<const FormTable *>("table");
    QTest::addColumn<QString>("control");
    QTest::addColumn<QString>("slot");
    addControls(&Events, "onGetNewEvents()");
    addControls(&Commands, "noGetNewCommands()");
}

/** Opens a combo box and takes the entry that is marked in it, as a user with a keyboard does. */
static void takeEntry(QComboBox *combo, int steps)
{
    combo->showPopup();
    for (int i = 0; i < steps; ++i)
        QTest::keyClick(combo->view(), Qt::Key_Down);
    QTest::keyClick(combo->view(), Qt::Key_Return);
}

void TestRecordForms::aControlOfABareFormOnlyWarns()
{
    QFETCH(const FormTable *, table);
    QFETCH(QString, control);
    QFETCH(QString, slot);
    const auto form = make(table);
    form->show();
    const WarningLines warnings;
    if (auto *button = form->findChild<QPushButton *>(control))
        QTest::mouseClick(button, Qt::LeftButton);
    else
        takeEntry(form->findChild<QComboBox *>(control), 1);
    QTRY_VERIFY(!warnings.lines().isEmpty());
    QCOMPARE(warnings.lines(), QStringList(notYet(table, slot)));
}

EACH_FORM(aRightClickOnABareFormOnlyWarns)
{
    QFETCH(const FormTable *, table);
    const auto form = make(table);
    form->show();
    const WarningLines warnings;
    QTest::mouseClick(form->findChild<ListView *>(table->list)->viewport(), Qt::RightButton, {}, QPoint(20, 200));
    QCOMPARE(warnings.lines(), QStringList(notYet(table, "onRBList(QListViewItem*,const QPoint&,int)")));
}

void TestRecordForms::theDeleteSlotOfABareFormOnlyWarns()
{
    DCommandsList form;
    const WarningLines warnings;
    form.onDeleteItem();
    QCOMPARE(warnings.lines(), QStringList(notYet(&Commands, "onDeleteItem()")));
}

EACH_FORM(choosingTheCurrentEntryCallsTheSlot)
{
    QFETCH(const FormTable *, table);
    const auto form = make(table);
    form->show();
    auto *combo = form->findChild<QComboBox *>("AutoUpdate");
    QSignalSpy activated(combo, QOverload<int>::of(&QComboBox::activated));
    const WarningLines warnings;
    takeEntry(combo, 0);
    QTRY_COMPARE(activated.count(), 1);
    QCOMPARE(activated.at(0).at(0).toInt(), 0);
    QCOMPARE(warnings.lines(), QStringList(notYet(table, "setAutoUpdate(int)")));
}

void TestRecordForms::anAcceleratorWorks_data()
{
    QTest::addColumn<const FormTable *>("table");
    QTest::addColumn<const FormWidget *>("row");
    for (const FormTable *table : {&Events, &Commands}) {
        for (const FormWidget &widget : table->panel)
            if (*widget.shortcut)
                QTest::addRow("%s %s", table->name, widget.name) << table << &widget;
    }
}

void TestRecordForms::anAcceleratorWorks()
{
    QFETCH(const FormTable *, table);
    QFETCH(const FormWidget *, row);
    const auto form = make(table);
    form->show();
    form->activateWindow();
    QVERIFY(waitForActive(form.get()));
    auto *button = form->findChild<QAbstractButton *>(row->name);
    QSignalSpy clicked(button, &QAbstractButton::clicked);
    const WarningLines warnings;
    const char key = row->shortcut[qstrlen(row->shortcut) - 1];
    QTest::keyClick(form.get(), char(QChar::fromLatin1(key).toLower().toLatin1()), Qt::AltModifier);
    QTRY_COMPARE(clicked.count(), 1);
}

void TestRecordForms::getNewCommandsHasNoAccelerator()
{
    DCommandsList form;
    form.show();
    form.activateWindow();
    QVERIFY(waitForActive(&form));
    QCOMPARE(form.pushButton2->text(), QString("&Get new commands"));
    for (int language = 0; language < 2; ++language) {
        QVERIFY(form.pushButton2->shortcut().isEmpty());
        const WarningLines warnings;
        QTest::keyClick(&form, 'g', Qt::AltModifier);
        QCoreApplication::processEvents();
        QCOMPARE(warnings.lines(), QStringList());
        switchLanguage(&form);
    }
}

EACH_FORM(wideningKeepsThePanel)
{
    QFETCH(const FormTable *, table);
    const auto form = make(table);
    form->show();
    const auto *list = form->findChild<ListView *>(table->list);
    const auto *panel = form->findChild<QGroupBox *>("GB0");
    const QSize listBefore = list->size();
    const int topBefore = panel->y();
    int headerBefore = list->header()->length();
    form->resize(form->size() + QSize(300, 100));
    QTRY_COMPARE(list->size(), listBefore + QSize(300, 100));
    QCOMPARE(panel->size(), QSize(200, 597));
    QCOMPARE(panel->y(), topBefore);
    if (table->resizeMode == ListView::AllColumns)
        QCOMPARE(list->header()->length(), list->viewport()->width());
    else
        QCOMPARE(list->header()->length(), headerBefore);
}

static void blank(QWidget *widget)
{
    widget->setToolTip("?");
    if (auto *combo = qobject_cast<QComboBox *>(widget))
        combo->setItemText(1, "?");
    for (const char *property : {"title", "text"})
        if (widget->property(property).isValid() && !qobject_cast<QLineEdit *>(widget))
            widget->setProperty(property, "?");
}

EACH_FORM(aLanguageSwitchRelabelsEverything)
{
    QFETCH(const FormTable *, table);
    const auto form = make(table);
    auto *list = form->findChild<ListView *>(table->list);
    form->setWindowTitle("?");
    for (const FormWidget &row : table->panel)
        blank(form->findChild<QWidget *>(row.name));
    form->findChild<QGroupBox *>("GB0")->setTitle("?");
    for (int column = 0; column < 6; ++column)
        list->setColumnText(column, "?");
    switchLanguage(form.get());
    QCOMPARE(form->windowTitle(), QString(table->caption));
    QCOMPARE(form->findChild<QGroupBox *>("GB0")->title(), QString("Conditions"));
    for (int column = 0; column < 6; ++column)
        QCOMPARE(list->columnText(column), table->headings.at(column));
    for (const FormWidget &row : table->panel) {
        const auto *widget = form->findChild<QWidget *>(row.name);
        if (row.text)
            QCOMPARE(shownText(widget), QString(row.text));
        QCOMPARE(shortcut(widget), QKeySequence(row.shortcut));
    }
    QCOMPARE(form->findChild<QComboBox *>("comboTo_TimeAgo")->itemText(1), QString("1 minute ago"));
    QVERIFY(form->findChild<QComboBox *>("comboFrom_TimeAgo")->toolTip().startsWith("Select combo box"));
}

EACH_FORM(aLanguageSwitchDoublesNothingAndKeepsTheChoice)
{
    QFETCH(const FormTable *, table);
    const auto form = make(table);
    auto *from = form->findChild<QComboBox *>("comboFrom_TimeAgo");
    auto *interval = form->findChild<QComboBox *>("AutoUpdate");
    form->findChild<QLineEdit *>("NMax")->setText("42");
    from->setCurrentIndex(5);
    interval->setCurrentIndex(-1);
    QSignalSpy activated(from, QOverload<int>::of(&QComboBox::activated));
    QSignalSpy changed(from, QOverload<int>::of(&QComboBox::currentIndexChanged));
    const WarningLines warnings;
    switchLanguage(form.get());
    switchLanguage(form.get());
    QCOMPARE(items(from), TimeAgo);
    QCOMPARE(items(interval), AutoUpdate);
    QCOMPARE(form->findChild<ListView *>(table->list)->columns(), 6);
    QCOMPARE(from->currentIndex(), 5);
    QCOMPARE(interval->currentIndex(), -1);
    QCOMPARE(form->findChild<QLineEdit *>("NMax")->text(), QString("42"));
    QCOMPARE(activated.count(), 0);
    QCOMPARE(changed.count(), 0);
    QCOMPARE(warnings.lines(), QStringList());
}

EACH_FORM(tabMovesAsTheEye)
{
    QFETCH(const FormTable *, table);
    const auto form = make(table);
    form->findChild<ButtonGroup *>("BG_Type")->setButton(0);
    form->findChild<ButtonGroup *>("BG_WhichGet")->setButton(0);
    form->show();
    form->activateWindow();
    QVERIFY(waitForActive(form.get()));
    const QStringList expected = {table->list,   "timeFromUsed",    "timeFrom",  "comboFrom_TimeAgo", "timeToUsed",
                                  "timeTo",      "comboTo_TimeAgo", "NMax",      "rb_Last",           "rbType_all",
                                  "BUpdateList", "pushButton2",     "AutoUpdate"};
    QStringList seen;
    for (const QString &name : expected) {
        QWidget *focus = QApplication::focusWidget();
        QVERIFY2(focus, qPrintable(name));
        seen.append(focus->objectName());
        // Each part of a date and time is a stop of its own.
        if (auto *edit = qobject_cast<QDateTimeEdit *>(focus))
            edit->setSelectedSection(QDateTimeEdit::SecondSection);
        QTest::keyClick(focus, Qt::Key_Tab);
    }
    QCOMPARE(seen, expected);
}

void TestRecordForms::textsFitInAnyFont_data()
{
    QTest::addColumn<const FormTable *>("table");
    QTest::addColumn<int>("points");
    for (const FormTable *table : {&Events, &Commands})
        for (int points : {8, 9, 10, 11, 12, 14, 16})
            QTest::addRow("%s %d", table->name, points) << table << points;
}

void TestRecordForms::textsFitInAnyFont()
{
    QFETCH(const FormTable *, table);
    QFETCH(int, points);
    const auto form = make(table);
    form->show();
    QFont font = form->font();
    font.setPointSize(points);
    form->setFont(font);
    for (const FormWidget &row : table->panel) {
        const auto *widget = form->findChild<QWidget *>(row.name);
        if (!qobject_cast<const QLineEdit *>(widget) && !qobject_cast<const QGroupBox *>(widget))
            QVERIFY2(widget->sizeHint().width() <= widget->width(), row.name);
    }
    // What is 10 points high just fits or just does not, by how the toolkit rounds.
    const double shown = form->findChild<QGroupBox *>("GB0")->font().pointSizeF();
    if (points < 10)
        QCOMPARE(shown, double(points));
    if (points > 10)
        QVERIFY(shown < points);
}

QTEST_MAIN(TestRecordForms)
#include "recordformstest.moc"
