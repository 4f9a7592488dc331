// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "textmeasure.h"

#include <algorithm>
#include <limits>

namespace
{

constexpr int UnitsPerPixel = 64;
// Wider than anything that is shown, and far enough from overflowing.
constexpr qint64 WidestPixels = std::numeric_limits<int>::max() / 2;
// The toolkit needs some hundred bytes for each character that it measures at a time.
constexpr int LongestMeasured = 10000;

const QChar Ellipsis(0x2026);

bool isControl(QChar character)
{
    return character.category() == QChar::Other_Control || character == QChar::LineSeparator ||
           character == QChar::ParagraphSeparator;
}

qint64 measured(const QFontMetricsF &metrics, const QString &text)
{
    return qRound64(metrics.horizontalAdvance(text) * UnitsPerPixel);
}

qint64 measuredInParts(const QFontMetricsF &metrics, const QString &text)
{
    qint64 units = 0;
    for (int from = 0; from < text.size(); from += LongestMeasured)
        units += measured(metrics, text.mid(from, LongestMeasured));
    return units;
}

int pixels(qint64 units)
{
    // Fonts with a negative letter spacing can go below 0.
    return int(std::clamp<qint64>((units + UnitsPerPixel - 1) / UnitsPerPixel, 0, WidestPixels));
}

} // namespace

TextMeasure::TextMeasure(const QFont &font, const QFontMetricsF &metrics)
    : m_metrics(metrics)
{
    for (int c = 0; c < 256; ++c)
        m_advances[size_t(c)] = int(measured(metrics, shown(QChar(c))));
    // Fonts that add to a run of blanks, or shape all the same, show in this.
    const QString probe = QStringLiteral("AVATAR To. office fjord  1/2 --> !=");
    m_summable = (font.styleStrategy() & QFont::PreferNoShaping) && sum(probe) == measured(metrics, probe);
}

int TextMeasure::width(QLatin1String text) const
{
    if (!m_summable)
        return width(QString(text));
    qint64 units = 0;
    for (const char c : text)
        units += m_advances[uchar(c)];
    return pixels(units);
}

int TextMeasure::width(const QString &text) const
{
    return isSummable(text) ? pixels(sum(text)) : measuredWidth(m_metrics, text);
}

int TextMeasure::measuredWidth(const QFontMetricsF &metrics, const QString &text)
{
    return pixels(measuredInParts(metrics, shown(text)));
}

bool TextMeasure::digitsAlike() const
{
    const auto *digits = &m_advances['0'];
    return m_summable && std::all_of(digits, digits + 10, [digits](int width) { return width == *digits; });
}

QString TextMeasure::cut(const QString &text, int room) const
{
    if (!isSummable(text))
        return QFontMetricsF(m_metrics).elidedText(shown(text), Qt::ElideRight, room);
    qint64 left = qint64(room) * UnitsPerPixel - measured(m_metrics, Ellipsis);
    if (left < 0)
        return {};
    int count = 0;
    while (count < text.size() && (left -= m_advances[text.at(count).unicode()]) >= 0)
        ++count;
    return shown(text.left(count)) + Ellipsis;
}

QString TextMeasure::shown(QString text)
{
    std::replace_if(text.begin(), text.end(), isControl, QLatin1Char(' '));
    return text;
}

bool TextMeasure::isSummable(const QString &text) const
{
    return m_summable && std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 256; });
}

/** The width of a text of Latin-1 in units. */
qint64 TextMeasure::sum(const QString &text) const
{
    qint64 units = 0;
    for (const QChar c : text)
        units += m_advances[c.unicode()];
    return units;
}
