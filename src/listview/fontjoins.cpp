// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "fontjoins.h"

#include "toolkit.h"

#include <QFontDatabase>
#include <QRawFont>
#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <set>
#include <stdexcept>

namespace
{

/** The tables say something that is not understood here. */
struct Unclear : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/** Substitutions can bring about others. */
struct Cascade {
};

/** A place in a font's table; reading past its end throws Unclear. */
class Table
{
public:
    Table(const QByteArray &bytes, int at)
        : m_bytes(bytes)
        , m_at(at)
    {
    }

    int u16(int offset) const
    {
        const int at = m_at + offset;
        if (offset < 0 || at < 0 || at + 2 > m_bytes.size())
            throw Unclear("a layout table ends too early");
        return uchar(m_bytes[at]) << 8 | uchar(m_bytes[at + 1]);
    }
    int u32(int offset) const
    {
        const quint32 value = quint32(u16(offset)) << 16 | quint32(u16(offset + 2));
        if (value > quint32(m_bytes.size()))
            throw Unclear("a layout table points outside itself");
        return int(value);
    }
    QByteArray tag(int offset) const
    {
        u16(offset + 2);
        return m_bytes.mid(m_at + offset, 4);
    }
    Table at(int offset) const
    {
        return Table(m_bytes, m_at + offset);
    }
    /** What the 16-bit offset found here points to. */
    Table follow(int offset) const
    {
        return at(u16(offset));
    }
    /** The same for 32 bits. */
    Table followLong(int offset) const
    {
        return at(u32(offset));
    }
    bool points(int offset) const
    {
        return u16(offset) != 0;
    }

private:
    QByteArray m_bytes;
    int m_at;
};

/** The glyphs that Latin-1 texts can be made of, each with the characters that it can stand for. */
using Glyphs = std::map<int, CharacterSet>;

/** A set of glyphs by its place in each row of a rule: coverage index or class. */
class Coverage
{
public:
    /** Keeps of a coverage table what concerns the glyphs. */
    Coverage(const Table &table, const Glyphs &glyphs)
    {
        const int format = table.u16(0);
        const int count = table.u16(2);
        if (format == 1)
            for (int i = 0; i < count; ++i)
                add(table.u16(4 + 2 * i), i, glyphs);
        else if (format == 2)
            for (int i = 0; i < count; ++i)
                addRange(table.at(4 + 6 * i), glyphs);
        else
            throw Unclear("coverage of an unknown format");
    }

    /** Coverage index and glyph. */
    const std::vector<std::pair<int, int>> &entries() const
    {
        return m_entries;
    }

    CharacterSet characters(const Glyphs &glyphs) const
    {
        CharacterSet all;
        for (const auto &[index, glyph] : m_entries)
            all |= glyphs.at(glyph);
        return all;
    }

private:
    void add(int glyph, int index, const Glyphs &glyphs)
    {
        if (glyphs.count(glyph))
            m_entries.emplace_back(index, glyph);
    }

    void addRange(const Table &range, const Glyphs &glyphs)
    {
        const int first = range.u16(0);
        const int last = range.u16(2);
        for (auto g = glyphs.lower_bound(first); g != glyphs.end() && g->first <= last; ++g)
            m_entries.emplace_back(range.u16(4) + g->first - first, g->first);
    }

    std::vector<std::pair<int, int>> m_entries;
};

/** The class of a glyph in a class definition. */
int classOf(const Table &table, int glyph)
{
    const int format = table.u16(0);
    if (format == 1) {
        const int first = table.u16(2);
        const bool inside = glyph >= first && glyph < first + table.u16(4);
        return inside ? table.u16(6 + 2 * (glyph - first)) : 0;
    }
    if (format != 2)
        throw Unclear("class definition of an unknown format");
    const int count = table.u16(2);
    for (int i = 0; i < count; ++i) {
        const Table range = table.at(4 + 6 * i);
        if (glyph >= range.u16(0) && glyph <= range.u16(2))
            return range.u16(4);
    }
    return 0;
}

/** For each class of a class definition, the characters in it. */
class Classes
{
public:
    /** Of the definition that the offset found there points to; without one all glyphs are of class 0. */
    Classes(const Table &table, int offset, const Glyphs &glyphs)
    {
        for (const auto &[glyph, characters] : glyphs)
            m_characters[table.points(offset) ? classOf(table.follow(offset), glyph) : 0] |= characters;
    }

    CharacterSet operator[](int number) const
    {
        const auto found = m_characters.find(number);
        return found == m_characters.end() ? CharacterSet() : found->second;
    }

private:
    std::map<int, CharacterSet> m_characters;
};

/** A rule of a context: the characters at each place, from its first to its last, and the lookups it applies. */
struct Rule {
    std::vector<CharacterSet> places;
    std::vector<int> lookups;

    bool matches() const
    {
        return std::none_of(places.begin(), places.end(), [](const CharacterSet &place) { return place.none(); });
    }

    void addLookups(const Table &records, int count)
    {
        for (int i = 0; i < count; ++i)
            lookups.push_back(records.u16(4 * i + 2));
    }
};

// Stands, in place of a character, for the glyphs that joins make: the NUL is
// no character that a font shows.
constexpr size_t Made = 0;

/**
 * How glyphs that joins make are followed.
 *
 * Mostly they take part in no further substitution, and a join ends with its
 * rule. Where they do, a change could run on through the text: then they count
 * as all the characters that they were made from, and all pairs of a rule
 * join, so that a run of changes is a run of joins.
 */
enum class Following { Ends, RunsOn };

// Features that shaping applies to every text without being asked to.
const std::set<QByteArray> AlwaysOn{"rvrn", "ltra", "ltrm", "rlig", "ccmp", "locl", "calt", "clig",
                                    "liga", "rclt", "rand", "mark", "mkmk", "abvm", "blwm", "curs",
                                    "dist", "kern", "Harf", "HARF", "Buzz", "BUZZ"};

constexpr int NoFeature = 0xffff;

void addLookups(const Table &feature, std::set<int> &lookups)
{
    const int count = feature.u16(2);
    for (int i = 0; i < count; ++i)
        lookups.insert(feature.u16(4 + 2 * i));
}

void addRequired(const Table &language, std::set<int> &features)
{
    if (language.u16(2) != NoFeature)
        features.insert(language.u16(2));
}

/** The features that a script or one of its languages requires, by number. */
std::set<int> requiredFeatures(const Table &scripts)
{
    std::set<int> features;
    const int count = scripts.u16(0);
    for (int i = 0; i < count; ++i) {
        const Table script = scripts.follow(2 + 6 * i + 4);
        if (script.points(0))
            addRequired(script.follow(0), features);
        const int languages = script.u16(2);
        for (int k = 0; k < languages; ++k)
            addRequired(script.follow(4 + 6 * k + 4), features);
    }
    return features;
}

/** The lookups, by number, that every text goes through, whatever its script and language. */
std::set<int> lookupsInUse(const Table &layout)
{
    if (layout.u16(0) != 1)
        throw Unclear("layout table of an unknown version");
    if (layout.u16(2) >= 1 && layout.u32(10) != 0)
        throw Unclear("features vary with the font's variation");
    std::set<int> lookups;
    const std::set<int> required = layout.points(4) ? requiredFeatures(layout.follow(4)) : std::set<int>();
    if (!layout.points(6))
        return lookups;
    const Table features = layout.follow(6);
    const int count = features.u16(0);
    for (int i = 0; i < count; ++i)
        if (AlwaysOn.count(features.tag(2 + 6 * i)) || required.count(i))
            addLookups(features.follow(2 + 6 * i + 4), lookups);
    return lookups;
}

/** One subtable of a lookup, extensions resolved. */
struct Subtable {
    int type;
    int flags;
    Table table;
};

constexpr int IgnoreBaseGlyphs = 0x0002;

std::vector<Subtable> subtables(const Table &layout, int lookup, int extension)
{
    const Table lookups = layout.follow(8);
    if (lookup >= lookups.u16(0))
        throw Unclear("a feature names a lookup that is not there");
    const Table table = lookups.follow(2 + 2 * lookup);
    std::vector<Subtable> all;
    const int count = table.u16(4);
    for (int i = 0; i < count; ++i) {
        Subtable sub{table.u16(0), table.u16(2), table.follow(6 + 2 * i)};
        if (sub.type == extension)
            sub = {sub.table.u16(2), sub.flags, sub.table.followLong(4)};
        all.push_back(sub);
    }
    return all;
}

/** Reads what the tables say of Latin-1 texts. */
class Reader
{
public:
    /** Without following runs, a font that has them throws Cascade. */
    Reader(Glyphs glyphs, Following following, FontJoins &joins)
        : m_glyphs(std::move(glyphs))
        , m_following(following)
        , m_joins(joins)
    {
    }

    void readGlyphClasses(const QByteArray &gdef);
    void readSubstitutions(const QByteArray &gsub);
    void readPositions(const QByteArray &gpos);
    /** Sets the reach, once all is read. */
    void finish();

private:
    void followSingles(const std::vector<Subtable> &subs);
    bool followSingle(const Table &table);
    void readSubstitution(const Subtable &sub);
    void readPosition(const Subtable &sub);
    void readPairs(const Table &table);
    void readLigatures(const Table &table);
    void readContext(const Table &table, bool chained);
    void readRuleSets(const Table &table, bool chained);
    void readClassSets(const Table &table, bool chained);
    void readCoverages(const Table &table, bool chained);
    void readReverse(const Table &table);

    CharacterSet charactersOf(int glyph) const;
    CharacterSet covered(const Table &coverage) const;
    template <typename CharactersAt>
    Rule ruleFrom(const Table &rule, bool chained, const CharacterSet &first, CharactersAt charactersAt) const;
    void take(const Rule &rule);
    void takeSubstitution(const Rule &rule);
    void reach(int before, int behind);
    void join(const CharacterSet &left, const CharacterSet &right);
    void whole(const CharacterSet &characters);
    /** Notes a glyph that a rule makes of these characters. */
    void make(int glyph, const CharacterSet &from);
    /** Notes the glyphs that a lookup may put in place of those known. */
    void makeAllOf(int lookup, const CharacterSet &from);
    void makeAllOf(const Subtable &sub, const CharacterSet &from);

    Glyphs m_glyphs;
    std::set<int> m_madeGlyphs; ///< those of m_glyphs that only joins make
    Following m_following;
    FontJoins &m_joins;
    QByteArray m_gsub;
    bool m_substituting = false;
    bool m_made = false;       ///< more was learned of the glyphs that joins make
    int m_before[2] = {0, 0};  ///< places of a rule before its pair that joins, at most; positions, substitutions
    int m_longest[2] = {0, 0}; ///< places of the longest rule
    int m_behind[2] = {0, 0};  ///< places behind that pair
};

void Reader::whole(const CharacterSet &characters)
{
    m_joins.whole |= characters;
}

CharacterSet Reader::charactersOf(int glyph) const
{
    const auto found = m_glyphs.find(glyph);
    return found == m_glyphs.end() ? CharacterSet() : found->second;
}

CharacterSet Reader::covered(const Table &coverage) const
{
    return Coverage(coverage, m_glyphs).characters(m_glyphs);
}

CharacterSet allOf(const Rule &rule)
{
    CharacterSet all;
    for (const CharacterSet &place : rule.places)
        all |= place;
    return all;
}

/** The number of the place whose pair with the next one is the rarest. */
size_t rarestPair(const std::vector<CharacterSet> &places)
{
    const auto pairs = [&places](size_t i) { return places[i].count() * places[i + 1].count(); };
    size_t best = 0;
    for (size_t i = 1; i + 1 < places.size(); ++i)
        if (pairs(i) < pairs(best))
            best = i;
    return best;
}

/** Notes where a rule can match; a rule that no Latin-1 text can match is passed over. */
void Reader::take(const Rule &rule)
{
    const std::vector<CharacterSet> &places = rule.places;
    if (!rule.matches())
        return;
    if (m_substituting)
        takeSubstitution(rule);
    m_joins.involved |= allOf(rule);
    if (places.size() == 1) {
        whole(places.front());
        return;
    }
    const int count = int(places.size());
    if (m_following == Following::RunsOn) {
        for (size_t i = 0; i + 1 < places.size(); ++i)
            join(places[i], places[i + 1]);
        reach(count, count);
        return;
    }
    // A match holds every pair of neighbours of the rule, so one is enough to find it by.
    const int i = int(rarestPair(places));
    join(places[size_t(i)], places[size_t(i) + 1]);
    reach(i, count - i - 2);
}

void Reader::reach(int before, int behind)
{
    m_before[m_substituting] = std::max(m_before[m_substituting], before);
    m_behind[m_substituting] = std::max(m_behind[m_substituting], behind);
    m_longest[m_substituting] = std::max(m_longest[m_substituting], before + behind + 2);
}

void Reader::join(const CharacterSet &left, const CharacterSet &right)
{
    for (size_t c = 0; c < 256; ++c)
        if (left.test(c))
            m_joins.joins[c] |= right;
}

void Reader::takeSubstitution(const Rule &rule)
{
    const CharacterSet all = allOf(rule);
    if (all.test(Made))
        throw Cascade();
    for (int lookup : rule.lookups)
        makeAllOf(lookup, all);
}

void Reader::finish()
{
    // What a substitution made can stand anywhere in a rule for positions, and
    // is placed anew beside its neighbours.
    const auto all = [](int substituted, int placed, int longestPlaced) {
        return std::max(substituted + longestPlaced, placed) + 1;
    };
    m_joins.reachBefore = all(m_before[true], m_before[false], m_longest[false]);
    m_joins.reachBehind = all(m_behind[true], m_behind[false], m_longest[false]);
    m_joins.whole.set(Made);
}

void Reader::make(int glyph, const CharacterSet &from)
{
    if (m_glyphs.count(glyph) == 0)
        m_madeGlyphs.insert(glyph);
    CharacterSet made = m_following == Following::Ends ? CharacterSet().set(Made) : from;
    CharacterSet &characters = m_glyphs[glyph];
    made |= characters;
    m_made |= made != characters;
    characters = made;
}

void Reader::makeAllOf(int lookup, const CharacterSet &from)
{
    for (const Subtable &sub : subtables(Table(m_gsub, 0), lookup, 7))
        makeAllOf(sub, from);
}

void Reader::makeAllOf(const Subtable &sub, const CharacterSet &from)
{
    const Table &table = sub.table;
    const auto makeList = [&](const Table &list, int at, int count) {
        for (int i = 0; i < count; ++i)
            make(list.u16(at + 2 * i), from);
    };
    if (sub.type > 4)
        throw Unclear("contexts within contexts");
    const Coverage coverage(table.follow(2), m_glyphs);
    for (const auto &[index, glyph] : coverage.entries()) {
        if (sub.type == 1) {
            make(table.u16(0) == 1 ? (glyph + table.u16(4)) & 0xffff : table.u16(6 + 2 * index), from);
            continue;
        }
        const Table set = table.follow(6 + 2 * index);
        if (sub.type != 4) {
            makeList(set, 2, set.u16(0));
            continue;
        }
        const int count = set.u16(0);
        for (int i = 0; i < count; ++i)
            makeList(set.follow(2 + 2 * i), 0, 1);
    }
}

void Reader::readGlyphClasses(const QByteArray &gdef)
{
    const Table table(gdef, 0);
    if (!table.points(4))
        return;
    const Table classes = table.follow(4);
    constexpr int baseGlyph = 1;
    for (const auto &[glyph, characters] : m_glyphs) {
        // Lookups may pass over ligatures and marks, which makes others neighbours.
        if (m_madeGlyphs.count(glyph) == 0 && classOf(classes, glyph) > baseGlyph)
            whole(characters);
    }
}

void Reader::readSubstitutions(const QByteArray &gsub)
{
    const Table layout(gsub, 0);
    std::vector<Subtable> subs;
    for (int lookup : lookupsInUse(layout)) {
        const std::vector<Subtable> more = subtables(layout, lookup, 7);
        subs.insert(subs.end(), more.begin(), more.end());
    }
    m_gsub = gsub;
    m_substituting = true;
    do {
        m_made = false;
        followSingles(subs);
        for (const Subtable &sub : subs)
            readSubstitution(sub);
    } while (m_made);
    m_substituting = false;
}

/** Adds the glyphs that replace others one for one, whatever their neighbours. */
void Reader::followSingles(const std::vector<Subtable> &subs)
{
    bool more = true;
    while (more) {
        more = false;
        for (const Subtable &sub : subs)
            more |= sub.type == 1 && followSingle(sub.table);
    }
}

bool Reader::followSingle(const Table &table)
{
    const int format = table.u16(0);
    const Coverage coverage(table.follow(2), m_glyphs);
    bool more = false;
    for (const auto &[index, glyph] : coverage.entries()) {
        const int other = format == 1 ? (glyph + table.u16(4)) & 0xffff : table.u16(6 + 2 * index);
        if (m_madeGlyphs.count(glyph) && !m_glyphs.count(other))
            m_madeGlyphs.insert(other);
        CharacterSet &characters = m_glyphs[other];
        const CharacterSet all = characters | charactersOf(glyph);
        more |= all != characters;
        characters = all;
    }
    return more;
}

void Reader::readSubstitution(const Subtable &sub)
{
    if (sub.flags & IgnoreBaseGlyphs)
        throw Unclear("a lookup passes over base glyphs");
    switch (sub.type) {
    case 1:
        break;
    case 2:
    case 3:
        whole(covered(sub.table.follow(2)));
        break;
    case 4:
        readLigatures(sub.table);
        break;
    case 5:
        readContext(sub.table, false);
        break;
    case 6:
        readContext(sub.table, true);
        break;
    case 8:
        readReverse(sub.table);
        break;
    default:
        throw Unclear("substitution of an unknown type");
    }
}

void Reader::readLigatures(const Table &table)
{
    std::vector<std::pair<int, CharacterSet>> made;
    const Coverage coverage(table.follow(2), m_glyphs);
    for (const auto &[index, glyph] : coverage.entries()) {
        const Table set = table.follow(6 + 2 * index);
        const int count = set.u16(0);
        for (int i = 0; i < count; ++i) {
            const Table ligature = set.follow(2 + 2 * i);
            Rule rule{{charactersOf(glyph)}, {}};
            const int components = ligature.u16(2);
            for (int k = 1; k < components; ++k)
                rule.places.push_back(charactersOf(ligature.u16(4 + 2 * (k - 1))));
            take(rule);
            if (rule.matches())
                made.emplace_back(ligature.u16(0), allOf(rule));
        }
    }
    for (const auto &[glyph, from] : made)
        make(glyph, from);
}

void Reader::readContext(const Table &table, bool chained)
{
    switch (table.u16(0)) {
    case 1:
        readRuleSets(table, chained);
        break;
    case 2:
        readClassSets(table, chained);
        break;
    case 3:
        readCoverages(table, chained);
        break;
    default:
        throw Unclear("context of an unknown format");
    }
}

/**
 * A rule of the table's form: for a chained one the places before (nearest
 * first), the input after its first place, and the places behind; else only
 * the input. charactersAt(kind, value) tells what stands at a place.
 */
template <typename CharactersAt>
Rule Reader::ruleFrom(const Table &rule, bool chained, const CharacterSet &first, CharactersAt charactersAt) const
{
    Rule result;
    int at = 0;
    if (chained) {
        const int before = rule.u16(at);
        for (int i = before; i > 0; --i)
            result.places.push_back(charactersAt(0, rule.u16(at + 2 * i)));
        at += 2 + 2 * before;
    }
    result.places.push_back(first);
    const int input = rule.u16(at);
    // Without a chain the number of lookups stands between count and glyphs.
    at += chained ? 2 : 4;
    for (int i = 1; i < input; ++i, at += 2)
        result.places.push_back(charactersAt(1, rule.u16(at)));
    if (!chained) {
        result.addLookups(rule.at(at), rule.u16(2));
        return result;
    }
    const int behind = rule.u16(at);
    for (int i = 1; i <= behind; ++i)
        result.places.push_back(charactersAt(2, rule.u16(at + 2 * i)));
    at += 2 + 2 * behind;
    result.addLookups(rule.at(at + 2), rule.u16(at));
    return result;
}

void Reader::readRuleSets(const Table &table, bool chained)
{
    const Coverage coverage(table.follow(2), m_glyphs);
    for (const auto &[index, glyph] : coverage.entries()) {
        if (index >= table.u16(4) || !table.points(6 + 2 * index))
            continue;
        const Table set = table.follow(6 + 2 * index);
        const int count = set.u16(0);
        for (int i = 0; i < count; ++i)
            take(ruleFrom(set.follow(2 + 2 * i), chained, charactersOf(glyph),
                          [this](int, int other) { return charactersOf(other); }));
    }
}

void Reader::readClassSets(const Table &table, bool chained)
{
    const CharacterSet first = covered(table.follow(2));
    std::vector<Classes> classes;
    for (int i = 0; i < (chained ? 3 : 1); ++i)
        classes.emplace_back(table, 4 + 2 * i, m_glyphs);
    const Classes &input = chained ? classes[1] : classes[0];
    const int sets = chained ? 10 : 6;
    const int count = table.u16(sets);
    for (int number = 0; number < count; ++number) {
        if (!table.points(sets + 2 + 2 * number))
            continue;
        const Table set = table.follow(sets + 2 + 2 * number);
        const int rules = set.u16(0);
        for (int i = 0; i < rules; ++i)
            take(ruleFrom(set.follow(2 + 2 * i), chained, first & input[number],
                          [&](int kind, int other) { return chained ? classes[size_t(kind)][other] : input[other]; }));
    }
}

void Reader::readCoverages(const Table &table, bool chained)
{
    Rule rule;
    const auto add = [&](int at) { rule.places.push_back(covered(table.follow(at))); };
    if (!chained) {
        const int count = table.u16(2);
        for (int i = 0; i < count; ++i)
            add(6 + 2 * i);
        rule.addLookups(table.at(6 + 2 * count), table.u16(4));
        take(rule);
        return;
    }
    const int before = table.u16(2);
    for (int i = before; i > 0; --i)
        add(2 + 2 * i);
    int at = 4 + 2 * before;
    for (int part = 0; part < 2; ++part) {
        const int count = table.u16(at);
        for (int i = 1; i <= count; ++i)
            add(at + 2 * i);
        at += 2 + 2 * count;
    }
    rule.addLookups(table.at(at + 2), table.u16(at));
    take(rule);
}

void Reader::readReverse(const Table &table)
{
    Rule rule;
    const int before = table.u16(4);
    for (int i = before; i > 0; --i)
        rule.places.push_back(covered(table.follow(4 + 2 * i)));
    const Coverage coverage(table.follow(2), m_glyphs);
    rule.places.push_back(coverage.characters(m_glyphs));
    int at = 6 + 2 * before;
    const int behind = table.u16(at);
    for (int i = 1; i <= behind; ++i)
        rule.places.push_back(covered(table.follow(at + 2 * i)));
    take(rule);
    if (!rule.matches())
        return;
    at += 2 + 2 * behind + 2;
    for (const auto &[index, glyph] : coverage.entries())
        make(table.u16(at + 2 * index), allOf(rule));
}

void Reader::readPositions(const QByteArray &gpos)
{
    const Table layout(gpos, 0);
    for (int lookup : lookupsInUse(layout))
        for (const Subtable &sub : subtables(layout, lookup, 9))
            readPosition(sub);
}

void Reader::readPosition(const Subtable &sub)
{
    // All but contexts begin with the glyphs that they concern, often those of other scripts alone.
    if (sub.type < 7 && covered(sub.table.follow(2)).none())
        return;
    if (sub.flags & IgnoreBaseGlyphs)
        throw Unclear("a lookup passes over base glyphs");
    switch (sub.type) {
    case 1:
        break;
    case 2:
        readPairs(sub.table);
        break;
    case 3:
    case 4:
    case 5:
    case 6:
        whole(covered(sub.table.follow(2)));
        break;
    case 7:
        readContext(sub.table, false);
        break;
    case 8:
        readContext(sub.table, true);
        break;
    default:
        throw Unclear("position of an unknown type");
    }
}

void Reader::readPairs(const Table &table)
{
    // A pair that also moves its second glyph uses it up: it is no first one then.
    if (table.u16(6) != 0 && covered(table.follow(2)).any())
        throw Unclear("kerning uses up both glyphs");
}

constexpr int SoftHyphen = 0xad;

bool printable(int character)
{
    return (character >= 0x20 && character < 0x7f) || (character >= 0xa0 && character != SoftHyphen);
}

/** The glyphs of the printable characters; characters without one come from other fonts and are not taken apart. */
Glyphs glyphsOf(const QRawFont &font, FontJoins &joins)
{
    Glyphs glyphs;
    for (int c = 0; c < 256; ++c) {
        const QVector<quint32> found =
            printable(c) ? font.glyphIndexesForString(QString(QChar(c))) : QVector<quint32>();
        if (found.size() == 1 && found.first() != 0)
            glyphs[int(found.first())].set(size_t(c));
        else
            joins.whole.set(size_t(c));
    }
    return glyphs;
}

/** Old kerning tables: only those that are lists or matrices of pairs go by pairs. */
void checkKerning(const QByteArray &kern)
{
    const Table table(kern, 0);
    if (table.u16(0) != 0)
        throw Unclear("kerning table of an unknown version");
    const int count = table.u16(2);
    int at = 4;
    for (int i = 0; i < count; ++i) {
        const int format = table.u16(at + 4) >> 8;
        if (format != 0 && format != 2)
            throw Unclear("kerning that depends on more than pairs");
        at += table.u16(at + 2);
    }
}

/** Whether a font is set in a way that does not go by characters and pairs. */
bool setSpecially(const QFont &font)
{
    if (Toolkit::hasFeatures(font))
        return true;
    constexpr int forceIntegerMetrics = 0x0400; // a strategy that newer toolkits know no more
    return font.capitalization() != QFont::MixedCase || font.styleStrategy() & forceIntegerMetrics;
}

void readTables(const QFont &font, FontJoins &joins)
{
    const QRawFont raw = QRawFont::fromFont(font, QFontDatabase::Latin);
    if (!raw.isValid())
        throw Unclear("no such font");
    // Other systems of layout rules than the one read here.
    for (const char *table : {"Silf", "morx", "mort", "kerx", "trak"})
        if (!raw.fontTable(table).isEmpty())
            throw Unclear("layout rules of another system");
    const Glyphs glyphs = glyphsOf(raw, joins);
    const FontJoins start = joins;
    const auto read = [&](Following following) {
        joins = start;
        Reader reader(glyphs, following, joins);
        const QByteArray gsub = raw.fontTable("GSUB");
        const QByteArray gpos = raw.fontTable("GPOS");
        const QByteArray gdef = raw.fontTable("GDEF");
        const QByteArray kern = raw.fontTable("kern");
        if (!gsub.isEmpty())
            reader.readSubstitutions(gsub);
        if (!gdef.isEmpty())
            reader.readGlyphClasses(gdef);
        if (!gpos.isEmpty())
            reader.readPositions(gpos);
        if (!kern.isEmpty())
            checkKerning(kern);
        reader.finish();
    };
    try {
        read(Following::Ends);
    } catch (const Cascade &) {
        read(Following::RunsOn);
    }
}

} // namespace

FontJoins FontJoins::of(const QFont &font)
{
    FontJoins joins;
    joins.joins.resize(256);
    if (setSpecially(font))
        return joins;
    try {
        readTables(font, joins);
        joins.pairwise = true;
    } catch (const Unclear &) {
        // Such a font's texts are measured as a whole.
    }
    return joins;
}
