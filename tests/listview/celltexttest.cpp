// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What a cell's text becomes in a tool tip and in the clipboard.
#include "celltext.h"
#include "textitem.h"

#include <QTest>
#include <QTextDocument>

class CellTextTest : public QObject
{
    Q_OBJECT
private slots:
    void toolTipIsTheTextInLines_data();
    void toolTipIsTheTextInLines();
    void toolTipOfAnEnormousTextIsItsBeginning();
    void toolTipIsPlain();
    void lineOfATable_data();
    void lineOfATable();
};

void CellTextTest::toolTipIsTheTextInLines_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    const QString full(100, 'x');
    QTest::newRow("nothing") << QString() << QString();
    QTest::newRow("short") << "a text"
                           << "a text";
    QTest::newRow("a full line") << full << full;
    QTest::newRow("one more") << full + 'y' << full + "\ny";
    QTest::newRow("broken at a blank") << "a b " + full << "a b \n" + full;
    QTest::newRow("broken at a semicolon") << "T=1;" + full << "T=1;\n" + full;
    QTest::newRow("its own lines") << "one\n\ntwo\n"
                                   << "one\n\ntwo";
    QTest::newRow("a long line of its own") << full + "\ntwo" << full + "\ntwo";
    QTest::newRow("other control characters") << QString::fromLatin1("a\tb\x9c.") << "a b .";
    QTest::newRow("exactly all lines") << (full + '\n').repeated(20) << (full + '\n').repeated(20).chopped(1);
    QTest::newRow("one line too many") << (full + '\n').repeated(21)
                                       << (full + '\n').repeated(20).chopped(1) + QChar(0x2026);
}

void CellTextTest::toolTipIsTheTextInLines()
{
    QFETCH(QString, text);
    QFETCH(QString, expected);
    QCOMPARE(toolTipText(text), expected);
    QCOMPARE(toolTipText(TextItem({text}), 0), expected);
}

void CellTextTest::toolTipOfAnEnormousTextIsItsBeginning()
{
    const ByteItem huge({QByteArray(32 << 20, 'x')});
    const QString tip = toolTipText(huge, 0);
    QCOMPARE(tip, toolTipText(QString(3000, 'x')));
    QVERIFY(tip.size() < 2100);
    QVERIFY(tip.endsWith(QChar(0x2026)));
}

void CellTextTest::toolTipIsPlain()
{
    for (const char *text : {"<b>bold</b>", "<img src='/etc/passwd'>", "a < b && c > d", "<!DOCTYPE html>"}) {
        const QString tip = toolTipText(QString(text));
        QTextDocument shown;
        Qt::mightBeRichText(tip) ? shown.setHtml(tip) : shown.setPlainText(tip);
        QCOMPARE(shown.toPlainText(), QString(text));
    }
}

void CellTextTest::lineOfATable_data()
{
    QTest::addColumn<QStringList>("cells");
    QTest::addColumn<QString>("expected");
    QTest::newRow("one") << QStringList{"a"} << "a";
    QTest::newRow("several") << QStringList{"007", "pump 1", "", "T=1;P=2"} << "007\tpump 1\t\tT=1;P=2";
    QTest::newRow("a tab") << QStringList{"a\tb", "c"} << "\"a\tb\"\tc";
    QTest::newRow("line breaks") << QStringList{"a\nb", "c\rd", "e"} << "\"a\nb\"\t\"c\rd\"\te";
    QTest::newRow("quotes") << QStringList{"say \"hello\"", "\""} << "\"say \"\"hello\"\"\"\t\"\"\"\"";
    QTest::newRow("only what needs it") << QStringList{"a,b", "it's", " c "} << "a,b\tit's\t c ";
}

void CellTextTest::lineOfATable()
{
    QFETCH(QStringList, cells);
    QFETCH(QString, expected);
    QCOMPARE(tableLine(cells), expected);
}

QTEST_GUILESS_MAIN(CellTextTest)
#include "celltexttest.moc"
