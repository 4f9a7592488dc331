// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "operatormessages.h"

#include "DBFuns.h"

#include <cstdio>

namespace
{
InformationBox informationBox = nullptr;
TextLookUp textLookUp = nullptr;

QString lookedUp(const char *text)
{
    return textLookUp ? textLookUp(text) : QString::fromLatin1(text);
}

/** In the operator's language. A catalogue that is wrong makes a wrong sentence: nothing formats by it. */
QString wording(const Message &message)
{
    QString text = lookedUp(message.text);
    qsizetype from = 0;
    const auto put = [&text, &from](const char *place, const QString &what) {
        const qsizetype at = text.indexOf(QLatin1String(place), from);
        if (at < 0)
            return;
        text.replace(at, 2, what);
        from = at + what.size();
    };
    if (message.name)
        put("%s", QString::fromLatin1(message.name));
    for (const int number : message.numbers)
        put("%d", QString::number(number));
    return text;
}

void print(const Message &message)
{
    const auto &[a, b, c, d] = message.numbers;
    if (message.name)
        std::fprintf(stderr, message.text, message.name, a);
    else
        std::fprintf(stderr, message.text, a, b, c, d);
    std::fputc('\n', stderr);
}
} // namespace

void inform(QDialog *parent, const char *caption, const Message &message)
{
    if (informationBox) {
        try {
            informationBox(parent, lookedUp(caption), wording(message));
            return;
        } catch (...) {
        }
    }
    print(message);
}

void setInformationBox(InformationBox show)
{
    informationBox = show;
}

void setTextLookUp(TextLookUp lookUp)
{
    textLookUp = lookUp;
}
