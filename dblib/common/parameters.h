// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

class Arena;
struct CMessageEventParam;

/**
 * @file
 * Parameters as the store keeps them: one JSON object a record, so that every
 * tool that reads the database can read them.
 *
 *     {"level":5,"gain":0.5,"unit":"mV"}
 *
 * An integer is type 1, a number with a point or an exponent type 2, a string
 * type 3. Strings are bytes, those above 127 as they are. What has no such form
 * (no value, another type, a wrong length, a double that is not finite) is
 * {"type":TYPE} or {"type":TYPE,"bytes":"HEX"}; the key "\u0000" stands for a
 * missing name. Nothing gets lost on the way there and back but what stands
 * behind a text's first NUL.
 */

/** Builds the stored form. */
class ParameterWriter
{
public:
    ParameterWriter &addInteger(std::string_view name, int value);
    ParameterWriter &addDouble(std::string_view name, double value);
    ParameterWriter &addText(std::string_view name, std::string_view value);
    ParameterWriter &add(const CMessageEventParam &parameter);
    /** Forgets what was added since the last record, as after an addition that threw. */
    void discard();
    /** Closes the record: its stored form, empty without parameters, valid until the next addition. */
    std::string_view finish();

private:
    void startEntry();
    void startEntry(std::string_view name);
    void appendDouble(const char *bytes);
    void appendOpaque(int type, const char *bytes, int length);

    std::string m_json;
    bool m_finished = false;
};

/** Reads the stored form into records. */
class ParameterReader
{
public:
    /**
     * Makes the parameters in `arena` and returns their array, NULL when there
     * are none. A stored form that cannot be read comes as one text parameter
     * named "params". Throws std::bad_alloc.
     */
    CMessageEventParam *read(Arena &arena, std::string_view stored, int &count);

private:
    /** Parameters of one record, until their number is known; never destroyed as parameters. */
    struct Entry {
        int type = 0;
        char *name = nullptr;
        int nameLength = 0;
        char *value = nullptr;
        int valueLength = 0;
    };
    bool parse(Arena &arena);
    bool parseEntry(Arena &arena);
    bool parseValue(Arena &arena, Entry &entry);
    bool parseNumber(Arena &arena, Entry &entry);
    bool parseOpaque(Entry &entry);
    bool parseString(char *&start, int &length);
    bool parseEscapedString(char *&start, int &length);
    bool accept(char c);

    char *m_next = nullptr; ///< what is still to be read, in the arena, with a NUL at `end`
    char *m_end = nullptr;
    bool m_escapes = false; ///< there is a backslash somewhere
    std::vector<Entry> m_entries;
};
