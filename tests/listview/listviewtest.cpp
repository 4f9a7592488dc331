// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "listview.h"
#include "patience.h"
#include "textitem.h"

#include <QAbstractItemModelTester>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QFontInfo>
#include <QHeaderView>
#include <QHelpEvent>
#include <QPainter>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStyledItemDelegate>
#include <QTextDocument>
#include <QToolTip>
#include <QtMath>

namespace
{

QStringList warnings;

void collect(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    // The platform without a screen has no windows to raise, a tool tip's neither.
    if (type != QtDebugMsg && type != QtInfoMsg && !text.startsWith("This plugin does not support"))
        warnings << text;
}

QStringList numbers(int from, int count)
{
    QStringList texts;
    for (int i = 0; i < count; ++i)
        texts << QString::number(from + i);
    return texts;
}

QStringList shown(const ListView &list, int column = 0)
{
    QStringList texts;
    for (int row = 0; row < list.childCount(); ++row)
        texts << list.itemAt(row)->text(column);
    return texts;
}

QList<int> widthsOf(const ListView &list)
{
    QList<int> widths;
    for (int column = 0; column < list.columns(); ++column)
        widths << list.columnWidth(column);
    return widths;
}

/** A list of numbers on the screen. */
struct NumberList : ListView {
    explicit NumberList(int count = 0)
    {
        addColumn("N", 80);
        addColumn("Other", 60);
        setColumnSortKey(0, SortKey::Number);
        resize(300, 200);
        if (count > 0)
            insertItems(rowsOf(numbers(0, count)));
    }

    void showAndWait()
    {
        show();
        QVERIFY(waitForExposed(this));
        QTRY_VERIFY(painted > 0);
    }

    void paintEvent(QPaintEvent *event) override
    {
        ListView::paintEvent(event);
        ++painted;
    }

    /** What a user sees: the text of the row at the upper edge. */
    QString topText() const
    {
        return indexAt({5, 1}).data().toString();
    }

    /** The text of the last row that is wholly seen. */
    QString bottomText() const
    {
        const int whole = viewport()->height() / rowsHeight();
        return indexAt({5, whole * rowsHeight() - 1}).data().toString();
    }

    int rowsHeight() const
    {
        return visualRect(model()->index(0, 0)).height();
    }

    void clickHeading(int column)
    {
        QTest::mouseClick(header()->viewport(), Qt::LeftButton, Qt::NoModifier,
                          {header()->sectionViewportPosition(column) + 20, header()->height() / 2});
    }

    QPoint cell(int row, int column = 0) const
    {
        return visualRect(model()->index(row, column)).center();
    }

    int painted = 0;
};

/** Typed keys do, however slowly they arrive. */
class KeysBelongTogether
{
public:
    KeysBelongTogether()
        : m_before(QApplication::keyboardInputInterval())
    {
        QApplication::setKeyboardInputInterval(Patience);
    }
    ~KeysBelongTogether()
    {
        QApplication::setKeyboardInputInterval(m_before);
    }
    KeysBelongTogether(const KeysBelongTogether &) = delete;
    KeysBelongTogether &operator=(const KeysBelongTogether &) = delete;

private:
    int m_before;
};

/** "row 0" to "row N" on the screen, the first one current, and some other texts behind them. */
struct LongList : ListView {
    /** A row that notes how often it is asked for its text. */
    struct Row : TextItem {
        Row(const QString &text, int *asked)
            : TextItem({text})
            , m_asked(asked)
        {
        }
        QString text(int column) const override
        {
            ++*m_asked;
            return TextItem::text(column);
        }

    private:
        int *m_asked;
    };

    LongList(int count, const QStringList &last)
    {
        addColumn("Name");
        Rows rows;
        for (int i = 0; i < count; ++i)
            rows.push_back(std::make_unique<Row>(QString("row %1").arg(i), &asked));
        for (const QString &text : last)
            rows.push_back(std::make_unique<Row>(text, &asked));
        insertItems(std::move(rows));
        resize(200, 200);
        show();
        [this] { QVERIFY(waitForExposed(this)); }();
        setCurrentIndex(model()->index(0, 0));
    }

    QString currentText() const
    {
        return currentItem()->text(0);
    }

    int asked = 0;
};

/** What rightButtonClicked told. */
struct RightClicks {
    explicit RightClicks(ListView *list)
    {
        QObject::connect(list, &ListView::rightButtonClicked, list,
                         [this](QListViewItem *item, const QPoint &position, int column) {
                             ++count;
                             row = item;
                             at = position;
                             in = column;
                         });
    }

    int count = 0;
    QListViewItem *row = nullptr;
    QPoint at;
    int in = -2;
};

} // namespace

class ListViewTest : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void columnsAreAddedWithTheirModes();
    void columnWithoutAWidthStartsAtItsHeadings();
    void rowsThatComeOrGoChangeNoWidth();
    void everyColumnCanBeSetToTwoPixels();
    void headingsCanBeSetAgain();
    void noColumnLeavesTheWidthsAlone();
    void allColumnsFillTheList();
    void allColumnsStayWhenAScrollBarComesOrGoes();
    void allColumnsStayWhenAHeadingIsDragged();
    void whatIsSetAfterAResizeStands();
    void allColumnsKeepTheirProportionsThroughASlowDrag();
    void lastColumnIsNotStretched();

    void sortedByColumnZeroFromTheStart();
    void headingClickSortsAndSecondClickTurnsRound();
    void sortingShowsInTheHeading();
    void numbersSortAsNumbers();
    void settingTheSameSortingAgainDoesNothing();
    void widthsOutliveClearing();

    void removingAndClearingTell();
    void nullRowsAreIgnored();
    void currentRowFollowsSelection();

    void rightClickOnARow();
    void rightClickOnEmptySpace();
    void rightButtonPressAloneSaysNothing();
    void menuKeyGivesTheCurrentRow();
    void menuKeyWithoutACurrentRow();
    void menuKeyThatTheDesktopAlsoTurnsIntoARequest();
    void contextMenuRequestOfTheMouseSaysNothing();
    void shiftF10GivesTheCurrentRow();
    void rowRemovedWhileItsMenuIsOpen();

    void toolTipShowsOverRows();
    void cutCellShowsItsTextAsToolTip();
    void cutHeadingShowsItsTextAsToolTip();
    void copyTakesTheCurrentRow();
    void keysMoveThroughTheRows();
    void typingFindsARow();
    void theSameKeyGoesOnFromRowToRow();
    void typingLooksThroughFewRowsAtATime();
    void typingOnGoesOnWithASearch();
    void theSameKeyCountsDuringASearch();
    void whatTheUserDoesEndsASearch_data();
    void whatTheUserDoesEndsASearch();
    void sortingAndClearingEndASearch();
    void rowsComeAndGoDuringASearch();
    void noRowIsPassedOverWhenOthersGo();
    void aListGoesDuringASearch();
    void mouseSelectsARow();
    void doubleClickIsTold();
    void scrollBarReachesEveryRow();
    void scrollingByPixels();
    void scrollToBringsARowIntoSight();
    void rowsAreWhereTheyArePainted();
    void textFitsItsWidthWithoutElision_data();
    void textFitsItsWidthWithoutElision();
    void threeDigitsAreReadInThirtyPixels_data();
    void threeDigitsAreReadInThirtyPixels();
    void longTextIsDrawnAsItsBeginning_data();
    void longTextIsDrawnAsItsBeginning();
    void rightToLeft();

    void standingAtTheTopItFollowsRowsThatLandThere();
    void standingAtTheEndItFollowsRowsThatLandThere();
    void standingInTheMiddleItKeepsItsPlace();
    void keepsItsPlaceWhenRowsAboveGo();
    void selectionStaysWithItsRow();
    void firstLoadStaysAtTheTop();
    void reloadStartsAtTheTop();
    void deletingTheCurrentRowSelectsItsNeighbour();
    void nothingIsRepaintedWhenNothingComes();
    void noticeStandsOverTheMiddleOfTheRowsUntilItIsTaken();
};

void ListViewTest::init()
{
    warnings.clear();
    qInstallMessageHandler(collect);
}

void ListViewTest::cleanup()
{
    qInstallMessageHandler(nullptr);
    QCOMPARE(warnings.join('\n'), QString());
    QCOMPARE(TextItem::alive, 0);
}

void ListViewTest::columnsAreAddedWithTheirModes()
{
    ListView list;
    QCOMPARE(list.addColumn("A"), 0);
    QCOMPARE(list.addColumn("B", 33), 1);
    QCOMPARE(list.addColumn("C", 0), 2);
    QCOMPARE(list.columns(), 3);
    QCOMPARE(list.columnWidthMode(0), ListView::Maximum);
    QCOMPARE(list.columnWidthMode(1), ListView::Manual);
    QCOMPARE(list.columnWidth(1), 33);
    QCOMPARE(list.columnWidthMode(2), ListView::Manual);
    QCOMPARE(list.columnWidth(2), 2);
    QCOMPARE(list.columnText(1), QString("B"));
    QCOMPARE(list.resizeMode(), ListView::NoColumn);
    list.setColumnWidthMode(1, ListView::Maximum);
    QCOMPARE(list.columnWidthMode(1), ListView::Maximum);
    QCOMPARE(list.columnWidth(1), 33);
}

void ListViewTest::columnWithoutAWidthStartsAtItsHeadings()
{
    ListView list;
    list.addColumn("A rather long heading for so little");
    list.addColumn("B");
    QCOMPARE(list.columnWidth(0), list.header()->sectionSizeHint(0));
    QCOMPARE(list.columnWidth(1), list.header()->sectionSizeHint(1));
}

void ListViewTest::rowsThatComeOrGoChangeNoWidth()
{
    ListView list;
    list.addColumn("A");
    list.addColumn("B", 40);
    list.addColumn("hidden");
    list.setColumnWidth(2, 2);
    const QList<int> widths = widthsOf(list);
    const QString wide("a much wider text than any of the columns");
    const auto rows = [&wide] {
        ListView::Rows made;
        for (int i = 0; i < 50; ++i)
            made.push_back(std::make_unique<TextItem>(QStringList{wide, wide, wide}));
        return made;
    };
    for (const bool shown : {false, true}) {
        list.setVisible(shown);
        list.insertItem(std::move(rows().front()));
        list.insertItems(rows());
        QCoreApplication::processEvents();
        QCOMPARE(widthsOf(list), widths);
        list.removeItem(list.firstChild());
        list.textsChanged();
        list.clear();
        QCoreApplication::processEvents();
        QCOMPARE(widthsOf(list), widths);
    }
    for (int column : {0, 1, 2})
        QCOMPARE(list.columnWidthMode(column), column == 1 ? ListView::Manual : ListView::Maximum);
}

void ListViewTest::everyColumnCanBeSetToTwoPixels()
{
    ListView list;
    list.addColumn("A");
    list.addColumn("B", 40);
    for (int column : {0, 1}) {
        list.setColumnWidth(column, 2);
        QCOMPARE(list.columnWidth(column), 2);
        list.setColumnWidth(column, -7);
        QCOMPARE(list.columnWidth(column), 2);
        list.setColumnWidth(column, 70);
        QCOMPARE(list.columnWidth(column), 70);
    }
    list.setColumnWidth(2, 10);
    list.setColumnWidth(-1, 10);
    QCOMPARE(list.columns(), 2);
}

void ListViewTest::headingsCanBeSetAgain()
{
    ListView list;
    list.addColumn("A");
    list.setColumnText(0, "Other");
    QCOMPARE(list.columnText(0), QString("Other"));
    QCOMPARE(list.model()->headerData(0, Qt::Horizontal).toString(), QString("Other"));
}

void ListViewTest::noColumnLeavesTheWidthsAlone()
{
    NumberList list(3);
    list.showAndWait();
    list.resize(500, 200);
    QTRY_COMPARE(list.width(), 500);
    QCOMPARE(list.columnWidth(0), 80);
    QCOMPARE(list.columnWidth(1), 60);
}

void ListViewTest::allColumnsFillTheList()
{
    NumberList list(3);
    list.addColumn("Third", 60);
    list.setResizeMode(ListView::AllColumns);
    list.showAndWait();
    const auto filled = [&list] { return list.columnWidth(0) + list.columnWidth(1) + list.columnWidth(2); };
    QCOMPARE(filled(), list.viewport()->width());
    for (int width : {501, 333, 700}) {
        list.resize(width, 200);
        QTRY_COMPARE(list.width(), width);
        QCOMPARE(filled(), list.viewport()->width());
        QVERIFY(qAbs(list.columnWidth(0) * 60 - list.columnWidth(1) * 80) <= 80);
        QVERIFY(qAbs(list.columnWidth(1) - list.columnWidth(2)) <= 1);
    }
}

void ListViewTest::allColumnsStayWhenAScrollBarComesOrGoes()
{
    NumberList list(3);
    list.setResizeMode(ListView::AllColumns);
    list.showAndWait();
    const QList<int> widths = widthsOf(list);
    const int room = list.viewport()->width();
    list.insertItems(rowsOf(numbers(3, 200)));
    QTRY_VERIFY(list.verticalScrollBar()->isVisible() && list.viewport()->width() < room);
    QCOMPARE(widthsOf(list), widths);
    QTRY_VERIFY(list.horizontalScrollBar()->isVisible());
    list.clear();
    QTRY_COMPARE(list.viewport()->width(), room);
    QCOMPARE(widthsOf(list), widths);
    list.resize(list.width(), 300);
    QCOMPARE(widthsOf(list), widths);
}

void ListViewTest::allColumnsStayWhenAHeadingIsDragged()
{
    NumberList list(200);
    list.setResizeMode(ListView::AllColumns);
    list.showAndWait();
    const QList<int> widths = widthsOf(list);
    const QPoint edge(list.header()->sectionViewportPosition(1) - 1, list.header()->height() / 2);
    QWidget *headings = list.header()->viewport();
    QTest::mousePress(headings, Qt::LeftButton, {}, edge);
    for (int way : {10, 60, 25}) {
        // The test library's own moves come without the button.
        const QPoint place = edge + QPoint(way, 0);
        QMouseEvent move(QEvent::MouseMove, place, headings->mapToGlobal(place), Qt::NoButton, Qt::LeftButton, {});
        QApplication::sendEvent(headings, &move);
        QCoreApplication::processEvents();
        QCOMPARE(widthsOf(list), QList<int>({widths[0] + way, widths[1]}));
    }
    QTest::mouseRelease(headings, Qt::LeftButton, {}, edge + QPoint(25, 0));
    QCOMPARE(widthsOf(list), QList<int>({widths[0] + 25, widths[1]}));
}

void ListViewTest::whatIsSetAfterAResizeStands()
{
    NumberList list(200);
    list.setResizeMode(ListView::AllColumns);
    list.showAndWait();
    const auto set = [&list](int first, int second) {
        list.setColumnWidth(0, first);
        list.setColumnWidth(1, second);
    };
    list.resize(500, 200);
    set(30, 900);
    QCoreApplication::processEvents();
    QCOMPARE(widthsOf(list), QList<int>({30, 900}));
    // The event of a resize while it is hidden comes when it is shown.
    list.hide();
    list.resize(400, 200);
    set(40, 100);
    list.showAndWait();
    QCoreApplication::processEvents();
    QCOMPARE(widthsOf(list), QList<int>({40, 100}));
    list.resize(800, 200);
    QCOMPARE(list.header()->length(), list.viewport()->width());
}

void ListViewTest::allColumnsKeepTheirProportionsThroughASlowDrag()
{
    NumberList list(3);
    list.setResizeMode(ListView::AllColumns);
    list.showAndWait();
    for (int width = 300; width > 60; --width)
        list.resize(width, 200);
    for (int width = 60; width <= 700; ++width)
        list.resize(width, 200);
    QCOMPARE(list.columnWidth(0) + list.columnWidth(1), list.viewport()->width());
    QVERIFY(qAbs(list.columnWidth(0) * 60 - list.columnWidth(1) * 80) <= 140);
}

void ListViewTest::lastColumnIsNotStretched()
{
    NumberList list(3);
    list.showAndWait();
    QCOMPARE(list.header()->length(), 140);
    QVERIFY(list.viewport()->width() > 200);
}

void ListViewTest::sortedByColumnZeroFromTheStart()
{
    ListView list;
    QAbstractItemModelTester tester(list.model(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    list.addColumn("Name");
    for (const char *name : {"pear", "apple", "orange"})
        list.insertItem(std::make_unique<TextItem>(QStringList{name}));
    QCOMPARE(shown(list), QStringList({"apple", "orange", "pear"}));
    QCOMPARE(list.firstChild(), list.itemAt(0));
    QCOMPARE(list.childCount(), 3);
}

void ListViewTest::headingClickSortsAndSecondClickTurnsRound()
{
    NumberList list;
    list.insertItem(std::make_unique<TextItem>(QStringList{"1", "same"}));
    list.insertItem(std::make_unique<TextItem>(QStringList{"2", "other"}));
    list.insertItem(std::make_unique<TextItem>(QStringList{"3", "same"}));
    list.showAndWait();
    QCOMPARE(shown(list), QStringList({"1", "2", "3"}));
    list.clickHeading(1);
    QCOMPARE(shown(list), QStringList({"2", "1", "3"}));
    list.clickHeading(1);
    QCOMPARE(shown(list), QStringList({"1", "3", "2"}));
    list.insertItem(std::make_unique<TextItem>(QStringList{"0", "same"}));
    QCOMPARE(shown(list), QStringList({"1", "3", "0", "2"}));
    list.clickHeading(0);
    QCOMPARE(shown(list), QStringList({"0", "1", "2", "3"}));
    list.clickHeading(0);
    QCOMPARE(shown(list), QStringList({"3", "2", "1", "0"}));
}

void ListViewTest::sortingShowsInTheHeading()
{
    NumberList list(3);
    QVERIFY(list.header()->isSortIndicatorShown());
    QCOMPARE(list.header()->sortIndicatorSection(), 0);
    QCOMPARE(list.header()->sortIndicatorOrder(), Qt::AscendingOrder);
    list.setSorting(1, false);
    QCOMPARE(list.header()->sortIndicatorSection(), 1);
    QCOMPARE(list.header()->sortIndicatorOrder(), Qt::DescendingOrder);
    list.setSorting(0, false);
    QCOMPARE(shown(list), QStringList({"2", "1", "0"}));
}

void ListViewTest::numbersSortAsNumbers()
{
    ListView list;
    list.addColumn("N");
    list.insertItems(rowsOf({"10", "9", "100"}));
    QCOMPARE(shown(list), QStringList({"10", "100", "9"}));
    list.setColumnSortKey(0, ListView::SortKey::Number);
    QCOMPARE(shown(list), QStringList({"9", "10", "100"}));
}

void ListViewTest::settingTheSameSortingAgainDoesNothing()
{
    NumberList list(3);
    int changed = 0;
    connect(list.model(), &QAbstractItemModel::layoutChanged, this, [&changed] { ++changed; });
    list.setSorting(0, true);
    QCOMPARE(changed, 0);
    list.setSorting(0, false);
    QCOMPARE(changed, 1);
    list.sort();
    QCOMPARE(changed, 2);
    QCOMPARE(shown(list), QStringList({"2", "1", "0"}));
}

void ListViewTest::widthsOutliveClearing()
{
    NumberList list(3);
    list.setColumnWidth(0, 2);
    list.setColumnWidth(1, 111);
    list.clear();
    list.insertItems(rowsOf(numbers(0, 3)));
    QCOMPARE(list.columnWidth(0), 2);
    QCOMPARE(list.columnWidth(1), 111);
    QCOMPARE(list.header()->sortIndicatorSection(), 0);
}

void ListViewTest::removingAndClearingTell()
{
    NumberList list(5);
    QListViewItem *row = list.itemAt(2);
    QList<QListViewItem *> removed;
    int cleared = 0;
    connect(&list, &ListView::itemRemoved, this, [&](QListViewItem *item) { removed << item; });
    connect(&list, &ListView::cleared, this, [&] { ++cleared; });
    list.removeItem(row);
    QCOMPARE(removed, QList<QListViewItem *>{row});
    QCOMPARE(shown(list), QStringList({"0", "1", "3", "4"}));
    TextItem stranger({"1"});
    list.removeItem(&stranger);
    list.removeItem(nullptr);
    QCOMPARE(removed.size(), 1);
    QCOMPARE(cleared, 0);
    list.clear();
    QCOMPARE(cleared, 1);
    QCOMPARE(list.childCount(), 0);
    QVERIFY(!list.firstChild());
    QVERIFY(!list.currentItem());
}

void ListViewTest::nullRowsAreIgnored()
{
    NumberList list(1);
    QVERIFY(!list.insertItem(nullptr));
    ListView::Rows rows = rowsOf({"7"});
    rows.push_back(nullptr);
    list.insertItems(std::move(rows));
    QCOMPARE(shown(list), QStringList({"0", "7"}));
}

void ListViewTest::currentRowFollowsSelection()
{
    NumberList list(5);
    QVERIFY(!list.currentItem());
    list.setCurrentIndex(list.model()->index(3, 0));
    QCOMPARE(list.currentItem(), list.itemAt(3));
    QCOMPARE(list.selectionModel()->selectedRows().size(), 1);
}

void ListViewTest::rightClickOnARow()
{
    NumberList list(5);
    list.showAndWait();
    RightClicks told(&list);
    const QPoint point = list.cell(2, 1);
    QTest::mouseClick(list.viewport(), Qt::RightButton, Qt::NoModifier, point);
    QCOMPARE(told.count, 1);
    QCOMPARE(told.row, list.itemAt(2));
    QCOMPARE(told.in, 1);
    QCOMPARE(told.at, list.viewport()->mapToGlobal(point));
    QCOMPARE(list.currentItem(), list.itemAt(2));
}

void ListViewTest::rightClickOnEmptySpace()
{
    NumberList list(2);
    list.showAndWait();
    RightClicks told(&list);
    QTest::mouseClick(list.viewport(), Qt::RightButton, Qt::NoModifier, {20, list.viewport()->height() - 5});
    QCOMPARE(told.count, 1);
    QVERIFY(!told.row);
    QCOMPARE(told.in, -1);
    // Beside the last column there is no row either.
    QTest::mouseClick(list.viewport(), Qt::RightButton, Qt::NoModifier,
                      {list.viewport()->width() - 5, list.cell(0).y()});
    QCOMPARE(told.count, 2);
    QVERIFY(!told.row);
    QCOMPARE(told.in, -1);
}

void ListViewTest::rightButtonPressAloneSaysNothing()
{
    NumberList list(5);
    list.showAndWait();
    RightClicks told(&list);
    QTest::mousePress(list.viewport(), Qt::RightButton, Qt::NoModifier, list.cell(1));
    QCOMPARE(told.count, 0);
    QTest::mouseRelease(list.viewport(), Qt::RightButton, Qt::NoModifier, list.cell(2));
    QCOMPARE(told.count, 1);
    QCOMPARE(told.row, list.itemAt(2));
    QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::NoModifier, list.cell(1));
    QCOMPARE(told.count, 1);
}

void ListViewTest::menuKeyGivesTheCurrentRow()
{
    NumberList list(500);
    list.showAndWait();
    list.setCurrentIndex(list.model()->index(400, 1));
    list.verticalScrollBar()->setValue(0);
    RightClicks told(&list);
    QContextMenuEvent request(QContextMenuEvent::Keyboard, {1, 1}, list.mapToGlobal(QPoint(1, 1)));
    QApplication::sendEvent(&list, &request);
    QCOMPARE(told.count, 1);
    QCOMPARE(told.row, list.itemAt(400));
    QCOMPARE(told.in, 1);
    // The row is brought into sight, and the position lies on it.
    QCOMPARE(list.indexAt(list.viewport()->mapFromGlobal(told.at)).row(), 400);
    QTest::keyClick(&list, Qt::Key_Menu);
    QCOMPARE(told.count, 2);
    QTest::keyClick(&list, Qt::Key_Menu);
    QCOMPARE(told.count, 3);
}

void ListViewTest::menuKeyWithoutACurrentRow()
{
    NumberList list(0);
    list.showAndWait();
    RightClicks told(&list);
    QTest::keyClick(&list, Qt::Key_Menu);
    QCOMPARE(told.count, 1);
    QVERIFY(!told.row);
    QCOMPARE(told.in, -1);
}

void ListViewTest::menuKeyThatTheDesktopAlsoTurnsIntoARequest()
{
    NumberList list(5);
    list.showAndWait();
    list.setCurrentIndex(list.model()->index(1, 0));
    RightClicks told(&list);
    for (int round = 1; round <= 3; ++round) {
        QTest::keyPress(&list, Qt::Key_Menu);
        QContextMenuEvent request(QContextMenuEvent::Keyboard, {1, 1}, list.mapToGlobal(QPoint(1, 1)));
        QApplication::sendEvent(&list, &request);
        QTest::keyRelease(&list, Qt::Key_Menu);
        QCOMPARE(told.count, round);
    }
}

void ListViewTest::contextMenuRequestOfTheMouseSaysNothing()
{
    NumberList list(5);
    list.showAndWait();
    RightClicks told(&list);
    const QPoint point = list.cell(2);
    QTest::mousePress(list.viewport(), Qt::RightButton, Qt::NoModifier, point);
    QContextMenuEvent request(QContextMenuEvent::Mouse, point, list.viewport()->mapToGlobal(point));
    QApplication::sendEvent(list.viewport(), &request);
    QTest::mouseRelease(list.viewport(), Qt::RightButton, Qt::NoModifier, point);
    QCOMPARE(told.count, 1);
}

void ListViewTest::shiftF10GivesTheCurrentRow()
{
    NumberList list(5);
    list.showAndWait();
    list.setCurrentIndex(list.model()->index(1, 0));
    RightClicks told(&list);
    QTest::keyClick(&list, Qt::Key_F10, Qt::ShiftModifier);
    QCOMPARE(told.count, 1);
    QCOMPARE(told.row, list.itemAt(1));
    QTest::keyClick(&list, Qt::Key_F10);
    QCOMPARE(told.count, 1);
}

void ListViewTest::rowRemovedWhileItsMenuIsOpen()
{
    NumberList list(5);
    list.showAndWait();
    connect(&list, &ListView::rightButtonClicked, this, [&](QListViewItem *item) { list.removeItem(item); });
    QTest::mouseClick(list.viewport(), Qt::RightButton, Qt::NoModifier, list.cell(2));
    QCOMPARE(shown(list), QStringList({"0", "1", "3", "4"}));
    list.setCurrentIndex(list.model()->index(0, 0));
    QTest::keyClick(&list, Qt::Key_Menu);
    QCOMPARE(shown(list), QStringList({"1", "3", "4"}));
}

void ListViewTest::toolTipShowsOverRows()
{
    NumberList list(5);
    list.setToolTip("press Right Button");
    list.showAndWait();
    const QPoint point = list.cell(2);
    QHelpEvent help(QEvent::ToolTip, point, list.viewport()->mapToGlobal(point));
    QApplication::sendEvent(list.viewport(), &help);
    QVERIFY(QToolTip::isVisible());
    QCOMPARE(QToolTip::text(), QString("press Right Button"));
    QToolTip::hideText();
    QTRY_VERIFY(!QToolTip::isVisible());
}

/** Lets the mouse rest there; the tool tip that shows then, null for none. */
static QString toolTipAt(QWidget *widget, const QPoint &place)
{
    QToolTip::hideText();
    [] { QTRY_VERIFY(!QToolTip::isVisible()); }();
    QHelpEvent help(QEvent::ToolTip, place, widget->mapToGlobal(place));
    QApplication::sendEvent(widget, &help);
    return QToolTip::isVisible() ? QToolTip::text() : QString();
}

void ListViewTest::cutCellShowsItsTextAsToolTip()
{
    NumberList list(5);
    const QString text("a text that no column of eighty pixels shows");
    list.insertItem(std::make_unique<TextItem>(QStringList{"7", text}));
    list.insertItem(std::make_unique<TextItem>(QStringList{"8", "<b>a text</b> that looks like a page of the web"}));
    list.showAndWait();
    QCOMPARE(toolTipAt(list.viewport(), list.cell(5, 1)), text);
    QCOMPARE(toolTipAt(list.viewport(), list.cell(5, 0)), QString());
    QCOMPARE(toolTipAt(list.viewport(), list.cell(6, 1)),
             Qt::convertFromPlainText("<b>a text</b> that looks like a page of the web"));
    list.setToolTip("the list's own");
    QCOMPARE(toolTipAt(list.viewport(), list.cell(5, 1)), text);
    QCOMPARE(toolTipAt(list.viewport(), list.cell(5, 0)), QString("the list's own"));
    QCOMPARE(toolTipAt(list.viewport(), {5, list.viewport()->height() - 3}), QString("the list's own"));
    const int whole = list.itemAt(5)->width(list.fontMetrics(), &list, 1);
    list.setColumnWidth(1, whole);
    QCOMPARE(toolTipAt(list.viewport(), list.visualRect(list.model()->index(5, 1)).topLeft()),
             QString("the list's own"));
    list.setColumnWidth(1, whole - 1);
    QCOMPARE(toolTipAt(list.viewport(), list.visualRect(list.model()->index(5, 1)).topLeft()), text);
    QToolTip::hideText();
    QTRY_VERIFY(!QToolTip::isVisible());
}

void ListViewTest::cutHeadingShowsItsTextAsToolTip()
{
    NumberList list(5);
    list.setToolTip("the list's own");
    list.addColumn("A heading");
    list.showAndWait();
    QWidget *headings = list.header()->viewport();
    const auto tip = [&](int column) {
        return toolTipAt(headings, {list.header()->sectionViewportPosition(column) + 1, 5});
    };
    QCOMPARE(tip(2), QString("the list's own"));
    list.setColumnWidth(2, 40);
    QCOMPARE(tip(2), QString("A heading"));
    // The mark takes room.
    list.setColumnWidth(2, list.header()->fontMetrics().horizontalAdvance("A heading") + 10);
    QCOMPARE(tip(2), QString("the list's own"));
    list.setSorting(2);
    QCOMPARE(tip(2), QString("A heading"));
    QCOMPARE(toolTipAt(headings, {headings->width() - 3, 5}), QString("the list's own"));
    QToolTip::hideText();
    QTRY_VERIFY(!QToolTip::isVisible());
}

void ListViewTest::copyTakesTheCurrentRow()
{
    ListView list;
    for (const char *heading : {"N", "hidden", "Name", "Parameters"})
        list.addColumn(heading, 60);
    list.setColumnWidth(1, 2);
    list.insertItem(std::make_unique<TextItem>(QStringList{"1", "x", "pump", "two\nlines\tand \"quotes\""}));
    list.insertItem(std::make_unique<TextItem>(QStringList{"2", "x", "fan", ""}));
    list.show();
    QVERIFY(waitForExposed(&list));
    QApplication::clipboard()->setText("before");
    list.setCurrentIndex({});
    QTest::keyClick(&list, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QApplication::clipboard()->text(), QString("before"));
    list.setCurrentIndex(list.model()->index(0, 2));
    QTest::keyClick(&list, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QApplication::clipboard()->text(), QString("1\tpump\t\"two\nlines\tand \"\"quotes\"\"\""));
    list.setCurrentIndex(list.model()->index(1, 0));
    list.header()->moveSection(2, 0);
    QTest::keyClick(&list, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QApplication::clipboard()->text(), QString("fan\t2\t"));
    for (int column : {0, 2, 3})
        list.setColumnWidth(column, 2);
    QTest::keyClick(&list, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QApplication::clipboard()->text(), QString("fan\t2\t"));
}

void ListViewTest::keysMoveThroughTheRows()
{
    NumberList list(1000);
    list.showAndWait();
    list.setFocus();
    QTest::keyClick(&list, Qt::Key_Down);
    QTest::keyClick(&list, Qt::Key_Up);
    QCOMPARE(list.currentIndex().row(), 0);
    QTest::keyClick(&list, Qt::Key_Down);
    QCOMPARE(list.currentIndex().row(), 1);
    QTest::keyClick(&list, Qt::Key_End);
    QCOMPARE(list.currentIndex().row(), 999);
    QVERIFY(list.viewport()->rect().contains(list.visualRect(list.currentIndex())));
    QTest::keyClick(&list, Qt::Key_Down);
    QCOMPARE(list.currentIndex().row(), 999);
    QTest::keyClick(&list, Qt::Key_PageUp);
    const int page = 999 - list.currentIndex().row();
    QVERIFY(page > 1 && page <= list.viewport()->height() / list.rowsHeight());
    QTest::keyClick(&list, Qt::Key_Home);
    QCOMPARE(list.currentIndex().row(), 0);
    QCOMPARE(list.verticalScrollBar()->value(), 0);
    QTest::keyClick(&list, Qt::Key_Up);
    QCOMPARE(list.currentIndex().row(), 0);
    QTest::keyClick(&list, Qt::Key_PageDown);
    QCOMPARE(list.currentIndex().row(), page);
    QCOMPARE(list.selectionModel()->selectedRows().size(), 1);
    QCOMPARE(list.selectionModel()->selectedRows().first().row(), page);
    for (Qt::Key key : {Qt::Key_Left, Qt::Key_Right, Qt::Key_Plus, Qt::Key_Minus, Qt::Key_Asterisk})
        QTest::keyClick(&list, key);
    QCOMPARE(list.currentIndex().row(), page);
}

void ListViewTest::typingFindsARow()
{
    ListView list;
    list.addColumn("Name");
    list.insertItems(rowsOf({"apple", "avocado", "banana", "cherry", "Citron"}));
    list.show();
    QVERIFY(waitForExposed(&list));
    const KeysBelongTogether keys;
    QTest::keyClicks(&list, "ba");
    QCOMPARE(list.currentItem()->text(0), QString("banana"));
    list.keyboardSearch({});
    QTest::keyClicks(&list, "x");
    QCOMPARE(list.currentItem()->text(0), QString("banana"));
    list.keyboardSearch({});
    list.keyboardSearch("c");
    QCOMPARE(list.currentItem()->text(0), QString("cherry"));
    list.keyboardSearch("c");
    QCOMPARE(list.currentItem()->text(0), QString("Citron"));
    list.keyboardSearch("c");
    QCOMPARE(list.currentItem()->text(0), QString("cherry"));
}

void ListViewTest::theSameKeyGoesOnFromRowToRow()
{
    const KeysBelongTogether keys;
    ListView list;
    list.addColumn("Name");
    list.insertItems(rowsOf({"apple", "cherry", "Citron", "ccc"}));
    list.setCurrentIndex(list.model()->index(0, 0));
    for (const char *expected : {"ccc", "cherry", "Citron", "ccc", "cherry"}) {
        list.keyboardSearch("c");
        QCOMPARE(list.currentItem()->text(0), QString(expected));
    }
    // It all counts as typed.
    list.keyboardSearch("h");
    QCOMPARE(list.currentItem()->text(0), QString("cherry"));
    list.keyboardSearch({});
    list.keyboardSearch("c");
    list.keyboardSearch("i");
    QCOMPARE(list.currentItem()->text(0), QString("Citron"));
}

void ListViewTest::typingLooksThroughFewRowsAtATime()
{
    LongList list(100000, {"zebra"});
    list.asked = 0;
    QTest::keyClick(&list, 'z');
    QVERIFY(list.isSearching());
    QCOMPARE(list.currentIndex().row(), 0);
    int all = 0;
    while (list.isSearching()) {
        QVERIFY(list.asked < 2000);
        all += std::exchange(list.asked, 0);
        QCoreApplication::processEvents();
    }
    QVERIFY(all + list.asked >= 100000);
    QCOMPARE(list.currentText(), QString("zebra"));
    QCOMPARE(list.selectionModel()->selectedRows().size(), 1);
}

void ListViewTest::typingOnGoesOnWithASearch()
{
    const KeysBelongTogether keys;
    LongList list(10000, {"zebra", "zoo", "zulu"});
    QTest::keyClick(&list, 'z');
    QCoreApplication::processEvents();
    QTest::keyClick(&list, 'o');
    QVERIFY(list.isSearching());
    QSignalSpy moves(list.selectionModel(), &QItemSelectionModel::currentChanged);
    QTRY_VERIFY(!list.isSearching());
    QCOMPARE(list.currentText(), QString("zoo"));
    QCOMPARE(moves.size(), 1);
    // Nothing begins so: the row stays.
    QTest::keyClick(&list, 'x');
    QTRY_VERIFY(!list.isSearching());
    QCOMPARE(list.currentText(), QString("zoo"));
    // Another word begins.
    QTest::keyClick(&list, 'q');
    QVERIFY(list.isSearching());
    list.keyboardSearch({});
    QVERIFY(!list.isSearching());
    QTest::keyClick(&list, 'z');
    QTest::keyClick(&list, 'u');
    QTRY_VERIFY(!list.isSearching());
    QCOMPARE(list.currentText(), QString("zulu"));
}

void ListViewTest::theSameKeyCountsDuringASearch()
{
    const KeysBelongTogether keys;
    LongList list(10000, {"zebra", "zoo", "zulu"});
    for (int i = 0; i < 3; ++i)
        QTest::keyClick(&list, 'z');
    QVERIFY(list.isSearching());
    QTRY_VERIFY(!list.isSearching());
    QCOMPARE(list.currentText(), QString("zulu"));
    // From the last of them round to the first, and as often as it is asked for.
    for (int i = 0; i < 4; ++i)
        QTest::keyClick(&list, 'z');
    QTRY_VERIFY(!list.isSearching());
    QCOMPARE(list.currentText(), QString("zebra"));
}

void ListViewTest::whatTheUserDoesEndsASearch_data()
{
    QTest::addColumn<int>("what");
    QTest::newRow("a click") << 0;
    QTest::newRow("an arrow") << 1;
    QTest::newRow("Return") << 2;
    QTest::newRow("the menu key") << 3;
}

void ListViewTest::whatTheUserDoesEndsASearch()
{
    QFETCH(int, what);
    LongList list(10000, {"zebra"});
    QTest::keyClick(&list, 'z');
    QVERIFY(list.isSearching());
    if (what == 0)
        QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualRect(list.currentIndex()).center());
    else
        QTest::keyClick(&list, what == 1 ? Qt::Key_Down : what == 2 ? Qt::Key_Return : Qt::Key_Menu);
    QVERIFY(!list.isSearching());
    QCOMPARE(list.currentIndex().row(), what == 1 ? 1 : 0);
}

void ListViewTest::sortingAndClearingEndASearch()
{
    LongList list(10000, {"zebra"});
    QTest::keyClick(&list, 'z');
    QVERIFY(list.isSearching());
    list.setSorting(0, false);
    QVERIFY(!list.isSearching());
    list.setSorting(0, true);
    list.setCurrentIndex(list.model()->index(0, 0));
    list.keyboardSearch({});
    QTest::keyClick(&list, 'z');
    QVERIFY(list.isSearching());
    list.clear();
    QVERIFY(!list.isSearching());
    QTest::keyClick(&list, 'z');
    QVERIFY(!list.isSearching());
}

void ListViewTest::rowsComeAndGoDuringASearch()
{
    for (const bool come : {true, false}) {
        LongList list(10000, {"zebra", "zoo"});
        QTest::keyClick(&list, 'z');
        QVERIFY(list.isSearching());
        // Below the place that the search has come to, and above it.
        if (come) {
            list.insertItems(rowsOf(QString("row 0a\n").repeated(3000).split('\n', Qt::SkipEmptyParts)));
            list.insertItems(rowsOf(QString("y\n").repeated(3000).split('\n', Qt::SkipEmptyParts)));
        } else {
            for (int i = 0; i < 400; ++i)
                list.removeItem(list.itemAt(1));
            for (int i = 0; i < 3000; ++i)
                list.removeItem(list.itemAt(list.childCount() - 10));
        }
        QVERIFY(list.isSearching());
        QTRY_VERIFY(!list.isSearching());
        QCOMPARE(list.currentText(), QString("zebra"));
    }
    LongList list(3000, {"zebra"});
    list.setCurrentIndex({});
    QTest::keyClick(&list, 'z');
    while (list.childCount() > 0)
        list.removeItem(list.itemAt(list.childCount() - 1));
    QVERIFY(list.isSearching());
    QTRY_VERIFY(!list.isSearching());
    QVERIFY(!list.currentItem());
}

void ListViewTest::noRowIsPassedOverWhenOthersGo()
{
    LongList list(700, {"zebra"});
    list.insertItems(rowsOf(QString("zoo\n").repeated(1000).split('\n', Qt::SkipEmptyParts)));
    QTest::keyClick(&list, 'z');
    QVERIFY(list.isSearching());
    for (int i = 0; i < 400; ++i)
        list.removeItem(list.itemAt(1));
    QTRY_VERIFY(!list.isSearching());
    QCOMPARE(list.currentText(), QString("zebra"));
}

void ListViewTest::aListGoesDuringASearch()
{
    auto list = std::make_unique<LongList>(10000, QStringList{"zebra"});
    QTest::keyClick(list.get(), 'z');
    QVERIFY(list->isSearching());
    list.reset();
    QCoreApplication::processEvents();
}

void ListViewTest::mouseSelectsARow()
{
    NumberList list(1000);
    list.showAndWait();
    list.verticalScrollBar()->setValue(500);
    QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::NoModifier, list.cell(503, 1));
    QCOMPARE(list.currentIndex().row(), 503);
    QCOMPARE(list.selectionModel()->selectedRows().size(), 1);
    QCOMPARE(list.verticalScrollBar()->value(), 500);
    QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::NoModifier, list.cell(505));
    QCOMPARE(list.selectionModel()->selectedRows().size(), 1);
    QCOMPARE(list.selectionModel()->selectedRows().first().row(), 505);
}

void ListViewTest::doubleClickIsTold()
{
    NumberList list(10);
    list.showAndWait();
    QSignalSpy told(&list, &QAbstractItemView::doubleClicked);
    QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::NoModifier, list.cell(3));
    QTest::mouseDClick(list.viewport(), Qt::LeftButton, Qt::NoModifier, list.cell(3));
    QCOMPARE(told.count(), 1);
    QCOMPARE(told.first().first().toModelIndex().row(), 3);
}

void ListViewTest::scrollBarReachesEveryRow()
{
    NumberList list(100000);
    list.showAndWait();
    QCOMPARE(list.topText(), QString("0"));
    QScrollBar *down = list.verticalScrollBar();
    down->setValue(down->maximum());
    const QRect last = list.visualRect(list.model()->index(99999, 0));
    QVERIFY(last.bottom() < list.viewport()->height());
    QVERIFY(last.bottom() > list.viewport()->height() - 2 * last.height());
    down->setValue(1234);
    QCOMPARE(list.topText(), QString("1234"));
    list.setColumnWidth(0, 5000);
    QTRY_VERIFY(list.horizontalScrollBar()->isVisible());
    QCOMPARE(list.horizontalScrollBar()->maximum(), 5060 - list.viewport()->width());
    list.horizontalScrollBar()->setValue(100);
    QCOMPARE(list.visualRect(list.model()->index(1234, 0)).left(), -100);
    QCOMPARE(list.header()->offset(), 100);
}

void ListViewTest::scrollingByPixels()
{
    NumberList list(1000);
    list.setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    list.showAndWait();
    const int height = list.rowsHeight();
    list.verticalScrollBar()->setValue(100 * height + 3);
    QCOMPARE(list.visualRect(list.model()->index(100, 0)).top(), -3);
    QCOMPARE(list.topText(), QString("100"));
    list.scrollTo(list.model()->index(100, 0));
    QCOMPARE(list.visualRect(list.model()->index(100, 0)).top(), 0);
    list.insertItems(rowsOf({"-1"}));
    QTRY_COMPARE(list.topText(), QString("100"));
    list.verticalScrollBar()->setValue(list.verticalScrollBar()->maximum());
    QCOMPARE(list.visualRect(list.model()->index(1000, 0)).bottom(), list.viewport()->height() - 1);
}

void ListViewTest::scrollToBringsARowIntoSight()
{
    NumberList list(1000);
    list.showAndWait();
    const auto at = [&list](int row) { return list.visualRect(list.model()->index(row, 0)); };
    list.scrollTo(list.model()->index(500, 0), QAbstractItemView::PositionAtTop);
    QCOMPARE(at(500).top(), 0);
    list.scrollTo(list.model()->index(502, 0));
    QCOMPARE(at(500).top(), 0);
    list.scrollTo(list.model()->index(400, 0));
    QCOMPARE(at(400).top(), 0);
    list.scrollTo(list.model()->index(600, 0));
    QVERIFY(at(600).bottom() < list.viewport()->height() && at(601).bottom() >= list.viewport()->height());
    list.scrollTo(list.model()->index(100, 0), QAbstractItemView::PositionAtBottom);
    QVERIFY(at(100).bottom() < list.viewport()->height() && at(101).bottom() >= list.viewport()->height());
    list.scrollTo(list.model()->index(500, 0), QAbstractItemView::PositionAtCenter);
    QVERIFY(qAbs(at(500).center().y() - list.viewport()->height() / 2) <= at(500).height());
    list.scrollTo({});
}

void ListViewTest::rowsAreWhereTheyArePainted()
{
    // A delegate sees which cell is painted where.
    struct Watcher : QStyledItemDelegate {
        void paint(QPainter *, const QStyleOptionViewItem &option, const QModelIndex &index) const override
        {
            cells[{index.row(), index.column()}] = option.rect;
        }
        mutable QMap<QPair<int, int>, QRect> cells;
    } watcher;
    NumberList list(1000);
    list.setItemDelegate(&watcher);
    list.showAndWait();
    for (int value : {0, 77, list.verticalScrollBar()->maximum()}) {
        list.verticalScrollBar()->setValue(value);
        watcher.cells.clear();
        list.viewport()->repaint();
        QVERIFY(watcher.cells.size() >= 2 * (list.viewport()->height() / list.rowsHeight()));
        QVERIFY(watcher.cells.size() <= 2 * (list.viewport()->height() / list.rowsHeight() + 1));
        for (auto cell = watcher.cells.constBegin(); cell != watcher.cells.constEnd(); ++cell) {
            QCOMPARE(cell.value(), list.visualRect(list.model()->index(cell.key().first, cell.key().second)));
            QCOMPARE(list.indexAt(cell.value().center()), list.model()->index(cell.key().first, cell.key().second));
        }
    }
}

void ListViewTest::textFitsItsWidthWithoutElision_data()
{
    QTest::addColumn<QString>("family");
    for (const char *family : {"DejaVu Sans", "DejaVu Sans Mono", "DejaVu Serif", "Nimbus Sans", "C059"})
        QTest::addRow("%s", family) << family;
}

void ListViewTest::textFitsItsWidthWithoutElision()
{
    QFETCH(QString, family);
    for (double size : {8.0, 9.5, 11.3, 17.0}) {
        QFont font(family);
        font.setPointSizeF(size);
        NumberList list;
        list.setFont(font);
        list.showAndWait();
        for (const char *text : {"AVAToffice", "12345:67", "WAY To. fly", "T=1.5;P=\xe9t\xe9"}) {
            list.clear();
            QListViewItem *row = list.insertItem(std::make_unique<TextItem>(QStringList{QString::fromLatin1(text)}));
            const int width = row->width(list.fontMetrics(), &list, 0);
            const auto picture = [&list](int columnWidth, int shown) {
                list.setColumnWidth(0, columnWidth);
                return list.viewport()->grab(QRect(0, 0, shown, list.rowsHeight())).toImage();
            };
            // Cut to what both show: with enough room the picture is the same.
            QCOMPARE(width, qMax(0, qCeil(QFontMetricsF(list.font()).horizontalAdvance(row->text(0)))) + 2);
            const int seen = width - 1;
            QCOMPARE(picture(width, seen), picture(width + 40, seen));
            QVERIFY(picture(width - 3, seen - 3) != picture(width + 40, seen - 3));
        }
    }
}

void ListViewTest::threeDigitsAreReadInThirtyPixels_data()
{
    QTest::addColumn<QString>("family");
    for (const char *family : {"DejaVu Sans", "Noto Sans"})
        QTest::addRow("%s", family) << family;
}

void ListViewTest::threeDigitsAreReadInThirtyPixels()
{
    QFETCH(QString, family);
    const QFont font(family, 10);
    QCOMPARE(QFontInfo(font).family(), family);
    NumberList list;
    list.setFont(font);
    list.showAndWait();
    for (const char *number : {"099", "000", "888", "417"}) {
        list.clear();
        list.insertItem(std::make_unique<TextItem>(QStringList{number}));
        list.setColumnWidth(0, 30);
        const QRect seen(0, 0, 29, list.rowsHeight());
        const QImage narrow = list.viewport()->grab(seen).toImage();
        list.setColumnWidth(0, 80);
        QCOMPARE(narrow, list.viewport()->grab(seen).toImage());
    }
}

void ListViewTest::longTextIsDrawnAsItsBeginning_data()
{
    QTest::addColumn<bool>("rightToLeft");
    QTest::newRow("left to right") << false;
    QTest::newRow("right to left") << true;
}

void ListViewTest::longTextIsDrawnAsItsBeginning()
{
    QFETCH(bool, rightToLeft);
    const QByteArray huge = QByteArray("T=23.4;flow=1;\tP=\xe9t\xe9\n").repeated(1600000);
    NumberList list;
    list.setLayoutDirection(rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
    list.showAndWait();
    const auto picture = [&list](const QByteArray &text) {
        list.clear();
        list.insertItem(std::make_unique<ByteItem>(std::vector<QByteArray>{text}));
        return list.viewport()->grab(QRect(0, 0, list.viewport()->width(), list.rowsHeight())).toImage();
    };
    for (int width : {2, 12, 30, 81, 250, 2000}) {
        list.setColumnWidth(0, width);
        const QImage shown = picture(huge);
        QCOMPARE(shown, picture(huge.left(1000)));
        QVERIFY(width < 30 || shown != picture("T"));
    }
}

void ListViewTest::rightToLeft()
{
    NumberList list(1000);
    list.setLayoutDirection(Qt::RightToLeft);
    list.showAndWait();
    const QRect first = list.visualRect(list.model()->index(0, 0));
    QCOMPARE(first.right(), list.viewport()->width() - 1);
    QCOMPARE(list.indexAt(first.center()), list.model()->index(0, 0));
    list.setColumnWidth(0, 500);
    QTRY_VERIFY(list.horizontalScrollBar()->maximum() > 0);
    list.horizontalScrollBar()->setValue(30);
    const QRect second = list.visualRect(list.model()->index(0, 1));
    QCOMPARE(list.indexAt(second.center()),
             list.indexAt(second.center()).isValid() ? list.model()->index(0, 1) : QModelIndex());
}

void ListViewTest::standingAtTheTopItFollowsRowsThatLandThere()
{
    NumberList list(1000);
    list.setSorting(0, false);
    list.showAndWait();
    list.insertItems(rowsOf(numbers(1000, 50)));
    QTRY_COMPARE(list.topText(), QString("1049"));
}

void ListViewTest::standingAtTheEndItFollowsRowsThatLandThere()
{
    NumberList list(1000);
    list.showAndWait();
    list.verticalScrollBar()->setValue(list.verticalScrollBar()->maximum());
    list.insertItems(rowsOf(numbers(1000, 50)));
    QTRY_COMPARE(list.verticalScrollBar()->value(), list.verticalScrollBar()->maximum());
    QCOMPARE(list.bottomText(), QString("1049"));
    list.insertItems(rowsOf(numbers(1050, 50)));
    list.insertItems(rowsOf({"1100"}));
    QTRY_COMPARE(list.bottomText(), QString("1100"));
    // A list that still has room shows its end as well.
    NumberList little(3);
    little.showAndWait();
    little.insertItems(rowsOf(numbers(3, 200)));
    QTRY_COMPARE(little.bottomText(), QString("202"));
}

void ListViewTest::standingInTheMiddleItKeepsItsPlace()
{
    NumberList list(1000);
    list.showAndWait();
    list.verticalScrollBar()->setValue(500);
    QCOMPARE(list.topText(), QString("500"));
    list.insertItems(rowsOf(numbers(1000, 50)));
    QCOMPARE(list.topText(), QString("500"));
    list.insertItems(rowsOf(numbers(-30, 30)));
    QCOMPARE(list.topText(), QString("500"));
    QCOMPARE(list.verticalScrollBar()->value(), 530);
    list.insertItems(rowsOf({"-100", "10", "490", "510", "2000"}));
    QCOMPARE(list.topText(), QString("500"));
    QCOMPARE(list.verticalScrollBar()->value(), 533);
    // Rows that land above the last page do not push it away.
    list.verticalScrollBar()->setValue(list.verticalScrollBar()->maximum());
    const QString top = list.topText();
    list.insertItems(rowsOf(numbers(-200, 50)));
    QCOMPARE(list.topText(), top);
}

void ListViewTest::keepsItsPlaceWhenRowsAboveGo()
{
    NumberList list(1000);
    list.showAndWait();
    list.verticalScrollBar()->setValue(500);
    list.removeItem(list.itemAt(3));
    list.removeItem(list.itemAt(900));
    QCOMPARE(list.topText(), QString("500"));
    list.removeItem(list.itemAt(499));
    QCOMPARE(list.topText(), QString("501"));
}

void ListViewTest::selectionStaysWithItsRow()
{
    NumberList list(100);
    list.setCurrentIndex(list.model()->index(40, 0));
    QListViewItem *row = list.currentItem();
    list.insertItems(rowsOf({"-5", "20", "70"}));
    QCOMPARE(list.currentItem(), row);
    list.setSorting(0, false);
    QCOMPARE(list.currentItem(), row);
    QCOMPARE(list.selectionModel()->selectedRows().size(), 1);
    QCOMPARE(list.itemAt(list.selectionModel()->selectedRows().first().row()), row);
    list.removeItem(list.itemAt(0));
    QCOMPARE(list.currentItem(), row);
}

void ListViewTest::firstLoadStaysAtTheTop()
{
    NumberList list;
    list.showAndWait();
    for (int i = 0; i < 300; ++i)
        list.insertItem(std::make_unique<TextItem>(QStringList{QString::number(i)}));
    QCOMPARE(list.topText(), QString("0"));
    QCOMPARE(list.verticalScrollBar()->value(), 0);
}

void ListViewTest::reloadStartsAtTheTop()
{
    NumberList list(1000);
    list.showAndWait();
    list.verticalScrollBar()->setValue(list.verticalScrollBar()->maximum());
    list.clear();
    list.insertItems(rowsOf(numbers(0, 2000)));
    QCOMPARE(list.topText(), QString("0"));
}

void ListViewTest::deletingTheCurrentRowSelectsItsNeighbour()
{
    NumberList list(5);
    list.showAndWait();
    list.setCurrentIndex(list.model()->index(2, 0));
    list.removeItem(list.currentItem());
    QCOMPARE(list.currentItem()->text(0), QString("3"));
    QCOMPARE(list.selectionModel()->selectedRows().size(), 1);
    list.setCurrentIndex(list.model()->index(3, 0));
    list.removeItem(list.currentItem());
    QCOMPARE(list.currentItem()->text(0), QString("3"));
    while (list.childCount() > 0)
        list.removeItem(list.currentItem());
    QVERIFY(!list.currentItem());
}

void ListViewTest::noticeStandsOverTheMiddleOfTheRowsUntilItIsTaken()
{
    NumberList list(100);
    list.showAndWait();
    const auto picture = [&list] { return list.viewport()->grab().toImage(); };
    const QImage rows = picture();
    list.setNotice(QStringLiteral("Row 1"));
    const QImage one = picture();
    QVERIFY(one != rows);
    QCOMPARE(one.copy(0, 0, one.width(), 20), rows.copy(0, 0, rows.width(), 20));
    list.setNotice(QStringLiteral("Row 2"));
    QVERIFY(picture() != one);
    QCOMPARE(picture().size(), one.size());
    list.painted = 0;
    list.setNotice({});
    QTRY_VERIFY(list.painted > 0);
    QCOMPARE(picture(), rows);
}

void ListViewTest::nothingIsRepaintedWhenNothingComes()
{
    NumberList list(100);
    list.showAndWait();
    // What showing the list has still to paint comes first.
    QVERIFY(waitForActive(&list));
    do {
        list.painted = 0;
        QCoreApplication::processEvents();
    } while (list.painted > 0);
    list.insertItems({});
    list.setSorting(0, true);
    QCoreApplication::processEvents();
    QCOMPARE(list.painted, 0);
    list.insertItems(rowsOf({"50"}));
    QTRY_VERIFY(list.painted > 0);
}

QTEST_MAIN(ListViewTest)
#include "listviewtest.moc"
