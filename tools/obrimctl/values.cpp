// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "values.h"

#include "bytetext.h"
#include "failure.h"
#include "recordfilter.h"
#include "visibletext.h"

#include <charconv>
#include <climits>

namespace
{
[[noreturn]] void refuse(const std::string &option, const std::string &text, const std::string &expected)
{
    throw UsageError(option + " cannot be '" + visibleText(text) + "': " + expected);
}

template <class Number> std::optional<Number> toNumber(std::string_view text)
{
    Number number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size())
        return std::nullopt;
    return number;
}

std::string range(const std::string &least, const std::string &most)
{
    return " from " + least + " to " + most;
}
} // namespace

int readInteger(const std::string &option, const std::string &text, int least, int most)
{
    const auto number = toNumber<int>(text);
    if (!number || *number < least || *number > most)
        refuse(option, text, "a whole number" + range(std::to_string(least), std::to_string(most)) + " is expected");
    return *number;
}

std::optional<int> readLimit(const std::string &text)
{
    if (text == "all")
        return std::nullopt;
    const auto number = toNumber<int>(text);
    if (!number || *number < 0)
        refuse("-n", text, "a number of records or 'all' is expected");
    return number;
}

double readSeconds(const std::string &option, const std::string &text, double least, double most)
{
    const auto number = toNumber<double>(text);
    // Written so that "nan" does not pass.
    if (!number || !(*number >= least && *number <= most)) {
        char bounds[64];
        std::snprintf(bounds, sizeof(bounds), "seconds from %g to %g are expected", least, most);
        refuse(option, text, bounds);
    }
    return *number;
}

int readCode(const std::string &option, const std::string &text, const std::vector<CodeWord> &words)
{
    std::string expected;
    for (const CodeWord &known : words) {
        if (text == known.word)
            return known.code;
        expected += std::string(known.word) + ", ";
    }
    const auto number = toNumber<int>(text);
    if (!number)
        refuse(option, text, expected + "or a number is expected");
    return *number;
}

IdRange readIds(const std::string &text)
{
    const auto end = [&](const std::string &number, std::int64_t otherwise) -> std::int64_t {
        if (number.empty())
            return otherwise;
        const auto id = toNumber<int>(number);
        if (!id)
            refuse("--id", text, "an identifier or A..B is expected, with numbers below 2147483648");
        return *id;
    };
    const std::size_t dots = text.find("..");
    if (dots == std::string::npos) {
        const std::int64_t id = end(text.empty() ? "nothing" : text, 0);
        return {id, id};
    }
    const IdRange ids = {end(text.substr(0, dots), INT_MIN), end(text.substr(dots + 2), INT_MAX)};
    if (text == ".." || ids.isEmpty())
        refuse("--id", text, "the first identifier of A..B must not be above the second, and one must be given");
    return ids;
}

std::time_t readTime(const std::string &option, const std::string &text, std::time_t now, Clock clock)
{
    const auto time = parseTime(text, now, clock);
    if (!time) {
        refuse(
            option, text,
            "a time such as '2026-11-21 20:16', 20:16, yesterday, -2h or @SECONDS between 1901 and 2038 is expected");
    }
    return *time;
}

std::string readMask(const std::string &option, const std::string &text)
{
    std::string mask = toLatin1(text, option);
    const std::string fault = maskFault(mask);
    if (!fault.empty())
        throw UsageError("the mask of " + option + " " + fault);
    return mask;
}
