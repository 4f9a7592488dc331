// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

/** A number that people have a word for. */
struct CodeWord {
    int code;
    const char *word;
};
/** The kinds of sensors, which are those of their events too. */
extern const std::vector<CodeWord> SensorKinds;
/** The orders of commands. */
extern const std::vector<CodeWord> Orders;
/** Whether a sensor is alive. */
extern const std::vector<CodeWord> Livenesses;

/** What one field of a record is written as. */
struct Cell {
    enum class Type {
        Number,
        Code, ///< a number that people have a word for
        Word, ///< that word on its own
        Time, ///< seconds
        Text, ///< Latin-1
        Parameters
    };

    Type type = Type::Number;
    int parameterCount = 0;
    std::int64_t number = 0;
    std::string_view text; ///< its data is NULL where the record has none
    const CMessageEventParam *parameters = nullptr;
    const std::vector<CodeWord> *words = nullptr; ///< of a code or word

    /** The word for the number; NULL when there is none. */
    const char *word() const;
};

/** One column of a list. */
struct Column {
    const char *key;     ///< in csv and json
    const char *heading; ///< in tables; NULL: not shown to people
    bool isNumber;       ///< aligned to the right
    bool isText;         ///< still says something when its end is cut
};

constexpr std::size_t MostColumns = 8;
using Cells = std::array<Cell, MostColumns>;
using Columns = std::vector<Column>;

/** The columns of a list of records, in the order of their cells. */
template <class Record> const Columns &columnsOf();
template <> const Columns &columnsOf<CSensor>();
template <> const Columns &columnsOf<CMessageEvent>();
template <> const Columns &columnsOf<CMessageCommand>();

/** The fields of a record, valid as long as the record. */
void fillCells(Cells &cells, const CSensor &sensor);
void fillCells(Cells &cells, const CMessageEvent &event);
void fillCells(Cells &cells, const CMessageCommand &command);

/** The word for a code; NULL when there is none. */
const char *wordFor(const std::vector<CodeWord> &words, int code);
