// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "bytetext.h"
#include "format.h"
#include "parametertext.h"

#include <cmath>
#include <cstring>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace
{
using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void writeText(Writer &writer, std::string_view latin1)
{
    if (!latin1.data()) {
        writer.Null();
        return;
    }
    std::string text;
    appendUtf8(text, latin1);
    writer.String(text.data(), rapidjson::SizeType(text.size()));
}

/** JSON has no form for these; their names can be read back. */
void writeNumber(Writer &writer, double number)
{
    if (std::isfinite(number))
        writer.Double(number);
    else
        writer.String(std::isnan(number) ? "NaN" : number > 0 ? "Infinity" : "-Infinity");
}

template <class Number> bool readNumber(Number &number, const CMessageEventParam &parameter)
{
    if (!parameter.Val || (parameter.LVal > 0 && parameter.LVal < int(sizeof(Number))))
        return false;
    std::memcpy(&number, parameter.Val, sizeof(Number));
    return true;
}

void writeValue(Writer &writer, const CMessageEventParam &parameter)
{
    int integer = 0;
    double real = 0;
    if (parameter.Type == ParameterInteger && readNumber(integer, parameter))
        writer.Int(integer);
    else if (parameter.Type == ParameterDouble && readNumber(real, parameter))
        writeNumber(writer, real);
    else if (parameter.Type == ParameterText && parameter.Val)
        writeText(writer, recordBytes(parameter.Val, parameter.LVal));
    else
        writer.Null();
}

void writeParameters(Writer &writer, const CMessageEventParam *parameters, int count)
{
    writer.StartArray();
    for (int i = 0; i < count; ++i) {
        writer.StartObject();
        writer.Key("name");
        writeText(writer,
                  parameters[i].Name ? recordBytes(parameters[i].Name, parameters[i].LName) : std::string_view());
        writer.Key("type");
        writer.Int(parameters[i].Type);
        writer.Key("value");
        writeValue(writer, parameters[i]);
        writer.EndObject();
    }
    writer.EndArray();
}

void writeCell(Writer &writer, const Column &column, const Cell &cell, TimeWriter &times)
{
    writer.Key(column.key);
    switch (cell.type) {
    case Cell::Type::Number:
    case Cell::Type::Code:
        writer.Int64(cell.number);
        break;
    case Cell::Type::Time:
        writer.String(times.text(std::time_t(cell.number)).c_str());
        writer.Key((std::string(column.key) + "_seconds").c_str());
        writer.Int64(cell.number);
        break;
    case Cell::Type::Word:
        cell.word() ? writer.String(cell.word()) : writer.Null();
        break;
    case Cell::Type::Text:
        writeText(writer, cell.text);
        break;
    case Cell::Type::Parameters:
        writeParameters(writer, cell.parameters, cell.parameterCount);
        break;
    }
}
} // namespace

void appendJsonLine(std::string &out, const Columns &columns, const Cells &cells, TimeWriter &times)
{
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    for (std::size_t i = 0; i < columns.size(); ++i)
        writeCell(writer, columns[i], cells[i], times);
    writer.EndObject();
    appendEscapedJson(out, {buffer.GetString(), buffer.GetSize()});
    out += '\n';
}

void appendEscapedJson(std::string &out, std::string_view json)
{
    static const char digits[] = "0123456789abcdef";
    for (std::size_t i = 0; i < json.size(); ++i) {
        const auto c = static_cast<unsigned char>(json[i]);
        const bool isC1 = c == 0xc2 && i + 1 < json.size() && static_cast<unsigned char>(json[i + 1]) < 0xa0;
        if (c != 0x7f && !isC1) {
            out += json[i];
            continue;
        }
        const auto code = static_cast<unsigned char>(json[isC1 ? ++i : i]);
        out.append("\\u00").append({digits[code >> 4], digits[code & 15]});
    }
}
