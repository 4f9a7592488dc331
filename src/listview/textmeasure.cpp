// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "textmeasure.h"

#include <algorithm>
#include <limits>

namespace
{

// Marks in the tables of steps, beyond any width.
constexpr int Unknown = std::numeric_limits<int>::max();
constexpr int Joined = Unknown - 1;

// Traits of a character.
constexpr uchar IsLatin = 1;
constexpr uchar IsWhole = 2;

// The toolkit shapes longer texts in several goes.
constexpr int LongestSummed = 2000;

// Measured texts kept to be looked up; far more than a list has different ones
// that must be measured at all.
constexpr int MostKept = 100000;

constexpr int UnitsPerPixel = 64;

bool isDigit(uchar character)
{
    return character >= '0' && character <= '9';
}

QString textOf(const uchar *text, int length)
{
    return QString::fromLatin1(reinterpret_cast<const char *>(text), length);
}

int pixels(int units)
{
    return (units + UnitsPerPixel - 1) >> 6;
}

} // namespace

TextMeasure::TextMeasure(const QFont &font, const QFontMetricsF &metrics)
    : m_metrics(metrics)
    , m_joins(FontJoins::of(font))
{
    for (int c = 0; c < 256; ++c) {
        const QChar::Script script = QChar(c).script();
        uchar traits = script == QChar::Script_Latin ? IsLatin : 0;
        if (m_joins.whole.test(size_t(c)) || script > QChar::Script_Latin)
            traits |= IsWhole;
        m_traits[size_t(c)] = traits;
    }
    for (auto &alike : m_alike)
        alike.fill(-1);
    m_joins.pairwise = m_joins.pairwise && chooseLetter();
}

bool TextMeasure::chooseLetter()
{
    for (int c = 'A'; c <= 'z'; ++c) {
        const bool inert = m_traits[size_t(c)] == IsLatin && !m_joins.involved.test(size_t(c));
        if (inert) {
            m_letter = uchar(c);
            return true;
        }
    }
    return false;
}

int TextMeasure::measured(const QString &text)
{
    return qRound(m_metrics.horizontalAdvance(text) * UnitsPerPixel);
}

int TextMeasure::whole(const QString &text)
{
    const auto known = m_wholes.constFind(text);
    if (known != m_wholes.constEnd())
        return *known;
    if (m_wholes.size() >= MostKept)
        m_wholes.clear();
    return *m_wholes.insert(text, measured(text));
}

int TextMeasure::width(QLatin1String text)
{
    const int length = int(text.size());
    const int sum = summed(reinterpret_cast<const uchar *>(text.data()), length);
    return pixels(sum != Unknown ? sum : whole(QString(text)));
}

int TextMeasure::width(const QString &text)
{
    std::array<uchar, LongestSummed> characters;
    const int length = int(text.size());
    if (length > LongestSummed)
        return pixels(whole(text));
    ushort all = 0;
    for (int i = 0; i < length; ++i) {
        const ushort c = text.at(i).unicode();
        all |= c;
        characters[size_t(i)] = uchar(c);
    }
    const int sum = all > 0xff ? Unknown : summed(characters.data(), length);
    return pixels(sum != Unknown ? sum : whole(text));
}

/** The width of a text that can be taken apart, else Unknown. */
int TextMeasure::summed(const uchar *text, int length)
{
    if (length == 0)
        return 0;
    if (!m_joins.pairwise || length > LongestSummed)
        return Unknown;
    uchar traits = 0;
    for (int i = 0; i < length; ++i)
        traits |= m_traits[text[i]];
    if (traits & IsWhole)
        return Unknown;
    const Script script = traits & IsLatin ? Latin : Common;
    const int *known = steps(script).data();
    int sum = first(text[0], script);
    bool joined = false;
    for (int i = 1; i < length; ++i) {
        int further = known[size_t(text[i - 1]) << 8 | text[i]];
        if (further == Unknown)
            further = step(text[i - 1], text[i], script);
        if (further == Joined)
            joined = true;
        else
            sum += further;
    }
    return joined ? sum + joinsIn(text, length, script) : sum;
}

/** What the joins of a text add to the sum of its other steps: the pieces around them are measured. */
int TextMeasure::joinsIn(const uchar *text, int length, Script script)
{
    const int before = m_joins.reachBefore;
    const int behind = m_joins.reachBehind;
    // All steps are known by now.
    const int *known = steps(script).data();
    const auto stepAt = [&](int i) { return known[size_t(text[i - 1]) << 8 | text[i]]; };
    const auto nextJoin = [&](int at) {
        while (at < length && stepAt(at) != Joined)
            ++at;
        return at;
    };
    int sum = 0;
    for (int at = nextJoin(1); at < length;) {
        const int from = std::max(0, at - 1 - before);
        // Joins whose reaches meet make one piece.
        int last = at;
        for (at = nextJoin(last + 1); at < length && at < last + before + behind + 2; at = nextJoin(last + 1))
            last = at;
        const int to = std::min(length, last + 1 + behind);
        sum += piece(text + from, to - from, script) - first(text[from], script);
        for (int i = from + 1; i < to; ++i)
            sum -= stepAt(i) != Joined ? stepAt(i) : 0;
    }
    return sum;
}

/** The width of a part of a text, by itself but shaped like the text. */
int TextMeasure::piece(const uchar *text, int length, Script script)
{
    auto &pieces = m_pieces[script];
    const std::string key(reinterpret_cast<const char *>(text), size_t(length));
    const auto known = pieces.find(key);
    if (known != pieces.end())
        return known->second;
    if (pieces.size() >= size_t(MostKept))
        pieces.clear();
    const bool letters = std::any_of(text, text + length, [this](uchar c) { return bool(m_traits[c] & IsLatin); });
    int width = 0;
    if ((script == Latin) == letters) {
        width = measured(textOf(text, length));
    } else {
        // A letter in front has the piece shaped as in the whole text.
        width = measured(QChar(m_letter) + textOf(text, length)) - first(m_letter, Latin) -
                step(m_letter, text[0], Latin) + first(text[0], Latin);
    }
    pieces.emplace(key, width);
    return width;
}

int TextMeasure::first(uchar character, Script script)
{
    std::vector<int> &known = m_steps[script].first;
    if (known.empty())
        known.assign(256, Unknown);
    if (known[character] == Unknown)
        known[character] = learnFirst(character, script);
    return known[character];
}

int TextMeasure::learnFirst(uchar character, Script script)
{
    const QChar c(character);
    if (script == Common || m_traits[character] & IsLatin)
        return measured(c);
    // Among letters: what "cL" is wider than the L of "LcL" behind "Lc".
    const QChar letter(m_letter);
    const int letterBehind = measured(QString(letter) + c + letter) - measured(QString(letter) + c);
    return measured(QString(c) + letter) - letterBehind;
}

std::vector<int> &TextMeasure::steps(Script script)
{
    std::vector<int> &known = m_steps[script].behind;
    if (known.empty())
        known.assign(std::size_t(256) * 256, Unknown);
    return known;
}

int TextMeasure::step(uchar before, uchar character, Script script)
{
    int &width = steps(script)[size_t(before) << 8 | character];
    if (width == Unknown)
        width = learnStep(before, character, script);
    return width;
}

int TextMeasure::learnStep(uchar before, uchar character, Script script)
{
    if (joins(before, character))
        return Joined;
    QString start(QChar{before});
    if (script == Latin && !(m_traits[before] & IsLatin))
        start.prepend(QChar(m_letter));
    return measured(start + QChar(character)) - measured(start);
}

bool TextMeasure::joins(uchar before, uchar character) const
{
    return m_joins.joins[before].test(character);
}

bool TextMeasure::digitsAlike(const QString &text)
{
    if (!m_joins.pairwise || text.size() > LongestSummed)
        return false;
    const QByteArray characters = text.toLatin1();
    uchar traits = 0;
    for (int i = 0; i < text.size(); ++i) {
        if (text.at(i).unicode() > 0xff)
            return false;
        traits |= m_traits[uchar(characters[i])];
    }
    if (traits & IsWhole)
        return false;
    const Script script = traits & IsLatin ? Latin : Common;
    for (uchar d = '1'; d <= '9'; ++d)
        if (first(d, script) != first('0', script))
            return false;
    for (int i = 0; i < characters.size(); ++i) {
        if (!isDigit(uchar(characters[i])))
            continue;
        const bool left = i == 0 || alikeBeside(uchar(characters[i - 1]), script);
        const bool right = i + 1 == characters.size() || alikeBeside(uchar(characters[i + 1]), script);
        if (!left || !right)
            return false;
    }
    return true;
}

/** Whether every digit is as wide as any other beside this character, or beside every digit if it is one. */
bool TextMeasure::alikeBeside(uchar character, Script script)
{
    const bool digit = isDigit(character);
    signed char &alike = m_alike[script][digit ? uchar('0') : character];
    if (alike >= 0)
        return alike != 0;
    alike = 1;
    const uchar from = digit ? '0' : character;
    const uchar to = digit ? '9' : character;
    for (uchar d = '0'; d <= '9'; ++d) {
        bool same = true;
        for (uchar c = from; c <= to; ++c) {
            const int behind = step(c, d, script);
            const int before = step(d, c, script);
            same = same && behind != Joined && before != Joined && behind == step(from, '0', script) &&
                   before == step('0', from, script);
        }
        if (!same)
            alike = 0;
    }
    return alike != 0;
}
