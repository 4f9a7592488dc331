// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "fontjoins.h"
#include "listview.h"
#include "textitem.h"
#include "textmeasure.h"

#include <QDateTime>
#include <QFontDatabase>
#include <QFontInfo>
#include <QRandomGenerator>
#include <QRegularExpression>
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

int plainWidth(const QFont &font, const QString &text)
{
    return qCeil(QFontMetricsF(font).horizontalAdvance(text));
}

const char *const Families[] = {"DejaVu Sans", "DejaVu Sans Mono",  "DejaVu Serif",    "Liberation Serif", "Noto Sans",
                                "Lato",        "Cantarell",         "Nimbus Roman",    "EB Garamond",      "Fira Code",
                                "Inter",       "Linux Libertine O", "Linux Biolinum O"};

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
    QLatin1String latin1(int column) const override
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

QStringList installedFamilies()
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    return QFontDatabase().families();
#else
    return QFontDatabase::families();
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
    void digitsAlikeMeansOneWidth_data();
    void digitsAlikeMeansOneWidth();
    void commonFontsAreTakenApart_data();
    void commonFontsAreTakenApart();
    void textsBeyondLatin1AreMeasured();
    void longTextsAreMeasured();
    void spacedAndStretchedFonts();
    void widestIsThatOfThePlainWay_data();
    void widestIsThatOfThePlainWay();
    void widestOfAnEmptyList();
    void widestFollowsTheFont();
    void veryWideTextsCount();
    void textsThatChangeBehindTheList();
};

/** The families of the list above that are installed. */
static QStringList testedFamilies()
{
    QStringList tested;
    const QStringList installed = installedFamilies();
    for (const char *family : Families)
        tested += installed.filter(QRegularExpression(QString("^%1( \\[.*)?$").arg(family)));
    return tested;
}

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
    const QStringList families = testedFamilies();
    QVERIFY2(families.size() >= 5, qPrintable("there are only " + families.join(", ")));
    int fixed = 0;
    int proportional = 0;
    int kerning = 0;
    for (const QString &family : families) {
        const QFont font(family, 40);
        QCOMPARE(QFontInfo(font).family(), family);
        const QFontMetricsF metrics(font);
        (metrics.horizontalAdvance("iiii") == metrics.horizontalAdvance("WWWW") ? fixed : proportional) += 1;
        kerning += kerns(font) ? 1 : 0;
    }
    QVERIFY(fixed >= 1);
    QVERIFY(proportional >= 2);
    QVERIFY(kerning >= 2);
}

static void addFonts()
{
    QTest::addColumn<QFont>("font");
    for (const QString &name : testedFamilies()) {
        for (double size : {9.0, 10.5}) {
            QFont font(name);
            font.setPointSizeF(size);
            QTest::addRow("%s %g", qPrintable(name), size) << font;
        }
        QFont slanted(name, 11);
        slanted.setBold(true);
        slanted.setItalic(true);
        QTest::addRow("%s bold italic", qPrintable(name)) << slanted;
    }
}

void TextWidthsTest::sumIsWhatTheFontSays_data()
{
    addFonts();
}

void TextWidthsTest::sumIsWhatTheFontSays()
{
    QFETCH(QFont, font);
    QRandomGenerator random(4);
    TextMeasure measure(font, QFontMetricsF(font));
    for (int i = 0; i < 400; ++i) {
        const QByteArray bytes = randomText(random);
        const QString text = QString::fromLatin1(bytes);
        const int plain = plainWidth(font, text);
        QVERIFY2(measure.width(text) == plain, bytes.toHex());
        QCOMPARE(measure.width(QLatin1String(bytes.constData(), bytes.size())), plain);
    }
}

void TextWidthsTest::digitsAlikeMeansOneWidth_data()
{
    addFonts();
}

void TextWidthsTest::digitsAlikeMeansOneWidth()
{
    QFETCH(QFont, font);
    QRandomGenerator random(5);
    TextMeasure measure(font, QFontMetricsF(font));
    for (const char *pattern : {"0", "000", "-00", "Tue Nov 0 00:00:00 0000", "T=0.0;P=00", "0/0", "f0i1"}) {
        const QString sample(pattern);
        if (!measure.digitsAlike(sample))
            continue;
        const int width = plainWidth(font, sample);
        for (int i = 0; i < 60; ++i) {
            QString text = sample;
            for (QChar &c : text)
                if (c.isDigit())
                    c = QChar('0' + random.bounded(10));
            QCOMPARE(plainWidth(font, text), width);
        }
    }
}

void TextWidthsTest::commonFontsAreTakenApart_data()
{
    QTest::addColumn<QString>("family");
    for (const char *family : {"DejaVu Sans", "DejaVu Sans Mono", "DejaVu Serif", "Liberation Sans", "Noto Sans"})
        if (installedFamilies().contains(family))
            QTest::addRow("%s", family) << QString(family);
}

/** Whether the font sets every digit as wide as any other beside these characters. */
static bool digitsAreAlikeBeside(const QFont &font, const QString &neighbours)
{
    const QFontMetricsF metrics(font);
    for (const QChar c : neighbours) {
        for (char d = '0'; d <= '9'; ++d) {
            const QChar digit = QLatin1Char(d);
            if (metrics.horizontalAdvance(QString(c) + digit) != metrics.horizontalAdvance(QString(c) + '0') ||
                metrics.horizontalAdvance(QString(digit) + c) != metrics.horizontalAdvance(QString('0') + c))
                return false;
        }
    }
    return true;
}

void TextWidthsTest::commonFontsAreTakenApart()
{
    QFETCH(QString, family);
    const QFont font(family);
    QVERIFY(FontJoins::of(font).pairwise);
    TextMeasure measure(font, QFontMetricsF(font));
    QCOMPARE(measure.digitsAlike("Tue Nov 21 00:31:00 2026"), digitsAreAlikeBeside(font, " :0123456789"));
    QCOMPARE(measure.digitsAlike("000123"), digitsAreAlikeBeside(font, "0123456789"));
}

void TextWidthsTest::textsBeyondLatin1AreMeasured()
{
    const QFont font("DejaVu Sans", 10);
    TextMeasure measure(font, QFontMetricsF(font));
    for (const char *text : {"\xd0\x94\xd0\xb0", "a\xcc\x81", "\xe2\x82\xac 12", "\xd7\xa9\xd7\x9c"}) {
        const QString wide = QString::fromUtf8(text);
        QCOMPARE(measure.width(wide), plainWidth(font, wide));
        QVERIFY(!measure.digitsAlike(wide));
    }
    QCOMPARE(measure.width(QString()), 0);
    QCOMPARE(measure.width(QLatin1String()), 0);
}

void TextWidthsTest::longTextsAreMeasured()
{
    const QFont font("DejaVu Sans", 10);
    TextMeasure measure(font, QFontMetricsF(font));
    for (int length : {1999, 2000, 2001, 4095, 4097, 9000}) {
        const QString text = QString("AV.To1").repeated(length / 6) + QString("f").repeated(length % 6);
        QCOMPARE(measure.width(text), plainWidth(font, text));
        QVERIFY(length <= 2000 || !measure.digitsAlike(text));
    }
}

void TextWidthsTest::spacedAndStretchedFonts()
{
    QRandomGenerator random(6);
    QVector<QFont> fonts(6, QFont("DejaVu Serif", 10));
    fonts[0].setLetterSpacing(QFont::AbsoluteSpacing, 1.5);
    fonts[1].setLetterSpacing(QFont::PercentageSpacing, 130);
    fonts[2].setWordSpacing(4);
    fonts[3].setCapitalization(QFont::SmallCaps);
    fonts[4].setKerning(false);
    fonts[5].setStretch(QFont::Expanded);
    for (const QFont &font : std::as_const(fonts)) {
        TextMeasure measure(font, QFontMetricsF(font));
        for (int i = 0; i < 500; ++i) {
            const QString text = QString::fromLatin1(randomText(random));
            QCOMPARE(measure.width(text), plainWidth(font, text));
        }
    }
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
