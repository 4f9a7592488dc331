// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The texts of the records that the console shows. They stand apart from the
// records so that a DB library's author needs no toolkit.
#include "messagetext.h"

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

QString fromLatin1(std::string_view text)
{
    return QString::fromLatin1(text.data(), int(text.size()));
}

QString parameterText(const CMessageEventParam *par, int count)
{
    std::string text;
    appendParameters(text, par, count);
    return fromLatin1(text);
}
} // namespace

std::string_view recordBytes(const char *text, int length)
{
    if (!text)
        return {};
    return {text, length > 0 ? strnlen(text, std::size_t(length)) : std::strlen(text)};
}

QString recordText(const char *text, int length)
{
    return fromLatin1(recordBytes(text, length));
}

void appendParameters(std::string &text, const CMessageEventParam *par, int count)
{
    for (int i = 0; par && i < count; ++i) {
        if (i > 0)
            text += ';';
        text += par[i].Name ? recordBytes(par[i].Name, par[i].LName) : "(NULL)";
        text += '=';
        appendValue(text, par[i]);
    }
}

QString CMessageEventParam::toString() const
{
    std::string text;
    appendValue(text, *this);
    return fromLatin1(text);
}

QString CMessageEventParam::toString(const CMessageEventParam *param)
{
    return param ? param->toString() : QStringLiteral("(null)");
}

QString CMessageEvent::AllParameters() const
{
    return parameterText(par, ParNum);
}

QString CMessageCommand::AllParameters() const
{
    return parameterText(par, ParNum);
}
