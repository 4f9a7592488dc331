// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "parameters.h"

#include "Messages.h"
#include "arena.h"
#include "json.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <new>
#include <string>
#include <vector>

namespace
{
/** Key of a parameter without a name; no name can hold a NUL. */
constexpr std::string_view NoNameKey("\0", 1);

std::string_view textOf(const char *bytes, int length)
{
    return bytes && length > 0 ? std::string_view(bytes, ::strnlen(bytes, std::size_t(length))) : std::string_view();
}

template <class Value> char *store(Arena &arena, Value value)
{
    void *bytes = arena.allocate(sizeof value);
    std::memcpy(bytes, &value, sizeof value);
    return static_cast<char *>(bytes);
}

std::string hexOf(const char *bytes, int length)
{
    static const char digits[] = "0123456789abcdef";
    std::string hex;
    for (int i = 0; i < length; ++i) {
        hex += digits[static_cast<unsigned char>(bytes[i]) >> 4];
        hex += digits[static_cast<unsigned char>(bytes[i]) & 15];
    }
    return hex;
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    const char lower = char(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/** Turns pairs of hexadecimal digits into bytes, in place. */
bool unhex(char *digits, std::size_t length)
{
    for (std::size_t i = 0; i + 1 < length; i += 2) {
        const int high = hexDigit(digits[i]);
        const int low = hexDigit(digits[i + 1]);
        if (high < 0 || low < 0)
            return false;
        digits[i / 2] = char(high * 16 + low);
    }
    return length % 2 == 0;
}
} // namespace

class ParameterWriter::Json
{
public:
    void restart()
    {
        buffer.Clear();
        writer.Reset(buffer);
        open = false;
    }
    /** Starts the record with its first parameter. */
    ::Json::Writer &entry(std::string_view name)
    {
        if (!open) {
            restart();
            writer.StartObject();
            open = true;
        }
        writer.Key(name.data() ? name.data() : "", unsigned(name.size()));
        return writer;
    }
    void string(std::string_view text)
    {
        writer.String(text.data() ? text.data() : "", unsigned(text.size()));
    }
    /** Takes bytes: some processors change what is no number when it is handed on as a double. */
    void real(const char *bytes)
    {
        double value = 0;
        std::memcpy(&value, bytes, sizeof value);
        if (std::isfinite(value))
            writer.Double(value);
        else
            opaque(ParameterDouble, bytes, int(sizeof value));
    }
    void opaque(int type, const char *bytes, int length)
    {
        writer.StartObject();
        writer.Key("type");
        writer.Int(type);
        if (bytes) {
            writer.Key("bytes");
            string(hexOf(bytes, length));
        }
        writer.EndObject();
    }

    ::Json::Buffer buffer;
    ::Json::Writer writer{buffer};
    bool open = false;
};

ParameterWriter::ParameterWriter()
    : m_json(std::make_unique<Json>())
{
}

ParameterWriter::~ParameterWriter() = default;

ParameterWriter &ParameterWriter::addInteger(std::string_view name, int value)
{
    m_json->entry(name).Int(value);
    return *this;
}

ParameterWriter &ParameterWriter::addDouble(std::string_view name, double value)
{
    m_json->entry(name);
    m_json->real(reinterpret_cast<const char *>(&value));
    return *this;
}

ParameterWriter &ParameterWriter::addText(std::string_view name, std::string_view value)
{
    m_json->entry(name);
    m_json->string(value);
    return *this;
}

ParameterWriter &ParameterWriter::add(const CMessageEventParam &parameter)
{
    m_json->entry(parameter.Name ? textOf(parameter.Name, parameter.LName) : NoNameKey);
    int integer = 0;
    if (parameter.Val && parameter.Type == ParameterInteger && parameter.LVal == int(sizeof integer)) {
        std::memcpy(&integer, parameter.Val, sizeof integer);
        m_json->writer.Int(integer);
    } else if (parameter.Val && parameter.Type == ParameterDouble && parameter.LVal == int(sizeof(double))) {
        m_json->real(parameter.Val);
    } else if (parameter.Val && parameter.Type == ParameterText) {
        m_json->string(textOf(parameter.Val, parameter.LVal));
    } else {
        m_json->opaque(parameter.Type, parameter.Val, parameter.LVal);
    }
    return *this;
}

void ParameterWriter::discard()
{
    m_json->restart();
}

std::string_view ParameterWriter::finish()
{
    if (!m_json->open) {
        m_json->restart();
        return {};
    }
    m_json->writer.EndObject();
    m_json->open = false;
    return {m_json->buffer.GetString(), m_json->buffer.GetSize()};
}

/** Takes what RapidJSON finds in a stored form; what it refuses ends the reading. */
class ParameterReader::Json : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, ParameterReader::Json>
{
public:
    /** A parameter, until their number is known; never destroyed as parameters. */
    struct Entry {
        int type = 0;
        char *name = nullptr;
        int nameLength = 0;
        char *value = nullptr;
        int valueLength = 0;
    };

    bool parse(Arena &arena, std::string_view stored)
    {
        m_arena = &arena;
        entries.clear();
        m_depth = 0;
        m_escapes = std::memchr(stored.data(), '\\', stored.size()) != nullptr;
        char *text = arena.copy(stored);
        rapidjson::InsituStringStream stream(text);
        constexpr unsigned flags = rapidjson::kParseInsituFlag | rapidjson::kParseNumbersAsStringsFlag;
        // A NUL ends the stream wherever it stands.
        return !m_reader.Parse<flags>(stream, *this).IsError() && stream.Tell() == stored.size();
    }

    // NOLINTBEGIN(readability-identifier-naming): the names that RapidJSON calls
    bool Default()
    {
        return false;
    }
    /** Numbers come as they stand: from_chars is exact on every processor. */
    bool RawNumber(const char *text, unsigned length, bool)
    {
        int integer = 0;
        const auto result = std::from_chars(text, text + length, integer);
        const bool isInteger = result.ec == std::errc() && result.ptr == text + length;
        if (m_depth == 2)
            return isInteger && setType(integer);
        if (m_depth == 1 && isInteger)
            return setValue(ParameterInteger, integer);
        double real = 0;
        return m_depth == 1 && std::from_chars(text, text + length, real).ec == std::errc() &&
               setValue(ParameterDouble, real);
    }
    bool Key(const char *text, unsigned length, bool)
    {
        return m_depth == 1 ? startEntry(const_cast<char *>(text), length) : startField({text, length});
    }
    bool String(const char *text, unsigned length, bool)
    {
        auto *bytes = const_cast<char *>(text);
        return m_depth == 2 ? setBytes(bytes, length) : setText(bytes, length);
    }
    bool StartObject()
    {
        return ++m_depth <= 2;
    }
    bool EndObject(unsigned)
    {
        --m_depth;
        return true;
    }
    // NOLINTEND(readability-identifier-naming)

    std::vector<Entry> entries;

private:
    enum class Field { Type, Bytes };

    template <class Value> bool setValue(int type, Value value)
    {
        Entry &entry = entries.back();
        entry.type = type;
        entry.value = store(*m_arena, value);
        entry.valueLength = int(sizeof value);
        return true;
    }
    bool startEntry(char *name, unsigned length)
    {
        Entry &entry = entries.emplace_back();
        if (m_escapes && std::string_view(name, length) == NoNameKey)
            return true;
        entry.name = name;
        entry.nameLength = int(length) + 1;
        return hasNoNul(name, length);
    }
    bool startField(std::string_view name)
    {
        m_field = name == "type" ? Field::Type : Field::Bytes;
        return m_field == Field::Type || name == "bytes";
    }
    bool setType(int type)
    {
        entries.back().type = type;
        return m_field == Field::Type;
    }
    bool setText(char *text, unsigned length)
    {
        if (m_depth != 1)
            return false;
        Entry &entry = entries.back();
        entry.type = ParameterText;
        entry.value = text;
        entry.valueLength = int(length) + 1;
        return hasNoNul(text, length);
    }
    bool setBytes(char *hex, unsigned length)
    {
        Entry &entry = entries.back();
        entry.value = hex;
        entry.valueLength = int(length / 2);
        return m_field == Field::Bytes && unhex(hex, length);
    }
    /** A NUL would end a text before its length; only an escape can bring one. */
    bool hasNoNul(const char *text, unsigned length) const
    {
        return !m_escapes || std::memchr(text, '\0', length) == nullptr;
    }

    Arena *m_arena = nullptr;
    int m_depth = 0;
    bool m_escapes = false; ///< there is a backslash somewhere
    Field m_field = Field::Type;
    ::Json::Reader m_reader;
};

ParameterReader::ParameterReader()
    : m_json(std::make_unique<Json>())
{
}

ParameterReader::~ParameterReader() = default;

CMessageEventParam *ParameterReader::read(Arena &arena, std::string_view stored, int &count)
{
    count = 0;
    if (stored.empty())
        return nullptr;
    const bool readable = m_json->parse(arena, stored);
    std::vector<Json::Entry> &entries = m_json->entries;
    if (!readable) {
        static char name[] = "params";
        const std::string_view text = stored.substr(0, stored.find('\0'));
        entries.clear();
        entries.push_back({ParameterText, name, int(sizeof name), arena.copy(text), int(text.size()) + 1});
    }
    if (entries.empty())
        return nullptr;
    auto *array = static_cast<CMessageEventParam *>(arena.allocate(entries.size() * sizeof(CMessageEventParam)));
    for (const Json::Entry &entry : entries) {
        auto *parameter = new (array + count++) CMessageEventParam;
        parameter->Type = entry.type;
        parameter->Name = entry.name;
        parameter->LName = entry.nameLength;
        parameter->Val = entry.value;
        parameter->LVal = entry.valueLength;
    }
    return array;
}
