// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "parameters.h"

#include "Messages.h"
#include "arena.h"

#include <cfloat>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <new>

namespace
{
constexpr char Hex[] = "0123456789abcdef";
/** Key of a parameter without a name; no name can hold a NUL. */
constexpr std::string_view NoNameKey = "\\u0000";

bool needsEscape(char c)
{
    return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20;
}

void appendEscaped(std::string &json, char c)
{
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20) {
        json += "\\u00";
        json += Hex[byte >> 4];
        json += Hex[byte & 15];
    } else {
        json += '\\';
        json += c;
    }
}

/** In runs of what may stand as it is, which mostly is all of it. */
void appendString(std::string &json, std::string_view text)
{
    json += '"';
    std::size_t plain = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (needsEscape(text[i])) {
            json.append(text.substr(plain, i - plain));
            appendEscaped(json, text[i]);
            plain = i + 1;
        }
    }
    json.append(text.substr(plain));
    json += '"';
}

void appendInteger(std::string &json, int value)
{
    char digits[16];
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    json.append(digits, result.ptr);
}

std::string_view textOf(const char *bytes, int length)
{
    return bytes && length > 0 ? std::string_view(bytes, ::strnlen(bytes, std::size_t(length))) : std::string_view();
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    const char lower = char(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/** Reads "uXXXX" behind a backslash: a Latin-1 byte, '?' beyond; -1 when it is none. */
int unicodeEscape(const char *text)
{
    int value = 0;
    for (int i = 1; i <= 4; ++i) {
        const int digit = hexDigit(text[i]);
        if (digit < 0)
            return -1;
        value = value * 16 + digit;
    }
    return value <= 0xff ? value : '?';
}

/** The byte that the escape at `text` stands for, `text` then behind it; -1 when it is none. */
int unescape(char *&text)
{
    static const char from[] = "\"\\/bfnrt";
    static const char to[] = "\"\\/\b\f\n\r\t";
    if (*text == 'u') {
        const int value = unicodeEscape(text);
        text += value < 0 ? 0 : 5;
        return value;
    }
    const char *found = *text ? std::strchr(from, *text) : nullptr;
    text += found ? 1 : 0;
    return found ? static_cast<unsigned char>(to[found - from]) : -1;
}

/** Turns pairs of hexadecimal digits into bytes, in place. */
bool unhex(char *digits, int length)
{
    for (int i = 0; i + 1 < length; i += 2) {
        const int high = hexDigit(digits[i]);
        const int low = hexDigit(digits[i + 1]);
        if (high < 0 || low < 0)
            return false;
        digits[i / 2] = char(high * 16 + low);
    }
    return length % 2 == 0;
}

/** A number that was read; `end` is NULL when there was none. */
struct Number {
    const char *end = nullptr;
    bool isInteger = false;
    int integer = 0;
    double real = 0;
};

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/** The general road: any number that the C++ library reads. */
Number readAnyNumber(const char *text, const char *end)
{
    Number number;
    const auto result = std::from_chars(text, end, number.real);
    number.end = result.ec == std::errc() ? result.ptr : nullptr;
    return number;
}

/**
 * Reads an integer or a double. Most doubles have few digits: both the digits
 * and the power of ten are then exact, and so is their quotient rounded once.
 */
Number readNumber(const char *text, const char *end)
{
    static constexpr double powers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                        1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    const char *at = text + (*text == '-' ? 1 : 0);
    std::int64_t digits = 0;
    const char *point = nullptr;
    int count = 0;
    for (; isDigit(*at) || (*at == '.' && !point); ++at)
        if (*at == '.')
            point = at;
        else if (++count <= 15)
            digits = digits * 10 + (*at - '0');
    const bool negative = *text == '-';
    const bool plain = count > 0 && count <= 15 && (*at | 0x20) != 'e';
    Number number;
    number.end = at;
    const std::int64_t value = negative ? -digits : digits;
    if (plain && !point && value >= INT_MIN && value <= INT_MAX) {
        number.isInteger = true;
        number.integer = int(value);
        return number;
    }
    // Processors that compute with more digits would round twice.
    if (plain && point && FLT_EVAL_METHOD == 0) {
        const double quotient = double(digits) / powers[at - point - 1];
        number.real = negative ? -quotient : quotient;
        return number;
    }
    return readAnyNumber(text, end);
}

template <class Value> char *store(Arena &arena, Value value)
{
    void *bytes = arena.allocate(sizeof value);
    std::memcpy(bytes, &value, sizeof value);
    return static_cast<char *>(bytes);
}
} // namespace

void ParameterWriter::startEntry()
{
    if (m_finished) {
        m_json.clear();
        m_finished = false;
    }
    m_json += m_json.empty() ? '{' : ',';
}

void ParameterWriter::startEntry(std::string_view name)
{
    startEntry();
    appendString(m_json, name);
    m_json += ':';
}

ParameterWriter &ParameterWriter::addInteger(std::string_view name, int value)
{
    startEntry(name);
    appendInteger(m_json, value);
    return *this;
}

ParameterWriter &ParameterWriter::addDouble(std::string_view name, double value)
{
    startEntry(name);
    appendDouble(reinterpret_cast<const char *>(&value));
    return *this;
}

ParameterWriter &ParameterWriter::addText(std::string_view name, std::string_view value)
{
    startEntry(name);
    appendString(m_json, value);
    return *this;
}

/** Takes bytes: some processors change what is no number when it is handed on as a double. */
void ParameterWriter::appendDouble(const char *bytes)
{
    double value = 0;
    std::memcpy(&value, bytes, sizeof value);
    if (!std::isfinite(value)) {
        appendOpaque(ParameterDouble, bytes, int(sizeof value));
        return;
    }
    char digits[32];
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    const std::string_view shortest(digits, std::size_t(result.ptr - digits));
    m_json += shortest;
    if (shortest.find_first_of(".e") == std::string_view::npos)
        m_json += ".0";
}

void ParameterWriter::appendOpaque(int type, const char *bytes, int length)
{
    m_json += "{\"type\":";
    appendInteger(m_json, type);
    if (bytes) {
        m_json += ",\"bytes\":\"";
        for (int i = 0; i < length; ++i) {
            const auto byte = static_cast<unsigned char>(bytes[i]);
            m_json += Hex[byte >> 4];
            m_json += Hex[byte & 15];
        }
        m_json += '"';
    }
    m_json += '}';
}

ParameterWriter &ParameterWriter::add(const CMessageEventParam &parameter)
{
    if (parameter.Name) {
        startEntry(textOf(parameter.Name, parameter.LName));
    } else {
        startEntry();
        m_json.append("\"").append(NoNameKey).append("\":");
    }
    int integer = 0;
    if (parameter.Val && parameter.Type == ParameterInteger && parameter.LVal == int(sizeof integer)) {
        std::memcpy(&integer, parameter.Val, sizeof integer);
        appendInteger(m_json, integer);
    } else if (parameter.Val && parameter.Type == ParameterDouble && parameter.LVal == int(sizeof(double))) {
        appendDouble(parameter.Val);
    } else if (parameter.Val && parameter.Type == ParameterText) {
        appendString(m_json, textOf(parameter.Val, parameter.LVal));
    } else {
        appendOpaque(parameter.Type, parameter.Val, parameter.LVal);
    }
    return *this;
}

void ParameterWriter::discard()
{
    m_json.clear();
    m_finished = false;
}

std::string_view ParameterWriter::finish()
{
    if (m_finished)
        m_json.clear();
    if (!m_json.empty())
        m_json += '}';
    m_finished = true;
    return m_json;
}

CMessageEventParam *ParameterReader::read(Arena &arena, std::string_view stored, int &count)
{
    count = 0;
    if (stored.empty())
        return nullptr;
    m_entries.clear();
    m_next = arena.copy(stored);
    m_end = m_next + stored.size();
    m_escapes = std::memchr(m_next, '\\', stored.size()) != nullptr;
    // A NUL would end a text before its length.
    const bool readable = std::memchr(m_next, '\0', stored.size()) == nullptr && parse(arena);
    if (!readable) {
        static char name[] = "params";
        const std::string_view text = stored.substr(0, stored.find('\0'));
        m_entries.clear();
        m_entries.push_back({ParameterText, name, int(sizeof name), arena.copy(text), int(text.size()) + 1});
    }
    if (m_entries.empty())
        return nullptr;
    auto *array = static_cast<CMessageEventParam *>(arena.allocate(m_entries.size() * sizeof(CMessageEventParam)));
    for (const Entry &entry : m_entries) {
        auto *parameter = new (array + count++) CMessageEventParam;
        parameter->Type = entry.type;
        parameter->Name = entry.name;
        parameter->LName = entry.nameLength;
        parameter->Val = entry.value;
        parameter->LVal = entry.valueLength;
    }
    return array;
}

/** Steps over `c` and blanks around it; false when something else stands there. */
bool ParameterReader::accept(char c)
{
    const auto skipBlanks = [this] {
        while (*m_next == ' ' || *m_next == '\t' || *m_next == '\n' || *m_next == '\r')
            ++m_next;
    };
    skipBlanks();
    if (*m_next != c)
        return false;
    ++m_next;
    skipBlanks();
    return true;
}

bool ParameterReader::parse(Arena &arena)
{
    if (!accept('{'))
        return false;
    if (accept('}'))
        return m_next == m_end;
    do {
        if (!parseEntry(arena))
            return false;
    } while (accept(','));
    return accept('}') && m_next == m_end;
}

bool ParameterReader::parseEntry(Arena &arena)
{
    Entry &entry = m_entries.emplace_back();
    if (m_escapes && *m_next == '"' && std::strncmp(m_next + 1, NoNameKey.data(), NoNameKey.size()) == 0) {
        m_next += 1 + NoNameKey.size();
        if (!accept('"'))
            return false;
    } else if (!parseString(entry.name, entry.nameLength)) {
        return false;
    }
    return accept(':') && parseValue(arena, entry);
}

bool ParameterReader::parseValue(Arena &arena, Entry &entry)
{
    if (*m_next == '{')
        return parseOpaque(entry);
    if (*m_next != '"')
        return parseNumber(arena, entry);
    entry.type = ParameterText;
    return parseString(entry.value, entry.valueLength);
}

/**
 * Reads a string in place; its NUL goes over the closing quote and counts in
 * the length. False when it never closes.
 */
bool ParameterReader::parseString(char *&start, int &length)
{
    if (*m_next != '"')
        return false;
    if (m_escapes)
        return parseEscapedString(start, length);
    start = m_next + 1;
    auto *quote = static_cast<char *>(std::memchr(start, '"', std::size_t(m_end - start)));
    if (!quote)
        return false;
    *quote = '\0';
    length = int(quote - start) + 1;
    m_next = quote + 1;
    return true;
}

/** The same for a string that may hold escapes: it moves together. */
bool ParameterReader::parseEscapedString(char *&start, int &length)
{
    start = ++m_next;
    char *last = start;
    while (*m_next != '"') {
        if (m_next == m_end)
            return false;
        int byte = static_cast<unsigned char>(*m_next++);
        if (byte == '\\')
            byte = unescape(m_next);
        // A NUL would end the text before its end.
        if (byte <= 0)
            return false;
        *last++ = char(byte);
    }
    ++m_next;
    *last = '\0';
    length = int(last - start) + 1;
    return true;
}

bool ParameterReader::parseNumber(Arena &arena, Entry &entry)
{
    const Number number = readNumber(m_next, m_end);
    if (!number.end)
        return false;
    if (number.isInteger) {
        entry.type = ParameterInteger;
        entry.value = store(arena, number.integer);
        entry.valueLength = int(sizeof number.integer);
    } else {
        entry.type = ParameterDouble;
        entry.value = store(arena, number.real);
        entry.valueLength = int(sizeof number.real);
    }
    m_next += number.end - m_next;
    return true;
}

bool ParameterReader::parseOpaque(Entry &entry)
{
    if (!accept('{'))
        return false;
    do {
        char *key = nullptr;
        int keyLength = 0;
        if (!parseString(key, keyLength) || !accept(':'))
            return false;
        if (std::strcmp(key, "type") == 0) {
            const auto result = std::from_chars(m_next, m_end, entry.type);
            if (result.ec != std::errc())
                return false;
            m_next += result.ptr - m_next;
        } else if (std::strcmp(key, "bytes") == 0) {
            if (!parseString(entry.value, entry.valueLength) || !unhex(entry.value, entry.valueLength - 1))
                return false;
            entry.valueLength /= 2;
        } else {
            return false;
        }
    } while (accept(','));
    return accept('}');
}
