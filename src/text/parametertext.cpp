// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "parametertext.h"

#include "Messages.h"

#include <charconv>
#include <cstring>

namespace
{
/**
 * Appends a number whose bytes need not be aligned. A length that is stated must be enough. Numbers are not written by
 * the C library, whose decimal point is the desktop's.
 */
template <typename Number, class... Format>
void appendNumber(std::string &text, const CMessageEventParam &param, Format... format)
{
    if (param.LVal > 0 && param.LVal < int(sizeof(Number)))
        return;
    Number number;
    std::memcpy(&number, param.Val, sizeof(Number));
    char digits[32];
    text.append(digits, std::to_chars(digits, digits + sizeof(digits), number, format...).ptr);
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
        appendNumber<int>(text, param);
        break;
    case ParameterDouble:
        appendNumber<double>(text, param, std::chars_format::general, 6); // as a %lg in the C locale
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
