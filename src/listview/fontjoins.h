// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QFont>
#include <bitset>
#include <vector>

/** A set of Latin-1 characters. */
using CharacterSet = std::bitset<256>;

/**
 * Where a font's layout tables make the width of a Latin-1 text more than a
 * sum over its pairs of neighbours.
 *
 * A text is as wide as its first character and, for every further one, that
 * character behind the one before it, wherever it is free of `whole`
 * characters and of joins. A pair that joins may belong to a ligature or another
 * change that depends on the context; whatever that does ends `reachBefore`
 * characters before the pair and `reachBehind` characters behind it. Nothing
 * of this holds for a font that is not `pairwise`.
 */
struct FontJoins {
    bool pairwise = false;
    CharacterSet whole;              ///< a text with one of these is measured as a whole
    std::vector<CharacterSet> joins; ///< for each character, those that join with it when they follow
    int reachBefore = 0;
    int reachBehind = 0;
    CharacterSet involved; ///< characters that stand in the context of any join

    /** Reads the tables of a font; what they leave open, or what is damaged, makes the font not pairwise. */
    static FontJoins of(const QFont &font);
};
