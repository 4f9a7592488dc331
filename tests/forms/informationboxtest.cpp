// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "informationbox.h"

#include <QApplication>
#include <QDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <functional>
#include <memory>

static QMessageBox *openBox()
{
    return qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
}

/** Calls `act` once, as soon as a box is open. */
static void whenABoxIsOpen(QObject *context, const std::function<void(QMessageBox *)> &act)
{
    auto *poll = new QTimer(context);
    QObject::connect(poll, &QTimer::timeout, context, [poll, act] {
        if (QMessageBox *box = openBox()) {
            poll->deleteLater();
            poll->stop();
            act(box);
        }
    });
    poll->start(1);
}

class TestInformationBox : public QObject
{
    Q_OBJECT

private slots:
    void informationShowsPlainTextAndOk();
    void informationIsParentedToTheDialog();
    void informationSurvivesItsParent();
    void theQuestionHasYesAndNo();
    void noEscapeAndCloseMeanNo_data();
    void noEscapeAndCloseMeanNo();
    void theQuestionHasNoDefaultButton();
    void theConfirmationHasYesAndNoWithoutAccelerators();
    void onlyItsButtonsAnswerTheConfirmation();
    void enterAnswersTheConfirmationYes();
    void aQuestionWhoseParentDiesIsAnsweredNo();
};

void TestInformationBox::informationShowsPlainTextAndOk()
{
    bool seen = false;
    whenABoxIsOpen(this, [&seen](QMessageBox *box) {
        seen = true;
        QTimer::singleShot(0, box, &QDialog::reject);
        QCOMPARE(box->objectName(), QString("information"));
        QCOMPARE(box->windowTitle(), QString("caption"));
        QCOMPARE(box->text(), QString("<b>1 < 2</b>\nline"));
        QCOMPARE(box->textFormat(), Qt::PlainText);
        QCOMPARE(box->standardButtons(), QMessageBox::Ok);
        QCOMPARE(box->icon(), QMessageBox::Information);
        QVERIFY(!box->parentWidget());
    });
    showInformationBox(static_cast<QDialog *>(nullptr), "caption", "<b>1 < 2</b>\nline");
    QVERIFY(seen);
    QVERIFY(QApplication::topLevelWidgets().isEmpty());
}

void TestInformationBox::informationIsParentedToTheDialog()
{
    QDialog parent;
    QWidget *seen = nullptr;
    whenABoxIsOpen(this, [&seen](QMessageBox *box) {
        seen = box->parentWidget();
        box->button(QMessageBox::Ok)->click();
    });
    showInformationBox(&parent, "", "text");
    QCOMPARE(seen, &parent);
    QVERIFY(parent.findChildren<QMessageBox *>().isEmpty());
}

void TestInformationBox::informationSurvivesItsParent()
{
    auto parent = std::make_unique<QDialog>();
    whenABoxIsOpen(this, [&parent](QMessageBox *) { parent.reset(); });
    showInformationBox(parent.get(), "", "text");
    QVERIFY(!parent);
    QVERIFY(!openBox());
}

void TestInformationBox::theQuestionHasYesAndNo()
{
    QWidget parent;
    bool seen = false;
    whenABoxIsOpen(this, [&seen, &parent](QMessageBox *box) {
        seen = true;
        QTimer::singleShot(0, box->button(QMessageBox::Yes), &QAbstractButton::click);
        QCOMPARE(box->objectName(), QString("question"));
        QCOMPARE(box->windowTitle(), QString("???"));
        QCOMPARE(box->text(), QString("Delete <event>?"));
        QCOMPARE(box->textFormat(), Qt::PlainText);
        QCOMPARE(box->standardButtons(), QMessageBox::Yes | QMessageBox::No);
        QCOMPARE(box->icon(), QMessageBox::Question);
        QCOMPARE(box->parentWidget(), &parent);
    });
    QVERIFY(askQuestion(&parent, "???", "Delete <event>?"));
    QVERIFY(seen);
}

void TestInformationBox::noEscapeAndCloseMeanNo_data()
{
    QTest::addColumn<int>("way");
    QTest::newRow("No") << 0;
    QTest::newRow("Escape") << 1;
    QTest::newRow("closing the box") << 2;
}

void TestInformationBox::noEscapeAndCloseMeanNo()
{
    QFETCH(int, way);
    whenABoxIsOpen(this, [way](QMessageBox *box) {
        if (way == 0)
            box->button(QMessageBox::No)->click();
        else if (way == 1)
            QTest::keyClick(box, Qt::Key_Escape);
        else
            box->close();
    });
    QVERIFY(!askQuestion(nullptr, "???", "Close program?"));
}

void TestInformationBox::theQuestionHasNoDefaultButton()
{
    const QPushButton *defaultButton = nullptr;
    whenABoxIsOpen(this, [&defaultButton](QMessageBox *box) {
        defaultButton = box->defaultButton();
        box->reject();
    });
    askQuestion(nullptr, "???", "Close program?");
    QVERIFY(!defaultButton);
}

/** The texts of a box's buttons, from left to right. */
static QStringList buttonTexts(const QMessageBox *box)
{
    auto buttons = box->buttons();
    std::sort(buttons.begin(), buttons.end(), [](auto *a, auto *b) { return a->x() < b->x(); });
    QStringList texts;
    for (const QAbstractButton *button : buttons)
        texts << button->text();
    return texts;
}

void TestInformationBox::theConfirmationHasYesAndNoWithoutAccelerators()
{
    QWidget parent;
    bool seen = false;
    whenABoxIsOpen(this, [&seen, &parent](QMessageBox *box) {
        seen = true;
        QTimer::singleShot(0, box->defaultButton(), &QAbstractButton::click);
        QCOMPARE(box->objectName(), QString("question"));
        QCOMPARE(box->windowTitle(), QString("???"));
        QCOMPARE(box->text(), QString("Delete <event>?"));
        QCOMPARE(box->textFormat(), Qt::PlainText);
        QCOMPARE(box->icon(), QMessageBox::Question);
        QCOMPARE(box->parentWidget(), &parent);
        QCOMPARE(buttonTexts(box), QStringList({"Yes", "No"}));
        QCOMPARE(box->defaultButton()->text(), QString("Yes"));
        for (const QAbstractButton *button : box->buttons())
            QVERIFY(button->shortcut().isEmpty());
    });
    QVERIFY(confirm(&parent, "???", "Delete <event>?"));
    QVERIFY(seen);
}

void TestInformationBox::onlyItsButtonsAnswerTheConfirmation()
{
    bool open = false;
    whenABoxIsOpen(this, [&open](QMessageBox *box) {
        QTest::keyClick(box, Qt::Key_Escape);
        box->close();
        open = box->isVisible();
        for (QAbstractButton *button : box->buttons())
            if (button->text() == "No")
                button->click();
    });
    QVERIFY(!confirm(nullptr, "???", "Delete?"));
    QVERIFY(open);
}

void TestInformationBox::enterAnswersTheConfirmationYes()
{
    whenABoxIsOpen(this, [](QMessageBox *box) { QTest::keyClick(box, Qt::Key_Return); });
    QVERIFY(confirm(nullptr, "???", "Delete?"));
}

void TestInformationBox::aQuestionWhoseParentDiesIsAnsweredNo()
{
    auto parent = std::make_unique<QWidget>();
    whenABoxIsOpen(this, [&parent](QMessageBox *) { parent.reset(); });
    QVERIFY(!askQuestion(parent.get(), "???", "Close program?"));
    QVERIFY(!parent);
}

QTEST_MAIN(TestInformationBox)
#include "informationboxtest.moc"
