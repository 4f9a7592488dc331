// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "format.h"

#include <string>
#include <vector>

/** Records as a table: columns as wide as their texts, all together no wider than the terminal. */
class TableFormat : public Format
{
public:
    TableFormat(const FormatOptions &options, const Columns &columns, Output &output);

    void row(const Cells &cells) override;
    void pause() override;

private:
    /** A cell as it is shown. */
    struct Shown {
        std::string text;
        std::size_t width = 0;
        const char *colour = "";
    };
    using Line = std::vector<Shown>;

    static Line headings(const Columns &columns);
    /** Takes the line's widths into account. Returns whether a column became wider. */
    bool widen(const Line &line);
    void settleWidths();
    /** The widths that fit into the terminal as it is now. */
    void fit();
    void writeLine(const Line &line, const char *colour);
    void writeCell(const Shown &cell, std::size_t width, bool toTheRight, bool isLast);

    TimeWriter m_times;
    Columns m_columns;                 ///< those that people see
    std::vector<std::size_t> m_places; ///< where they stand among all
    Output &m_output;
    bool m_hasColour;
    Line m_headings;
    std::vector<Line> m_waiting; ///< until there are enough to tell how wide the columns are
    std::vector<std::size_t> m_natural;
    std::vector<std::size_t> m_widths; ///< empty until then
    int m_room = 0;                    ///< columns of the terminal that they are for
    std::string m_text;
};
