// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "helpformatter.h"

#include "filling.h"
#include "translation.h"

#include <regex>

HelpFormatter::HelpFormatter()
{
    label("Usage", translated("Usage"));
    label("OPTIONS", translated("OPTIONS"));
    label("SUBCOMMAND", translated("SUBCOMMAND"));
    label("Positionals", translated("Positionals"));
    label("REQUIRED", translated("REQUIRED"));
}

/** The base class counts bytes. */
std::string HelpFormatter::make_option(const CLI::Option *option, bool isPositional) const
{
    const std::size_t width = get_column_width();
    std::string text = "  " + make_option_name(option, isPositional) + make_option_opts(option);
    if (columnCount(text) >= width)
        text += "\n";
    const std::size_t lineBegin = text.rfind('\n') + 1;
    return text.substr(0, lineBegin) + padded(text.substr(lineBegin), width) + make_option_desc(option) + "\n";
}

std::string parseErrorText(const CLI::ParseError &error)
{
    // The parser has no other form of its messages than the text.
    static const std::pair<std::regex, const char *> known[] = {
        {std::regex("(.+) is required"), translatable("%1 is required")},
        {std::regex("(.+): 1 required (.+) missing"), translatable("%1: 1 required %2 missing")},
        {std::regex("(.+): At Most (\\d+) required but received (\\d+)"),
         translatable("%1: At Most %2 required but received %3")},
    };
    std::string text = error.what();
    std::smatch parts;
    for (const auto &[pattern, message] : known)
        if (std::regex_match(text, parts, pattern))
            return filled(translated(message), parts.str(1), parts.str(2), parts.str(3));
    return text;
}
