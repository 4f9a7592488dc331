// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "celltext.h"
#include "listview.h"
#include "textitem.h"
#include "textmeasure.h"

#include <QApplication>
#include <QDateTime>
#include <QFontDatabase>
#include <QRandomGenerator>
#include <QTest>
#include <QTimeZone>
#include <QtMath>
#include <utility>

namespace
{

QByteArray randomBytes(QRandomGenerator &random, int from, int to, int length)
{
    QByteArray bytes;
    for (int i = 0; i < length; ++i)
        bytes += char(random.bounded(from, to));
    return bytes;
}

/** Texts of all sorts: plain, accented, digits, words that ligatures like, kerned pairs, control characters. */
QByteArray randomText(QRandomGenerator &random)
{
    static const char *const words[] = {"office", "fluffy", "AVATAR", "To.", "Ty,",   "WAVE", "ffi", "fj", "ij",
                                        "l\xb7l", "1/2",    "--->",   "!==", "f\xef", "0x7f", "P.",  "Qu", "Th",
                                        "T=23.4", "fb",     "ct",     "st",  "f",     "i",    "+-",  ":",  "<="};
    switch (random.bounded(8)) {
    case 0:
        return randomBytes(random, 0x20, 0x7f, random.bounded(30));
    case 1:
        return randomBytes(random, 0xa0, 0x100, random.bounded(30));
    case 2:
        return randomBytes(random, '0', '9' + 1, random.bounded(12));
    case 3:
        return randomBytes(random, 1, 0x100, random.bounded(6));
    case 4:
        return QByteArray::number(random.bounded(1000)) + "=" + QByteArray::number(random.bounded(1.0)) + ";";
    default: {
        QByteArray text;
        for (int i = random.bounded(6); i >= 0; --i)
            text += words[random.bounded(int(sizeof words / sizeof *words))] +
                    randomBytes(random, ' ', 0x7f, random.bounded(3));
        return text;
    }
    }
}

/** The font as a list has it. */
QFont unshaped(QFont font)
{
    font.setStyleStrategy(QFont::PreferNoShaping);
    return font;
}

/** What the toolkit says of the text as it is shown: in one line, control characters as blanks. */
int plainWidth(const QFont &font, QString text)
{
    for (QChar &c : text)
        if (c.unicode() < 0x20 || (c.unicode() >= 0x7f && c.unicode() < 0xa0))
            c = QLatin1Char(' ');
    return qMax(0, qCeil(QFontMetricsF(font).horizontalAdvance(text)));
}

/** A row as the windows make them: it tells the classes of its number and its date. */
class RecordItem : public QListViewItem
{
public:
    RecordItem(int number, QByteArray name, qint64 time, QByteArray parameters)
        : m_number(number)
        , m_name(std::move(name))
        , m_time(time)
        , m_parameters(std::move(parameters))
    {
    }

    QString text(int column) const override
    {
        switch (column) {
        case 0:
            return QString::number(m_number);
        case 1:
            return QString::fromLatin1(m_name);
        case 2:
            return QDateTime::fromSecsSinceEpoch(m_time, QTimeZone::utc()).toString("ddd MMM d HH:mm:ss yyyy");
        default:
            return QString::fromLatin1(m_parameters);
        }
    }
    qint64 number(int column) const override
    {
        return column == 0 ? m_number : column == 2 ? m_time : 0;
    }
    QLatin1String latin1(int column, int) const override
    {
        return column == 3 ? QLatin1String(m_parameters.constData(), m_parameters.size()) : QLatin1String();
    }
    TextClass textClass(int column) const override
    {
        switch (column) {
        case 0:
            return {quint64(QString::number(m_number).size()), true};
        case 1:
            return {1 + qHash(m_name), false};
        case 2: {
            const QDate day = QDateTime::fromSecsSinceEpoch(m_time, QTimeZone::utc()).date();
            return {quint64(1 + day.dayOfWeek() + 8 * day.month() + 200 * (day.day() > 9 ? 1 : 0)), true};
        }
        default:
            return {};
        }
    }

private:
    int m_number;
    QByteArray m_name;
    qint64 m_time;
    QByteArray m_parameters;
};

/** What can show the texts of records. A family without these letters shows them in another one that is listed. */
QStringList installedFamilies()
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    return QFontDatabase().families(QFontDatabase::Latin);
#else
    return QFontDatabase::families(QFontDatabase::Latin);
#endif
}

} // namespace

class TextWidthsTest : public QObject
{
    Q_OBJECT
private slots:
    void fontsOfAllKindsAreInstalled();
    void sumIsWhatTheFontSays_data();
    void sumIsWhatTheFontSays();
    void sumIsWhatAVariedFontSays_data();
    void sumIsWhatAVariedFontSays();
    void shapedFontsAreMeasuredWhole_data();
    void shapedFontsAreMeasuredWhole();
    void digitsAlikeMeansOneWidth_data();
    void digitsAlikeMeansOneWidth();
    void textsBeyondLatin1AreMeasured();
    void controlCharactersAreBlanks();
    void longTextsAreMeasured();
    void cutTextsFit_data();
    void cutTextsFit();
    void whatIsCutFollowsTheRoom();
    void listHasItsFontThroughEveryChange();
    void widestIsThatOfThePlainWay_data();
    void widestIsThatOfThePlainWay();
    void widestOfAnEmptyList();
    void widestFollowsTheFont();
    void veryWideTextsCount();
    void longTextsAreMeasuredOnce();
    void textsThatChangeBehindTheList();
};

/** Whether the font moves the V of "AV" under the A. */
static bool kerns(const QFont &font)
{
    QFont without(font);
    without.setKerning(false);
    return QFontMetricsF(font).horizontalAdvance("AVAVAV") < QFontMetricsF(without).horizontalAdvance("AVAVAV");
}

// The rows of the tests below are those of the fonts that the machine has: too few prove too little.
void TextWidthsTest::fontsOfAllKindsAreInstalled()
{
    int fixed = 0;
    int proportional = 0;
    int kerning = 0;
    for (const QString &family : installedFamilies()) {
        const QFont font(family, 40);
        const QFontMetricsF metrics(font);
        (metrics.horizontalAdvance("iiii") == metrics.horizontalAdvance("WWWW") ? fixed : proportional) += 1;
        kerning += kerns(font) ? 1 : 0;
    }
    QVERIFY(fixed >= 2);
    QVERIFY(proportional >= 5);
    QVERIFY(kerning >= 3);
}

static void addFonts()
{
    QTest::addColumn<QFont>("font");
    for (const QString &name : installedFamilies()) {
        for (double size : {9.0, 10.5}) {
            QFont font(name);
            font.setPointSizeF(size);
            QTest::addRow("%s %g", qPrintable(name), size) << unshaped(font);
        }
        QFont slanted(name, 11);
        slanted.setBold(true);
        slanted.setItalic(true);
        QTest::addRow("%s bold italic", qPrintable(name)) << unshaped(slanted);
    }
}

static void compareWithThePlainWay(const QFont &font, int texts)
{
    QRandomGenerator random(4);
    const TextMeasure measure(font, QFontMetricsF(font));
    for (int i = 0; i < texts; ++i) {
        const QByteArray bytes = randomText(random);
        const QString text = QString::fromLatin1(bytes);
        const int plain = plainWidth(font, text);
        QVERIFY2(measure.width(text) == plain, bytes.toHex());
        QCOMPARE(measure.width(QLatin1String(bytes.constData(), bytes.size())), plain);
    }
}

void TextWidthsTest::sumIsWhatTheFontSays_data()
{
    addFonts();
}

void TextWidthsTest::sumIsWhatTheFontSays()
{
    QFETCH(QFont, font);
    compareWithThePlainWay(font, 400);
    // The characters were measured one by one: there is no kerning to be missed.
    QVERIFY2(TextMeasure(font, QFontMetricsF(font)).width(QStringLiteral("AVAVAV")) ==
                 qCeil(3 * (QFontMetricsF(font).horizontalAdvance('A') + QFontMetricsF(font).horizontalAdvance('V'))),
             "the toolkit shapes this font all the same");
}

void TextWidthsTest::sumIsWhatAVariedFontSays_data()
{
    QTest::addColumn<QFont>("font");
    for (const QString &name : installedFamilies()) {
        QVector<QFont> fonts(10, QFont(name, 10));
        fonts[0].setLetterSpacing(QFont::AbsoluteSpacing, 1.5);
        fonts[1].setLetterSpacing(QFont::PercentageSpacing, 130);
        fonts[2].setLetterSpacing(QFont::AbsoluteSpacing, -2);
        fonts[3].setWordSpacing(4);
        fonts[4].setCapitalization(QFont::SmallCaps);
        fonts[5].setCapitalization(QFont::AllUppercase);
        fonts[6].setKerning(false);
        fonts[7].setStretch(QFont::Expanded);
        fonts[8].setHintingPreference(QFont::PreferNoHinting);
        fonts[9].setPixelSize(33);
        for (int i = 0; i < fonts.size(); ++i)
            QTest::addRow("%s %d", qPrintable(name), i) << unshaped(fonts[i]);
    }
}

void TextWidthsTest::sumIsWhatAVariedFontSays()
{
    QFETCH(QFont, font);
    compareWithThePlainWay(font, 150);
}

void TextWidthsTest::shapedFontsAreMeasuredWhole_data()
{
    QTest::addColumn<QFont>("font");
    for (const QString &name : installedFamilies())
        QTest::addRow("%s", qPrintable(name)) << QFont(name, 10);
}

void TextWidthsTest::shapedFontsAreMeasuredWhole()
{
    QFETCH(QFont, font);
    compareWithThePlainWay(font, 100);
    QVERIFY(!TextMeasure(font, QFontMetricsF(font)).digitsAlike());
}

void TextWidthsTest::digitsAlikeMeansOneWidth_data()
{
    addFonts();
}

void TextWidthsTest::digitsAlikeMeansOneWidth()
{
    QFETCH(QFont, font);
    QRandomGenerator random(5);
    const QFontMetricsF metrics(font);
    bool alike = true;
    for (char d = '1'; d <= '9'; ++d)
        alike = alike && metrics.horizontalAdvance(QLatin1Char(d)) == metrics.horizontalAdvance('0');
    QCOMPARE(TextMeasure(font, metrics).digitsAlike(), alike);
    const QString cyrillic = QString::fromUtf8("\xd0\x92\xd1\x82 \xd0\xbd\xd0\xbe\xd1\x8f 00 00:00:00 0000");
    for (const QString &sample : {QString("000"), QString("Tue Nov 0 00:00:00 0000"), QString("f0i1"), cyrillic}) {
        const int width = plainWidth(font, sample);
        for (int i = 0; alike && i < 60; ++i) {
            QString text = sample;
            for (QChar &c : text)
                if (c.isDigit())
                    c = QChar('0' + random.bounded(10));
            QCOMPARE(plainWidth(font, text), width);
        }
    }
}

void TextWidthsTest::textsBeyondLatin1AreMeasured()
{
    const QFont font = unshaped(QFont("DejaVu Sans", 10));
    const TextMeasure measure(font, QFontMetricsF(font));
    for (const char *text :
         {"\xd0\x94\xd0\xb0", "a\xcc\x81", "\xe2\x82\xac 12", "\xd7\xa9\xd7\x9c", "\xd8\xb3\xd9\x84\xd8\xa7\xd9\x85"}) {
        const QString wide = QString::fromUtf8(text);
        QCOMPARE(measure.width(wide), plainWidth(font, wide));
    }
    QCOMPARE(measure.width(QString()), 0);
    QCOMPARE(measure.width(QLatin1String()), 0);
}

void TextWidthsTest::controlCharactersAreBlanks()
{
    QCOMPARE(TextMeasure::shown(QString::fromLatin1("a\tb\nc\x9c\0d", 8)), QString("a b c  d"));
    QCOMPARE(TextMeasure::shown(QString("a") + QChar(0x2028) + QChar(0xe9)), QString("a ") + QChar(0xe9));
    const QFont font = unshaped(QFont("DejaVu Sans", 10));
    const TextMeasure measure(font, QFontMetricsF(font));
    // The toolkit takes the one for a tab, the other for the end of the text.
    QCOMPARE(measure.width(QLatin1String("a\tb\x9cMMM")), measure.width(QLatin1String("a b MMM")));
}

void TextWidthsTest::longTextsAreMeasured()
{
    const QFont font = unshaped(QFont("DejaVu Sans", 10));
    QFont spaced(font);
    spaced.setWordSpacing(2);
    for (const QFont &tried : {font, spaced}) {
        const TextMeasure measure(tried, QFontMetricsF(tried));
        for (int length : {1999, 4097, 9000, 30000}) {
            const QString text = QString("AV.To1").repeated(length / 6) + QString("f").repeated(length % 6);
            QCOMPARE(measure.width(text), plainWidth(tried, text));
        }
    }
    const TextMeasure measure(font, QFontMetricsF(font));
    const QByteArray huge(300000000, 'W');
    QVERIFY(measure.width(QLatin1String(huge.constData(), huge.size())) > 1000000000);
}

void TextWidthsTest::cutTextsFit_data()
{
    addFonts();
}

void TextWidthsTest::cutTextsFit()
{
    QFETCH(QFont, font);
    const TextMeasure measure(font, QFontMetricsF(font));
    QRandomGenerator random(9);
    const int dots = measure.width(QString(QChar(0x2026)));
    for (int i = 0; i < 100; ++i) {
        const QString text = QString::fromLatin1(randomText(random));
        const int room = random.bounded(measure.width(text) + 1);
        const QString cut = measure.cut(text, room);
        QVERIFY(measure.width(cut) <= room);
        QCOMPARE(cut.isEmpty(), room < dots);
        QVERIFY(cut.isEmpty() || cut.endsWith(QChar(0x2026)));
        QVERIFY(cut.isEmpty() || TextMeasure::shown(text).startsWith(cut.chopped(1)));
        // The toolkit's own cutting, beyond Latin-1, does not count the last part of a pixel.
        const QString beyond = 'x' + text + QChar(0x416);
        QVERIFY(measure.width(measure.cut(beyond, room)) <= room + 1);
    }
}

void TextWidthsTest::whatIsCutFollowsTheRoom()
{
    // 32 MB, of which some hundred bytes are looked at.
    const QByteArray huge = QByteArray("T=23.4;flow=1;").repeated(2400000);
    const QFont font = unshaped(QFont("DejaVu Sans", 10));
    const TextMeasure measure(font, QFontMetricsF(font));
    ListView list;
    list.addColumn("A", 200);
    for (const int width : {2, 5, 30, 200, 1000}) {
        const ByteItem whole({huge});
        const ByteItem start({huge.left(4 * width + 20)});
        const CellText cut = cellText(whole, 0, measure, width);
        QVERIFY(cut.cut);
        QCOMPARE(cut.text, cellText(start, 0, measure, width).text);
        QVERIFY(cut.text.size() <= width);
    }
    const TextItem fits({"12"});
    QVERIFY(!cellText(fits, 0, measure, 30).cut);
    QCOMPARE(cellText(fits, 0, measure, 30).text, QString("12"));
    QVERIFY(cellText(fits, 0, measure, measure.width(QString("12")) + 1).cut);
    QVERIFY(!cellText(fits, 0, measure, measure.width(QString("12")) + 2).cut);
    // What takes no room at all is not looked for to the end either.
    const ByteItem nothing({QByteArray(1 << 20, char(0xad))});
    QVERIFY(cellText(nothing, 0, measure, 100).cut);
}

void TextWidthsTest::listHasItsFontThroughEveryChange()
{
    const auto isUnshaped = [](const QWidget &list) {
        return (list.font().styleStrategy() & QFont::PreferNoShaping) != 0;
    };
    QWidget window;
    ListView list(&window);
    list.addColumn("A");
    list.insertItems(rowsOf({"AVAVAV To."}));
    QVERIFY(isUnshaped(list));
    const QFont before = QApplication::font();
    QApplication::setFont(QFont("DejaVu Serif", 17));
    // Qt 6 tells the widgets later.
    QTRY_COMPARE(list.font().family(), QString("DejaVu Serif"));
    QVERIFY(isUnshaped(list));
    QCOMPARE(list.font().pointSize(), 17);
    QCOMPARE(list.maximumTextWidth(0), plainWidth(list.font(), "AVAVAV To.") + 2);
    window.setFont(QFont("DejaVu Sans Mono", 8));
    QVERIFY(isUnshaped(list));
    QCOMPARE(list.font().family(), QString("DejaVu Sans Mono"));
    QCOMPARE(list.maximumTextWidth(0), plainWidth(list.font(), "AVAVAV To.") + 2);
    list.setFont(QFont("DejaVu Sans", 12));
    QVERIFY(isUnshaped(list));
    QCOMPARE(list.font().pointSize(), 12);
    QCOMPARE(list.viewport()->font(), list.font());
    QCOMPARE(list.maximumTextWidth(0), plainWidth(list.font(), "AVAVAV To.") + 2);
    QApplication::setFont(before);
    QVERIFY(isUnshaped(list));
}

void TextWidthsTest::widestIsThatOfThePlainWay_data()
{
    addFonts();
}

void TextWidthsTest::widestIsThatOfThePlainWay()
{
    QFETCH(QFont, font);
    QRandomGenerator random(7);
    ListView list;
    for (const char *heading : {"N", "Name", "Time", "Parameters"})
        list.addColumn(heading);
    for (int column : {0, 2})
        list.setColumnSortKey(column, ListView::SortKey::Number);
    const auto compare = [&list] {
        for (int column = 0; column < list.columns(); ++column) {
            int widest = 0;
            for (int row = 0; row < list.childCount(); ++row)
                widest = qMax(widest, list.itemAt(row)->width(list.fontMetrics(), &list, column));
            QCOMPARE(list.maximumTextWidth(column), widest);
        }
    };
    const auto rows = [&random](int count) {
        ListView::Rows all;
        for (int i = 0; i < count; ++i)
            all.push_back(std::make_unique<RecordItem>(random.bounded(1, 1 << random.bounded(1, 20)),
                                                       randomText(random), qint64(random.bounded(2000000000)),
                                                       randomText(random) + randomText(random)));
        return all;
    };
    list.setFont(font);
    list.insertItems(rows(60));
    compare();
    list.insertItems(rows(20));
    list.insertItem(std::move(rows(1).front()));
    compare();
    // The widest rows go one after the other.
    for (int i = 0; i < 12; ++i) {
        const int column = i % 4;
        QListViewItem *widest = list.itemAt(0);
        for (int row = 0; row < list.childCount(); ++row)
            if (list.itemAt(row)->width(list.fontMetrics(), &list, column) == list.maximumTextWidth(column))
                widest = list.itemAt(row);
        list.removeItem(widest);
        compare();
    }
    for (int column : {3, 0, 1, 2}) {
        list.setSorting(column, column == 2);
        compare();
    }
    // What goes and comes between rows that were sorted anew.
    for (int i = 0; i < 10; ++i)
        list.removeItem(list.itemAt(random.bounded(list.childCount())));
    compare();
    list.insertItems(rows(15));
    compare();
    QFont other("DejaVu Sans");
    other.setPointSizeF(font.pointSizeF() + 2);
    list.setFont(other);
    compare();
    list.setFont(font);
    compare();
    list.clear();
    list.insertItems(rows(50));
    compare();
}

void TextWidthsTest::widestOfAnEmptyList()
{
    ListView list;
    list.addColumn("A");
    QCOMPARE(list.maximumTextWidth(0), 0);
    list.insertItems(rowsOf({""}));
    QCOMPARE(list.maximumTextWidth(0), 2);
    QCOMPARE(list.maximumTextWidth(1), 0);
    QCOMPARE(list.maximumTextWidth(-1), 0);
    list.removeItem(list.firstChild());
    QCOMPARE(list.maximumTextWidth(0), 0);
}

void TextWidthsTest::widestFollowsTheFont()
{
    ListView list;
    list.addColumn("A");
    list.insertItems(rowsOf({"iiiiiiiiiiiiiiiiiiii", "WWWWWWWWWW"}));
    QFont font("DejaVu Sans Mono", 10);
    list.setFont(font);
    QCOMPARE(list.maximumTextWidth(0), list.itemAt(1)->width(list.fontMetrics(), &list, 0));
    font.setFamily("DejaVu Sans");
    font.setPointSize(20);
    list.setFont(font);
    QCOMPARE(list.maximumTextWidth(0), list.itemAt(0)->width(list.fontMetrics(), &list, 0));
    QCOMPARE(list.itemAt(0)->text(0), QString("WWWWWWWWWW"));
}

void TextWidthsTest::veryWideTextsCount()
{
    ListView list;
    list.addColumn("A");
    list.insertItems(rowsOf({"0", QString(50000, 'W'), QString(50001, 'W'), QString(50000, 'W')}));
    for (int row : {3, 2, 1, 0}) {
        const int widest = list.itemAt(row)->width(list.fontMetrics(), &list, 0);
        QCOMPARE(list.maximumTextWidth(0), widest);
        list.removeItem(list.itemAt(row));
    }
    QCOMPARE(list.maximumTextWidth(0), 0);
}

void TextWidthsTest::longTextsAreMeasuredOnce()
{
    struct Counting : QListViewItem {
        QString text(int) const override
        {
            ++asked;
            return QString(100000, 'W');
        }
        qint64 number(int) const override
        {
            return 0;
        }
        mutable int asked = 0;
    };
    ListView list;
    list.addColumn("A");
    list.setColumnSortKey(0, ListView::SortKey::Number);
    list.insertItems(rowsOf({"5", "7"}));
    auto *row = static_cast<Counting *>(list.insertItem(std::make_unique<Counting>()));
    QCOMPARE(row->asked, 1);
    QVERIFY(list.maximumTextWidth(0) > 100000);
    int asked = 0;
    connect(list.model(), &QAbstractItemModel::rowsAboutToBeRemoved, this, [&] { asked = row->asked; });
    list.removeItem(row);
    QCOMPARE(asked, 1);
    QVERIFY(list.maximumTextWidth(0) < 100);
}

void TextWidthsTest::textsThatChangeBehindTheList()
{
    struct Changing : QListViewItem {
        QString text(int) const override
        {
            return shown;
        }
        QString shown = "a text before";
    };
    ListView list;
    list.addColumn("A");
    auto *row = static_cast<Changing *>(list.insertItem(std::make_unique<Changing>()));
    list.insertItem(std::make_unique<Changing>());
    row->shown = "a text after it changed";
    list.removeItem(row);
    QCOMPARE(list.maximumTextWidth(0), list.firstChild()->width(list.fontMetrics(), &list, 0));
}

QTEST_MAIN(TextWidthsTest)
#include "textwidthstest.moc"
