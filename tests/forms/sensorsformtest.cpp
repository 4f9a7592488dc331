// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "SensorsList.h"
#include "formchecks.h"
#include "patience.h"

#include <QHeaderView>
#include <QLayout>

namespace
{
class TextRow : public QListViewItem
{
public:
    QString text(int) const override
    {
        return "sensor";
    }
};
} // namespace

class TestSensorsForm : public QObject
{
    Q_OBJECT

private slots:
    void aNullNameGivesForm1();
    void aGivenNameIsKept();
    void modalityAndFlagsAreTheCallers();
    void noContextHelpInTheTitleBar();
    void slotsStandInOrder();
    void theGridHoldsListAndSpacers();
    void theFirstSizeIsExact();
    void columnsAreAsWideAsTheirContents();
    void textsAndToolTip();
    void wideningStretchesNoColumn();
    void aRightClickOnARowOfABareFormOnlyWarns();
    void aRightClickOnEmptySpaceOfABareFormOnlyWarns();
    void aLanguageSwitchRelabelsAndDoublesNothing();
};

void TestSensorsForm::aNullNameGivesForm1()
{
    QCOMPARE(Form1(nullptr, nullptr, false, {}).objectName(), QString("Form1"));
}

void TestSensorsForm::aGivenNameIsKept()
{
    QCOMPARE(Form1(nullptr, "mine", false, {}).objectName(), QString("mine"));
}

void TestSensorsForm::modalityAndFlagsAreTheCallers()
{
    QWidget parent;
    QVERIFY(!Form1().isModal());
    QVERIFY(Form1(&parent, nullptr, true, {}).isModal());
    const Form1 tool(&parent, nullptr, false, Qt::Tool);
    QCOMPARE(tool.windowType(), Qt::Tool);
    QCOMPARE(tool.parentWidget(), &parent);
}

void TestSensorsForm::noContextHelpInTheTitleBar()
{
    QVERIFY(!Form1().windowFlags().testFlag(Qt::WindowContextHelpButtonHint));
}

void TestSensorsForm::slotsStandInOrder()
{
    QCOMPARE(ownMethods(Form1::staticMetaObject),
             QStringList({"onRBList(QListViewItem*,QPoint,int)", "languageChange()"}));
}

void TestSensorsForm::theGridHoldsListAndSpacers()
{
    const Form1 form;
    const QGridLayout *grid = form.Form1Layout;
    QCOMPARE(form.layout(), grid);
    QCOMPARE(grid->objectName(), QString("Form1Layout"));
    QCOMPARE(grid->contentsMargins(), QMargins(11, 11, 11, 11));
    QCOMPARE(grid->horizontalSpacing(), 6);
    QCOMPARE(grid->verticalSpacing(), 6);
    QCOMPARE(grid->count(), 4);
    QCOMPARE(grid->itemAtPosition(0, 1), form.spacer7);
    QCOMPARE(grid->itemAtPosition(1, 0), form.spacer24_2);
    QCOMPARE(grid->itemAtPosition(1, 1)->widget(), form.SensorsList);
    QCOMPARE(grid->itemAtPosition(1, 2), form.spacer24);
    QCOMPARE(form.spacer7->sizeHint(), QSize(20, 30));
    QCOMPARE(form.spacer7->sizePolicy(), QSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed));
    for (const QSpacerItem *spacer : {form.spacer24, form.spacer24_2}) {
        QCOMPARE(spacer->sizeHint(), QSize(10, 20));
        QCOMPARE(spacer->sizePolicy(), QSizePolicy(QSizePolicy::Minimum, QSizePolicy::Minimum));
    }
    QCOMPARE(childNames(&form), QStringList("SensorsList"));
}

void TestSensorsForm::theFirstSizeIsExact()
{
    QCOMPARE(Form1().size(), QSize(388, 480));
}

void TestSensorsForm::columnsAreAsWideAsTheirContents()
{
    const Form1 form;
    QCOMPARE(form.SensorsList->columns(), 3);
    for (int column = 0; column < 3; ++column)
        QCOMPARE(form.SensorsList->columnWidthMode(column), ListView::Maximum);
    QCOMPARE(form.SensorsList->resizeMode(), ListView::NoColumn);
}

void TestSensorsForm::textsAndToolTip()
{
    const Form1 form;
    QCOMPARE(form.windowTitle(), QString("Sensors List"));
    QCOMPARE(form.SensorsList->columnText(0), QString("ID"));
    QCOMPARE(form.SensorsList->columnText(1), QString("Description"));
    QCOMPARE(form.SensorsList->columnText(2), QString("Is Alive"));
    QCOMPARE(form.SensorsList->toolTip(), QString("To call menu for sensor press Right Button on sensor item"));
}

void TestSensorsForm::wideningStretchesNoColumn()
{
    Form1 form;
    form.show();
    const QHeaderView *header = form.SensorsList->header();
    const QList<int> before = {header->sectionSize(0), header->sectionSize(1), header->sectionSize(2)};
    const int listBefore = form.SensorsList->width();
    form.resize(900, 600);
    QTRY_VERIFY(form.SensorsList->width() > listBefore);
    QCOMPARE(QList<int>({header->sectionSize(0), header->sectionSize(1), header->sectionSize(2)}), before);
}

void TestSensorsForm::aRightClickOnARowOfABareFormOnlyWarns()
{
    Form1 form;
    form.SensorsList->insertItem(std::make_unique<TextRow>());
    form.show();
    QList<QListViewItem *> clicks;
    connect(form.SensorsList, &ListView::rightButtonClicked, this,
            [&clicks](QListViewItem *item) { clicks.append(item); });
    const WarningLines warnings;
    QTest::mouseClick(form.SensorsList->viewport(), Qt::RightButton, {},
                      form.SensorsList->visualRect(form.SensorsList->model()->index(0, 0)).center());
    QCOMPARE(warnings.lines(), QStringList("Form1::onRBList(QListViewItem*,const QPoint&,int): Not implemented yet"));
    QCOMPARE(clicks, QList<QListViewItem *>({form.SensorsList->firstChild()}));
}

void TestSensorsForm::aRightClickOnEmptySpaceOfABareFormOnlyWarns()
{
    Form1 form;
    form.show();
    QList<QListViewItem *> clicks;
    connect(form.SensorsList, &ListView::rightButtonClicked, this,
            [&clicks](QListViewItem *item) { clicks.append(item); });
    const WarningLines warnings;
    QTest::mouseClick(form.SensorsList->viewport(), Qt::RightButton, {}, QPoint(20, 200));
    QCOMPARE(warnings.lines(), QStringList("Form1::onRBList(QListViewItem*,const QPoint&,int): Not implemented yet"));
    QCOMPARE(clicks, QList<QListViewItem *>({nullptr}));
}

void TestSensorsForm::aLanguageSwitchRelabelsAndDoublesNothing()
{
    Form1 form;
    form.setWindowTitle("?");
    form.SensorsList->setToolTip("?");
    for (int column = 0; column < 3; ++column)
        form.SensorsList->setColumnText(column, "?");
    switchLanguage(&form);
    QCOMPARE(form.windowTitle(), QString("Sensors List"));
    QCOMPARE(form.SensorsList->columns(), 3);
    QCOMPARE(form.SensorsList->columnText(2), QString("Is Alive"));
    QCOMPARE(form.SensorsList->columnText(0), QString("ID"));
    QVERIFY(form.SensorsList->toolTip().startsWith("To call menu"));
}

QTEST_MAIN(TestSensorsForm)
#include "sensorsformtest.moc"
