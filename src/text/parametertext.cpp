// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "parametertext.h"

#include "Messages.h"

#include <charconv>
#include <cstring>

namespace
{
// Numbers are not written by the C library, whose decimal point is the
// desktop's.
void appendNumber(std::string &text, int number)
{
    char digits[16];
    text.append(digits, std::to_chars(digits, digits + sizeof(digits), number).ptr);
}

/** As the C library writes a %lg in the C locale. */
void appendNumber(std::string &text, double number)
{
    constexpr int significant = 6;
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof(digits), number, std::chars_format::general, significant);
    text.append(digits, end.ptr);
}

/** The value's bytes need not be aligned. A length that is stated must be enough. */
template <typename Number> void appendNumberOf(std::string &text, const CMessageEventParam &param)
{
    if (param.LVal > 0 && param.LVal < int(sizeof(Number)))
        return;
    Number number;
    std::memcpy(&number, param.Val, sizeof(Number));
    appendNumber(text, number);
}

/** Appends parameters whose texts, without a length, are read up to their NUL or count as none. */
void append(std::string &text, const CMessageEventParam *par, int count, bool withoutLength)
{
    for (int i = 0; par && i < count; ++i) {
        const CMessageEventParam &param = par[i];
        if (i > 0)
            text += ';';
        text += param.Name && (withoutLength || param.LName > 0) ? recordBytes(param.Name, param.LName) : "(NULL)";
        text += '=';
        if (withoutLength || param.LVal > 0)
            appendValue(text, param);
    }
}
} // namespace

std::string_view recordBytes(const char *text, int length)
{
    if (!text)
        return {};
    return {text, length > 0 ? strnlen(text, std::size_t(length)) : std::strlen(text)};
}

void appendValue(std::string &text, const CMessageEventParam &param)
{
    if (!param.Val)
        return;
    switch (param.Type) {
    case ParameterInteger:
        appendNumberOf<int>(text, param);
        break;
    case ParameterDouble:
        appendNumberOf<double>(text, param);
        break;
    case ParameterText:
        text += recordBytes(param.Val, param.LVal);
        break;
    default:
        break;
    }
}

void appendParameters(std::string &text, const CMessageEventParam *par, int count)
{
    append(text, par, count, true);
}

std::string_view lentBytes(const char *text, int length)
{
    return length > 0 ? recordBytes(text, length) : std::string_view();
}

void appendLentParameters(std::string &text, const CMessageEventParam *par, int count)
{
    append(text, par, count, false);
}
