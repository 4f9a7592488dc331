// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "buttongroup.h"

#include <QCheckBox>
#include <QRadioButton>
#include <QTest>
#include <memory>

class TestButtonGroup : public QObject
{
    Q_OBJECT

private slots:
    void idsCountFromZeroInTheOrderOfJoining();
    void noneIsSelectedAtFirst();
    void setButtonChecksOneAndUnchecksTheOther();
    void anUnknownIdChangesNothing();
    void minusOneUnchecksAll();
    void aClickMovesTheMark();
    void anIdSurvivesTheDeathOfAnEarlierButton();
    void onlyRadioButtonsAreNumbered();
    void aButtonOutsideHasNoId();
    void aButtonThatLeavesHasNoId();
    void aRaisedButtonKeepsItsId();
    void nothingButTheButtonsIsAChild();
};

void TestButtonGroup::idsCountFromZeroInTheOrderOfJoining()
{
    ButtonGroup group;
    QRadioButton a(&group), b(&group);
    QRadioButton late;
    late.setParent(&group);
    QCOMPARE(group.id(&a), 0);
    QCOMPARE(group.id(&b), 1);
    QCOMPARE(group.id(&late), 2);
}

void TestButtonGroup::noneIsSelectedAtFirst()
{
    ButtonGroup group("Type");
    QCOMPARE(group.title(), QString("Type"));
    QCOMPARE(group.selectedId(), -1);
    QRadioButton a(&group);
    QCOMPARE(group.selectedId(), -1);
}

void TestButtonGroup::setButtonChecksOneAndUnchecksTheOther()
{
    ButtonGroup group;
    QRadioButton a(&group), b(&group);
    group.setButton(1);
    QVERIFY(b.isChecked());
    QCOMPARE(group.selectedId(), 1);
    group.setButton(0);
    QVERIFY(a.isChecked());
    QVERIFY(!b.isChecked());
    QCOMPARE(group.selectedId(), 0);
}

void TestButtonGroup::anUnknownIdChangesNothing()
{
    ButtonGroup group;
    QRadioButton a(&group), b(&group);
    group.setButton(1);
    group.setButton(7);
    group.setButton(-2);
    QCOMPARE(group.selectedId(), 1);
}

void TestButtonGroup::minusOneUnchecksAll()
{
    ButtonGroup group;
    QRadioButton a(&group), b(&group);
    group.setButton(1);
    group.setButton(-1);
    QCOMPARE(group.selectedId(), -1);
    QVERIFY(!a.isChecked() && !b.isChecked());
    a.click();
    b.click();
    QCOMPARE(group.selectedId(), 1);
    QVERIFY(!a.isChecked());
}

void TestButtonGroup::aClickMovesTheMark()
{
    ButtonGroup group;
    QRadioButton a(&group), b(&group);
    a.click();
    QCOMPARE(group.selectedId(), 0);
    b.click();
    QCOMPARE(group.selectedId(), 1);
    QVERIFY(!a.isChecked());
}

void TestButtonGroup::anIdSurvivesTheDeathOfAnEarlierButton()
{
    ButtonGroup group;
    auto a = std::make_unique<QRadioButton>(&group);
    QRadioButton b(&group);
    QCOMPARE(group.id(&b), 1);
    a.reset();
    QCOMPARE(group.id(&b), 1);
    QRadioButton c(&group);
    QCOMPARE(group.id(&c), 2);
}

void TestButtonGroup::onlyRadioButtonsAreNumbered()
{
    ButtonGroup group;
    QCheckBox check(&group);
    QRadioButton a(&group);
    QWidget box(&group);
    QRadioButton inner(&box);
    QCOMPARE(group.id(&check), -1);
    QCOMPARE(group.id(&inner), -1);
    QCOMPARE(group.id(&a), 0);
}

void TestButtonGroup::aButtonOutsideHasNoId()
{
    ButtonGroup group;
    QRadioButton other;
    QCOMPARE(group.id(&other), -1);
}

void TestButtonGroup::aButtonThatLeavesHasNoId()
{
    ButtonGroup group;
    QRadioButton a(&group), b(&group);
    group.setButton(0);
    a.setParent(nullptr);
    QCOMPARE(group.id(&a), -1);
    QCOMPARE(group.selectedId(), -1);
    QCOMPARE(group.id(&b), 1);
}

void TestButtonGroup::aRaisedButtonKeepsItsId()
{
    ButtonGroup group;
    QRadioButton a(&group), b(&group);
    group.show();
    a.raise();
    QCOMPARE(group.id(&a), 0);
    QCOMPARE(group.id(&b), 1);
}

void TestButtonGroup::nothingButTheButtonsIsAChild()
{
    ButtonGroup group;
    QRadioButton a(&group);
    group.setButton(0);
    QCOMPARE(group.children(), QObjectList({&a}));
}

QTEST_MAIN(TestButtonGroup)
#include "buttongrouptest.moc"
