// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "values.h"

#include "bytetext.h"
#include "failure.h"
#include "filling.h"
#include "recordfilter.h"
#include "translation.h"
#include "visibletext.h"

#include <charconv>
#include <climits>
#include <map>

namespace
{
template <class Number> std::optional<Number> toNumber(std::string_view text)
{
    Number number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size())
        return std::nullopt;
    return number;
}
} // namespace

void refuse(const std::string &option, const std::string &text, const std::string &expected)
{
    throw UsageError(filled(translated("%1 cannot be '%2': %3"), option, visibleText(text), expected));
}

int readInteger(const std::string &option, const std::string &text, int least, int most)
{
    const auto number = toNumber<int>(text);
    if (!number || *number < least || *number > most)
        refuse(option, text, filled(translated("a whole number from %1 to %2 is expected"), least, most));
    return *number;
}

std::optional<int> readLimit(const std::string &text)
{
    if (text == "all")
        return std::nullopt;
    const auto number = toNumber<int>(text);
    if (!number || *number < 0)
        refuse("-n", text, translated("a number of records or 'all' is expected"));
    return number;
}

double readSeconds(const std::string &option, const std::string &text, double least, double most)
{
    const auto number = toNumber<double>(text);
    // Written so that "nan" does not pass.
    if (!number || !(*number >= least && *number <= most))
        refuse(option, text, filled(translated("seconds from %1 to %2 are expected"), least, most));
    return *number;
}

int readCode(const std::string &option, const std::string &text, const std::vector<CodeWord> &words)
{
    std::string expected;
    for (const CodeWord &known : words) {
        if (text == known.word)
            return known.code;
        expected += (expected.empty() ? "" : ", ") + std::string(known.word);
    }
    const auto number = toNumber<int>(text);
    if (!number) {
        refuse(option, text,
               expected.empty() ? translated("or a number is expected")
                                : filled(translated("%1, or a number is expected"), expected));
    }
    return *number;
}

IdRange readIds(const std::string &text)
{
    const auto end = [&](const std::string &number, std::int64_t otherwise) -> std::int64_t {
        if (number.empty())
            return otherwise;
        const auto id = toNumber<int>(number);
        if (!id)
            refuse("--id", text, translated("an identifier or A..B is expected, with numbers below 2147483648"));
        return *id;
    };
    const std::size_t dots = text.find("..");
    if (dots == std::string::npos) {
        const std::int64_t id = end(text.empty() ? "nothing" : text, 0);
        return {id, id};
    }
    const IdRange ids = {end(text.substr(0, dots), INT_MIN), end(text.substr(dots + 2), INT_MAX)};
    if (text == ".." || ids.isEmpty())
        refuse("--id", text,
               translated("the first identifier of A..B must not be above the second, and one must be given"));
    return ids;
}

std::time_t readTime(const std::string &option, const std::string &text, std::time_t now, Clock clock)
{
    const auto time = parseTime(text, now, clock);
    if (!time) {
        refuse(option, text,
               translated("a time such as '2026-11-21 20:16', 20:16, yesterday, -2h or @SECONDS between 1901 and 2038 "
                          "is expected"));
    }
    return *time;
}

std::string readMask(const std::string &option, const std::string &text)
{
    std::string mask = toLatin1(text, option);
    const std::string fault = maskFault(option, mask);
    if (!fault.empty())
        throw UsageError(fault);
    return mask;
}

FormatName readFormat(const std::string &text)
{
    static const std::map<std::string, FormatName> formats = {{"table", FormatName::Table},
                                                              {"csv", FormatName::Csv},
                                                              {"json", FormatName::Json},
                                                              {"short", FormatName::Short}};
    const auto found = formats.find(text);
    if (found == formats.end())
        refuse("--output", text, translated("table, csv, json or short is expected"));
    return found->second;
}

ColourUse readColour(const std::string &text)
{
    static const std::map<std::string, ColourUse> uses = {
        {"auto", ColourUse::Auto}, {"always", ColourUse::Always}, {"never", ColourUse::Never}};
    const auto found = uses.find(text);
    if (found == uses.end())
        refuse("--color", text, translated("auto, always or never is expected"));
    return found->second;
}
