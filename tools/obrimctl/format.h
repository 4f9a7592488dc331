// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "output.h"
#include "rows.h"
#include "timetext.h"

#include <memory>
#include <vector>

/** How records are written. */
enum class FormatName { Table, Csv, Json, Short };

/** Writes the records of one list, row by row. */
class Format
{
public:
    virtual ~Format() = default;

    virtual void row(const Cells &cells) = 0;
    /** No more rows come for a while: what was held back is written. */
    virtual void pause() {}
};

/** What a format is made of; `output` must outlive it. */
struct FormatOptions {
    FormatName name = FormatName::Table;
    Clock clock = Clock::Local;
    ColourUse colour = ColourUse::Auto;
};

/** Writes what stands before the first row. */
std::unique_ptr<Format> makeFormat(const FormatOptions &options, const Columns &columns, Output &output);

/** A cell as people read it: UTF-8, control characters visible. */
void appendForPeople(std::string &out, const Cell &cell, TimeWriter &times);
/** A cell as a field of RFC 4180: quoted where it must be; a missing text is empty, an empty one is "". */
void appendCsvField(std::string &out, const Cell &cell, TimeWriter &times, bool controlsVisible);
/** A record as an object of JSON on one line, its line feed included. */
void appendJsonLine(std::string &out, const Columns &columns, const Cells &cells, TimeWriter &times);
/** Appends a text of JSON, in which the library leaves the controls from U+007F to U+009F as they are, without them. */
void appendEscapedJson(std::string &out, std::string_view json);
/**
 * The widths to which columns of these `widths` are cut so that they fit into `room` with `gap` between
 * them: the widest give first and alike, none goes below 4. A room of 0 has no bounds.
 */
std::vector<std::size_t> fitWidths(std::vector<std::size_t> widths, std::size_t room, std::size_t gap);
