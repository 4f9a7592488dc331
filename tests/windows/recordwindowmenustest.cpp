// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Context menus, and deleting a record. Every test runs for the windows of events and of commands.
#include "recordwindowtesting.h"

class RecordWindowMenusTest : public RecordWindowTestBase
{
    Q_OBJECT

private slots:
    void rightClickOpensTheMenuAtThePointer();
    void menuKeyOpensTheMenuForTheCurrentRow();
    void rightClickOnEmptySpaceOpensTheMenuWhichThenDoesNothing();
    void escapeFromTheMenuDoesNothing();
    void menusAreFreedAfterUse();
    void deleteAsksAndDeletes();
    void deleteAnsweredNoChangesNothing();
    void escapeAndClosingDoNotAnswerTheDeleteQuestion();
    void deleteOfANegativeIdentifier();
    void rowThatGoesAwayTakesItemSelectedWithIt();
    void reloadUnderAnOpenQuestionDeletesTheRecordButNoRow();
};

void RecordWindowMenusTest::rightClickOpensTheMenuAtThePointer()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QVERIFY(showAndWait(window.get()));
        QCursor::setPos(40, 50);
        QStringList entries;
        QPoint place;
        onMenu([&](QMenu *menu) {
            entries = entryTexts(menu);
            place = menu->pos();
            menu->close();
        });
        rightClick(kind.list(window.get()), 1);
        QCOMPARE(entries, QStringList({kind.DeleteEntry}));
        QCOMPARE(place, QCursor::pos());
        QCOMPARE(window->itemSelected, kind.list(window.get())->itemAt(1));
    });
}

void RecordWindowMenusTest::menuKeyOpensTheMenuForTheCurrentRow()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QVERIFY(showAndWait(window.get()));
        ListView *list = kind.list(window.get());
        list->setFocus();
        QTest::keyClick(list, Qt::Key_End);
        bool opened = false;
        onMenu([&opened](QMenu *menu) {
            opened = true;
            QTest::keyClick(menu, Qt::Key_Escape);
        });
        QTest::keyClick(list, Qt::Key_Menu);
        QVERIFY(opened);
        QCOMPARE(window->itemSelected, list->itemAt(2));
    });
}

void RecordWindowMenusTest::rightClickOnEmptySpaceOpensTheMenuWhichThenDoesNothing()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QVERIFY(showAndWait(window.get()));
        window->itemSelected = kind.list(window.get())->itemAt(0);
        chooseFromMenu(kind.DeleteEntry);
        rightClick(kind.list(window.get()), -1);
        QVERIFY(!window->itemSelected);
        QVERIFY(!openBox());
        QVERIFY(kind.source().deleted.empty());
        QCOMPARE(kind.list(window.get())->childCount(), 3);
    });
}

void RecordWindowMenusTest::escapeFromTheMenuDoesNothing()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QVERIFY(showAndWait(window.get()));
        onMenu([](QMenu *menu) { QTest::keyClick(menu, Qt::Key_Escape); });
        rightClick(kind.list(window.get()), 0);
        QVERIFY(!openMenu());
        QVERIFY(kind.source().deleted.empty());
        QVERIFY(window->isVisible());
    });
}

void RecordWindowMenusTest::menusAreFreedAfterUse()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        QVERIFY(showAndWait(window.get()));
        const int before = window->template findChildren<QMenu *>().size();
        for (int i = 0; i < 5; ++i) {
            onMenu([](QMenu *menu) { menu->close(); });
            rightClick(kind.list(window.get()), 0);
        }
        QTRY_COMPARE(window->template findChildren<QMenu *>().size(), before);
    });
}

void RecordWindowMenusTest::deleteAsksAndDeletes()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 11, 3);
        QVERIFY(showAndWait(window.get()));
        ListView *list = kind.list(window.get());
        QString question;
        QString caption;
        bool defaultIsYes = false;
        chooseFromMenu(kind.DeleteEntry);
        when([] { return openBox() != nullptr; },
             [&] {
                 QMessageBox *box = openBox();
                 question = box->text();
                 caption = box->windowTitle();
                 QCOMPARE(box->buttons().size(), 2);
                 QVERIFY(buttonOf(box, "No"));
                 QVERIFY(buttonOf(box, "No")->shortcut().isEmpty());
                 QVERIFY(buttonOf(box, "Yes")->shortcut().isEmpty());
                 defaultIsYes = box->defaultButton() == buttonOf(box, "Yes");
                 QTest::keyClick(box, Qt::Key_Return);
             });
        rightClick(list, 1);
        QCOMPARE(question, QString(kind.DeleteQuestion).arg(12));
        QCOMPARE(caption, QStringLiteral("???"));
        QVERIFY(defaultIsYes);
        QCOMPARE(kind.source().deleted, std::vector<int>{12});
        QCOMPARE(columnTexts(list, 2), QStringList({"11", "13"}));
        QCOMPARE(columnTexts(list, 0), QStringList({"002", "000"}));
        QVERIFY(!window->itemSelected);
        QCOMPARE(window->IDFirst, 11);
        QCOMPARE(window->IDLast, 13);
        QCOMPARE(window->iLast, 2);
        QCOMPARE(kind.source().fetches(), kind.LoadsWhileBuilt);
    });
}

void RecordWindowMenusTest::deleteAnsweredNoChangesNothing()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 11, 3);
        QVERIFY(showAndWait(window.get()));
        ListView *list = kind.list(window.get());
        chooseFromMenu(kind.DeleteEntry);
        pressInBox("No");
        rightClick(list, 1);
        QVERIFY(kind.source().deleted.empty());
        QCOMPARE(list->childCount(), 3);
        QCOMPARE(window->itemSelected, list->itemAt(1));
    });
}

void RecordWindowMenusTest::escapeAndClosingDoNotAnswerTheDeleteQuestion()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 11, 3);
        window->itemSelected = kind.list(window.get())->itemAt(0);
        bool stillOpen = false;
        when([] { return openBox() != nullptr; },
             [&stillOpen] {
                 QTest::keyClick(openBox(), Qt::Key_Escape);
                 openBox()->close();
                 stillOpen = openBox() != nullptr;
                 if (stillOpen)
                     QTest::mouseClick(buttonOf(openBox(), "No"), Qt::LeftButton);
             });
        window->onDeleteItem();
        QVERIFY(stillOpen);
        QVERIFY(kind.source().deleted.empty());
        QCOMPARE(kind.list(window.get())->childCount(), 3);
    });
}

void RecordWindowMenusTest::deleteOfANegativeIdentifier()
{
    eachKind([](auto kind) {
        kind.source().answer = {kind.record(-7)};
        const auto window = open(kind);
        window->itemSelected = kind.list(window.get())->firstChild();
        pressInBox("Yes");
        window->onDeleteItem();
        QCOMPARE(kind.source().deleted, std::vector<int>{-7});
    });
}

void RecordWindowMenusTest::rowThatGoesAwayTakesItemSelectedWithIt()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        ListView *list = kind.list(window.get());
        window->itemSelected = list->itemAt(0);
        list->removeItem(list->itemAt(1));
        QCOMPARE(window->itemSelected, list->itemAt(0));
        list->removeItem(list->itemAt(0));
        QVERIFY(!window->itemSelected);
        window->itemSelected = list->itemAt(0);
        window->onUpdateList();
        QVERIFY(!window->itemSelected);
    });
}

void RecordWindowMenusTest::reloadUnderAnOpenQuestionDeletesTheRecordButNoRow()
{
    eachKind([](auto kind) {
        const auto window = openWith(kind, 1, 3);
        window->itemSelected = kind.list(window.get())->itemAt(1);
        when([] { return openBox() != nullptr; },
             [&window] {
                 window->onUpdateList();
                 QTest::mouseClick(buttonOf(openBox(), "Yes"), Qt::LeftButton);
             });
        window->onDeleteItem();
        QCOMPARE(kind.source().deleted, std::vector<int>{2});
        QCOMPARE(kind.list(window.get())->childCount(), 3);
    });
}

QTEST_MAIN(RecordWindowMenusTest)
#include "recordwindowmenustest.moc"
