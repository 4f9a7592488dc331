// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QFont>
#include <QFontMetricsF>
#include <QString>
#include <array>

/**
 * Widths of texts in one font, each exactly what the font's metrics say.
 *
 * Measuring a text costs microseconds, and a list has millions. In a font with
 * QFont::PreferNoShaping a text is as wide as its characters, so each of Latin-1
 * is measured once and texts are summed up. Texts beyond Latin-1, and fonts for
 * which that does not hold, are measured whole.
 */
class TextMeasure
{
public:
    /** The metrics are those of the font on the widget that shows it. */
    TextMeasure(const QFont &font, const QFontMetricsF &metrics);

    /** Pixels, rounded up and at least 0, that a text takes when it is shown. */
    int width(QLatin1String text) const;
    int width(const QString &text) const;
    /** The same in any font, measured whole. */
    static int measuredWidth(const QFontMetricsF &metrics, const QString &text);

    /** Whether texts that differ in nothing but digits are of one width. */
    bool digitsAlike() const;

    /** The beginning of a text as shown, and "…", which together fit into so many pixels; nothing if "…" does not. */
    QString cut(const QString &text, int room) const;

    /**
     * A text as it is shown: in one line, where control characters are blanks.
     * The toolkit would start a tab or end the text at some of them.
     */
    static QString shown(QString text);

private:
    bool isSummable(const QString &text) const;
    qint64 sum(const QString &text) const;

    QFontMetricsF m_metrics;
    std::array<int, 256> m_advances; ///< of Latin-1, in 64ths of a pixel, the font's own unit
    bool m_summable = false;         ///< texts of Latin-1 are as wide as their characters
};
