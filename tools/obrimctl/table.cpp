// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "table.h"

#include "bytetext.h"
#include "filling.h"

#include <algorithm>
#include <numeric>

namespace
{
constexpr std::size_t RowsForWidths = 1000;
constexpr std::size_t Gap = 2;
constexpr std::size_t LeastWidth = 4;

constexpr const char *Bold = "\x1b[1m";
constexpr const char *Red = "\x1b[31m";
constexpr const char *Green = "\x1b[32m";
constexpr const char *Plain = "\x1b[0m";

const char *colourOf(const Cell &cell)
{
    const char *shown = cell.type == Cell::Type::Word ? cell.word() : nullptr;
    const std::string_view word = shown ? shown : "";
    return word == "alive" ? Green : word == "dead" || word == "kill" ? Red : "";
}

/** The first `count` characters. */
std::string firstCharacters(const std::string &utf8, std::size_t count)
{
    std::size_t end = 0;
    for (; end < utf8.size(); ++end)
        if ((utf8[end] & 0xc0) != 0x80 && count-- == 0)
            break;
    return utf8.substr(0, end);
}
} // namespace

namespace
{
/** The width of the next narrower column, no less than can be read. */
std::size_t nextNarrower(const std::vector<std::size_t> &widths, std::size_t width)
{
    std::size_t next = LeastWidth;
    for (const std::size_t other : widths)
        if (other < width)
            next = std::max(next, other);
    return next;
}
} // namespace

std::vector<std::size_t> fitWidths(std::vector<std::size_t> widths, std::size_t room, std::size_t gap)
{
    const std::size_t gaps = widths.empty() ? 0 : gap * (widths.size() - 1);
    std::size_t sum = std::accumulate(widths.begin(), widths.end(), gaps);
    while (room > 0 && sum > room) {
        const std::size_t widest = *std::max_element(widths.begin(), widths.end());
        if (widest <= LeastWidth)
            break;
        // All of the widest at once, down to the next narrower one: texts may be very long.
        auto sharing = std::size_t(std::count(widths.begin(), widths.end(), widest));
        std::size_t less = std::min((widest - nextNarrower(widths, widest)) * sharing, sum - room);
        sum -= less;
        for (std::size_t &width : widths) {
            if (width != widest)
                continue;
            const std::size_t share = (less + sharing - 1) / sharing;
            width -= share;
            less -= share;
            --sharing;
        }
    }
    return widths;
}

TableFormat::TableFormat(const FormatOptions &options, const Columns &columns, Output &output)
    : m_times(options.clock)
    , m_output(output)
    , m_hasColour(output.hasColour(options.colour))
{
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (columns[i].heading) {
            m_columns.push_back(columns[i]);
            m_places.push_back(i);
        }
    }
    m_headings = headings(m_columns);
    for (const Shown &heading : m_headings)
        m_natural.push_back(heading.width);
}

TableFormat::Line TableFormat::headings(const Columns &columns)
{
    Line line;
    for (const Column &column : columns)
        line.push_back({column.heading, columnCount(column.heading), ""});
    return line;
}

void TableFormat::row(const Cells &cells)
{
    Line line;
    for (const std::size_t place : m_places) {
        Shown shown;
        appendForPeople(shown.text, cells[place], m_times);
        shown.width = columnCount(shown.text);
        shown.colour = m_hasColour ? colourOf(cells[place]) : "";
        line.push_back(std::move(shown));
    }
    const bool grows = widen(line);
    if (m_widths.empty()) {
        m_waiting.push_back(std::move(line));
        if (m_waiting.size() >= RowsForWidths)
            settleWidths();
        return;
    }
    // A row that comes later and is wider makes the columns wider from here on.
    if (grows)
        fit();
    writeLine(line, "");
}

bool TableFormat::widen(const Line &line)
{
    bool grows = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        grows = grows || line[i].width > m_natural[i];
        m_natural[i] = std::max(m_natural[i], line[i].width);
    }
    return grows;
}

void TableFormat::pause()
{
    if (m_widths.empty())
        settleWidths();
    else if (m_output.width() != m_room)
        fit();
}

/** Texts give first: half a time or number says something else. */
void TableFormat::fit()
{
    m_room = m_output.width();
    const auto room = std::size_t(m_room);
    std::vector<std::size_t> texts;
    std::size_t others = 0;
    for (std::size_t i = 0; i < m_columns.size(); ++i)
        if (m_columns[i].isText)
            texts.push_back(m_natural[i]);
        else
            others += m_natural[i] + Gap;
    if (room > 0)
        texts = fitWidths(std::move(texts), room > others ? room - others : 1, Gap);
    m_widths = m_natural;
    auto text = texts.begin();
    for (std::size_t i = 0; i < m_columns.size(); ++i)
        if (m_columns[i].isText)
            m_widths[i] = *text++;
    m_widths = fitWidths(std::move(m_widths), room, Gap);
}

void TableFormat::settleWidths()
{
    fit();
    writeLine(m_headings, m_hasColour ? Bold : "");
    for (const Line &line : m_waiting)
        writeLine(line, "");
    m_waiting = {};
}

void TableFormat::writeLine(const Line &line, const char *colour)
{
    m_text = colour;
    for (std::size_t i = 0; i < line.size(); ++i)
        writeCell(line[i], m_widths[i], m_columns[i].isNumber, i + 1 == line.size());
    m_text.erase(m_text.find_last_not_of(' ') + 1);
    m_text += *colour ? Plain : "";
    m_text += '\n';
    m_output.write(m_text);
}

void TableFormat::writeCell(const Shown &cell, std::size_t width, bool toTheRight, bool isLast)
{
    const bool isCut = cell.width > width;
    const std::size_t padding = isCut ? 0 : width - cell.width;
    m_text.append(toTheRight ? padding : 0, ' ').append(cell.colour);
    m_text += isCut ? firstCharacters(cell.text, width - 1) + "…" : cell.text;
    m_text.append(*cell.colour ? Plain : "");
    if (!isLast)
        m_text.append((toTheRight ? 0 : padding) + Gap, ' ');
}
