// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

/** @file Texts with places for values, their width, and lines of help. */

/** What stands in a place: a text, or a number that is not divided into groups. */
class Filling
{
public:
    Filling(std::string text)
        : m_text(std::move(text))
    {
    }
    Filling(std::string_view text)
        : m_text(text)
    {
    }
    Filling(const char *text)
        : m_text(text)
    {
    }
    template <class Number, class = std::enable_if_t<std::is_integral_v<Number>>>
    Filling(Number number)
        : m_text(std::to_string(number))
    {
    }
    /** Six digits at most, the point as it is in C. */
    Filling(double number);

    const std::string &text() const
    {
        return m_text;
    }

private:
    std::string m_text;
};

/** The text with %1 to %9 replaced by the first to ninth value, in whichever order; places without a value stay. */
std::string filled(std::string_view text, std::initializer_list<Filling> values);

template <class... Values> std::string filled(std::string_view text, const Values &...values)
{
    return filled(text, {Filling(values)...});
}

/** Columns that a text in UTF-8 takes: its characters, none of which is a wide or combining one. */
std::size_t columnCount(std::string_view utf8);

/** The text with blanks behind it, `width` columns wide or wider. */
std::string padded(std::string text, std::size_t width);

/**
 * A line of --help: what is explained, and from a column on, which is `width` behind that where it begins, its
 * meaning. Line feeds in the meaning begin further lines there.
 */
std::string helpEntry(const std::string &what, std::size_t width, std::string_view meaning);
