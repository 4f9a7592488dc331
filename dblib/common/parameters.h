// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <memory>
#include <string_view>

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
    ParameterWriter();
    ~ParameterWriter();
    ParameterWriter &addInteger(std::string_view name, int value);
    ParameterWriter &addDouble(std::string_view name, double value);
    ParameterWriter &addText(std::string_view name, std::string_view value);
    ParameterWriter &add(const CMessageEventParam &parameter);
    /** Forgets what was added since the last record, as after an addition that threw. */
    void discard();
    /** Closes the record: its stored form, empty without parameters, valid until the next addition. */
    std::string_view finish();

private:
    class Json;
    std::unique_ptr<Json> m_json;
};

/** Reads the stored form into records. */
class ParameterReader
{
public:
    ParameterReader();
    ~ParameterReader();
    /**
     * Makes the parameters in `arena` and returns their array, NULL when there
     * are none. A stored form that cannot be read comes as one text parameter
     * named "params". Throws std::bad_alloc.
     */
    CMessageEventParam *read(Arena &arena, std::string_view stored, int &count);

private:
    class Json;
    std::unique_ptr<Json> m_json;
};
