// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <array>

class QDialog;

/** Marks a text that the catalogues have. */
constexpr const char *forTranslators(const char *text)
{
    return text;
}

/** A printf text and what goes into it: a name, where it begins with one, and numbers. */
struct Message {
    const char *text;
    const char *name = nullptr;
    std::array<int, 4> numbers = {};
};

/** Shows a message. Where memory is too short even for that, it goes to standard error. */
void inform(QDialog *parent, const char *caption, const Message &message);
