// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "format.h"

#include "bytetext.h"
#include "parametertext.h"
#include "table.h"

#include <array>
#include <charconv>

namespace
{
void appendNumber(std::string &out, std::int64_t number)
{
    char digits[24];
    const char *end = std::to_chars(digits, digits + sizeof(digits), number).ptr;
    out.append(digits, std::size_t(end - digits));
}

/** Records as comma-separated values. */
class CsvFormat : public Format
{
public:
    CsvFormat(Clock clock, const Columns &columns, Output &output)
        : m_times(clock)
        , m_columns(columns)
        , m_output(output)
    {
        std::string line;
        for (const Column &column : columns)
            line.append(line.empty() ? "" : ",").append(column.key);
        output.write(line + "\r\n");
    }
    void row(const Cells &cells) override
    {
        std::string &out = m_output.buffer();
        for (std::size_t i = 0; i < m_columns.size(); ++i) {
            if (i > 0)
                out += ',';
            appendCsvField(out, cells[i], m_times, m_output.isTerminal());
        }
        out += "\r\n";
        m_output.flushFull();
    }

private:
    TimeWriter m_times;
    const Columns &m_columns;
    Output &m_output;
};

/** Records as objects of JSON, one a line. */
class JsonFormat : public Format
{
public:
    JsonFormat(Clock clock, const Columns &columns, Output &output)
        : m_times(clock)
        , m_columns(columns)
        , m_output(output)
    {
    }
    void row(const Cells &cells) override
    {
        m_line.clear();
        appendJsonLine(m_line, m_columns, cells, m_times);
        m_output.write(m_line);
    }

private:
    TimeWriter m_times;
    const Columns &m_columns;
    Output &m_output;
    std::string m_line;
};

/** What people read of a record, without padding or heading. */
class ShortFormat : public Format
{
public:
    ShortFormat(Clock clock, const Columns &columns, Output &output)
        : m_times(clock)
        , m_columns(columns)
        , m_output(output)
    {
    }
    void row(const Cells &cells) override
    {
        m_line.clear();
        for (std::size_t i = 0; i < m_columns.size(); ++i) {
            if (m_columns[i].heading) {
                appendForPeople(m_line, cells[i], m_times);
                m_line += ' ';
            }
        }
        m_line.erase(m_line.find_last_not_of(' ') + 1);
        m_line += '\n';
        m_output.write(m_line);
    }

private:
    TimeWriter m_times;
    const Columns &m_columns;
    Output &m_output;
    std::string m_line;
};

/** What a field of RFC 4180 has to care for in a byte of Latin-1. */
enum ByteTrait : unsigned char { NeedsQuotes = 1, BeyondAscii = 2, Control = 4 };

constexpr std::array<unsigned char, 256> byteTraits()
{
    std::array<unsigned char, 256> traits = {};
    for (std::size_t c = 0; c < traits.size(); ++c) {
        const bool quotes = c == ',' || c == '"' || c == '\r' || c == '\n';
        const bool control = c < 0x20 || (c >= 0x7f && c < 0xa0);
        traits[c] = static_cast<unsigned char>((quotes ? NeedsQuotes : 0) | (c >= 0x80 ? BeyondAscii : 0) |
                                               (control ? Control : 0));
    }
    return traits;
}

/** The traits of all bytes of a text. Nearly always there are none, and the bytes are copied as they are. */
unsigned traitsOf(std::string_view latin1)
{
    static constexpr auto traits = byteTraits();
    unsigned found = 0;
    for (const char c : latin1)
        found |= traits[static_cast<unsigned char>(c)];
    return found;
}

void appendQuoted(std::string &out, std::string_view latin1, void (*append)(std::string &, std::string_view))
{
    out += '"';
    for (std::size_t from = 0;;) {
        const std::size_t to = latin1.find('"', from);
        append(out, latin1.substr(from, to - from));
        if (to == std::string_view::npos)
            break;
        out += "\"\"";
        from = to + 1;
    }
    out += '"';
}

void appendCsvText(std::string &out, std::string_view latin1, bool controlsVisible)
{
    const unsigned traits = traitsOf(latin1);
    const bool isVisible = controlsVisible && (traits & Control) != 0;
    if (latin1.empty() || (traits & NeedsQuotes) != 0)
        appendQuoted(out, latin1, isVisible ? appendVisible : appendUtf8);
    else if (isVisible)
        appendVisible(out, latin1);
    else if ((traits & BeyondAscii) != 0)
        appendUtf8(out, latin1);
    else
        out += latin1;
}
} // namespace

void appendForPeople(std::string &out, const Cell &cell, TimeWriter &times)
{
    switch (cell.type) {
    case Cell::Type::Time:
        times.append(out, std::time_t(cell.number));
        break;
    case Cell::Type::Parameters: {
        std::string parameters;
        appendParameters(parameters, cell.parameters, cell.parameterCount);
        appendVisible(out, parameters);
        break;
    }
    case Cell::Type::Text:
        appendVisible(out, cell.text);
        break;
    case Cell::Type::Number:
        appendNumber(out, cell.number);
        break;
    default:
        if (const char *word = cell.word())
            out += word;
        else
            appendNumber(out, cell.number);
    }
}

void appendCsvField(std::string &out, const Cell &cell, TimeWriter &times, bool controlsVisible)
{
    switch (cell.type) {
    case Cell::Type::Number:
    case Cell::Type::Code:
        appendNumber(out, cell.number);
        break;
    case Cell::Type::Time:
        times.append(out, std::time_t(cell.number));
        break;
    case Cell::Type::Parameters: {
        if (cell.parameterCount == 0)
            break;
        thread_local std::string parameters;
        parameters.clear();
        appendParameters(parameters, cell.parameters, cell.parameterCount);
        appendCsvText(out, parameters, controlsVisible);
        break;
    }
    case Cell::Type::Word:
        if (const char *word = cell.word())
            out += word;
        break;
    case Cell::Type::Text:
        if (cell.text.data())
            appendCsvText(out, cell.text, controlsVisible);
        break;
    }
}

std::unique_ptr<Format> makeFormat(const FormatOptions &options, const Columns &columns, Output &output)
{
    switch (options.name) {
    case FormatName::Csv:
        return std::make_unique<CsvFormat>(options.clock, columns, output);
    case FormatName::Json:
        return std::make_unique<JsonFormat>(options.clock, columns, output);
    case FormatName::Short:
        return std::make_unique<ShortFormat>(options.clock, columns, output);
    default:
        return std::make_unique<TableFormat>(options, columns, output);
    }
}
