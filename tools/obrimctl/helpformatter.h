// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <CLI/CLI.hpp>
#include <string>

/** Writes --help in the language that was set, its columns as wide as they look. */
class HelpFormatter : public CLI::Formatter
{
public:
    HelpFormatter();

    std::string make_option(const CLI::Option *option, bool isPositional) const override;
};

/** What the parser says of a command line, in the language that was set as far as it is of the kinds that occur. */
std::string parseErrorText(const CLI::ParseError &error);
