// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The texts of the records that the console shows. They stand apart from the
// records so that a DB library's author needs no toolkit.
#include "Messages.h"
#include "parametertext.h"

#include <QString>

namespace
{
QString fromLatin1(const std::string &text)
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
