// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "listview.h"
#include "loadguard.h"
#include "messagetext.h"
#include "namepool.h"
#include "recorditem.h"

#include <algorithm>
#include <climits>
#include <string>

/** The rows made of a fetch's records, before the list has them, and what is known of the identifiers. */
struct Arrivals {
    ListView::Rows rows;
    int lowest = INT_MAX;
    int highest = INT_MIN;
};

/**
 * Rows of `count` records, numbered by numberOf(i, count) in so many digits. What the rows share goes to `names`, the
 * rows themselves lie in `memory`: both outlive them. `load` shows how far it is. Throws std::bad_alloc.
 */
template <class Traits, class NumberOf>
Arrivals rowsOf(const typename Traits::Record *records, int count, int digits, NumberOf numberOf, NamePool &names,
                RowMemory &memory, LoadGuard &load)
{
    constexpr int rowsPerLook = 4096; // at the clock
    DateClasses dates;
    LentNames lent(names, count);
    std::string parameters;
    Arrivals arrivals;
    arrivals.rows.reserve(std::size_t(count));
    for (int i = 0; i < count; ++i) {
        const auto &record = records[i];
        const int id = record.*Traits::Identifier;
        const std::time_t time = record.*Traits::Time;
        arrivals.lowest = std::min(arrivals.lowest, id);
        arrivals.highest = std::max(arrivals.highest, id);
        parameters.clear();
        appendLentParameters(parameters, record.par, record.ParNum);
        const auto *sensor = lent.name(record.SensorID, record.LSensorID);
        arrivals.rows.push_back(
            Traits::Item::create(memory, {numberOf(i, count), digits, sensor, id, Traits::kind(record, lent), time,
                                          dates.of(time), parameters}));
        if (i % rowsPerLook == rowsPerLook - 1)
            load.showProgress(i + 1, count);
    }
    return arrivals;
}
