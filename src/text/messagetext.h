// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>
#include <string>
#include <string_view>

struct CMessageEventParam;

/** As recordText(), the bytes themselves: valid as long as the record. */
std::string_view recordBytes(const char *text, int length);

/**
 * A record's text for showing: Latin-1, up to its NUL or to `length` bytes,
 * whichever comes first; up to its NUL alone when `length` is 0 or less.
 * Empty for NULL.
 */
QString recordText(const char *text, int length);

/**
 * Appends what AllParameters() of a record shows, in Latin-1: for those who
 * need it of very many records. `par` may be NULL.
 */
void appendParameters(std::string &text, const CMessageEventParam *par, int count);
