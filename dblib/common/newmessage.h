// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "series.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <string_view>

struct CMessageCommand;
struct CMessageEvent;
class ParameterWriter;

/** A row to be written; texts and parameters must live until the call returns. */
struct NewMessage {
    SeriesKey series;
    std::int64_t time = 0;
    std::string_view params; ///< the stored form of parameters.h
};

/** What a record says; its texts are the record's, its parameters the writer's until that is used again. */
NewMessage messageOf(const CMessageEvent &event, ParameterWriter &writer);
NewMessage messageOf(const CMessageCommand &command, ParameterWriter &writer);

/** The stores' times are signed 32-bit, as the boundary's are. */
inline std::int64_t clamped(std::int64_t time)
{
    return std::clamp<std::int64_t>(time, INT_MIN, INT_MAX);
}
