// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "fontjoins.h"

#include <QByteArray>
#include <QFont>
#include <QFontMetricsF>
#include <QHash>
#include <QString>
#include <array>
#include <unordered_map>
#include <vector>

/**
 * Widths of texts in one font, each exactly what the font's metrics say.
 *
 * Shaping a text costs microseconds, and a list has millions. So most
 * characters are measured once behind each neighbour they occur behind, and a
 * text's width is summed up from that; only where the font joins characters
 * the piece around the join is measured, and a text that cannot be taken apart
 * is measured as a whole.
 */
class TextMeasure
{
public:
    /** The metrics are those of the font on the widget that shows it. */
    TextMeasure(const QFont &font, const QFontMetricsF &metrics);

    /** Pixels, rounded up, that the text takes. */
    int width(QLatin1String text);
    int width(const QString &text);

    /** Whether all texts that differ from this one in nothing but digits are as wide. */
    bool digitsAlike(const QString &text);

private:
    /**
     * Which rules of a script a text is shaped by: those for Latin when it
     * holds a letter, else those for no script.
     */
    enum Script { Common, Latin, ScriptCount };

    /** Widths in 64ths of a pixel, the font's own unit, of each character behind each other one. */
    struct Steps {
        std::vector<int> first;  ///< by character: at the start of a text
        std::vector<int> behind; ///< by pair: 256 * the one before + the one
    };

    int measured(const QString &text);
    int whole(const QString &text);
    int summed(const uchar *text, int length);
    int joinsIn(const uchar *text, int length, Script script);
    int piece(const uchar *text, int length, Script script);
    int first(uchar character, Script script);
    int learnFirst(uchar character, Script script);
    std::vector<int> &steps(Script script);
    int step(uchar before, uchar character, Script script);
    int learnStep(uchar before, uchar character, Script script);
    bool joins(uchar before, uchar character) const;
    bool chooseLetter();
    bool alikeBeside(uchar character, Script script);

    QFontMetricsF m_metrics;
    FontJoins m_joins;
    uchar m_letter = 0; ///< a Latin letter that joins with nothing
    std::array<uchar, 256> m_traits;
    std::array<Steps, ScriptCount> m_steps;
    std::array<std::array<signed char, 256>, ScriptCount> m_alike; ///< 1 yes, 0 no, -1 unknown
    QHash<QString, int> m_wholes;                                  ///< texts that cannot be taken apart
    std::array<std::unordered_map<std::string, int>, ScriptCount> m_pieces;
};
