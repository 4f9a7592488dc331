// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>
#include <string_view>

struct CMessageEventParam;

/**
 * @file
 * The bytes that records show, in Latin-1: for those who need them of very
 * many records, or without a toolkit.
 */

/**
 * A record's text: up to its NUL or to `length` bytes, whichever comes first;
 * up to its NUL alone when `length` is 0 or less. Empty for NULL. Valid as
 * long as the record.
 */
std::string_view recordBytes(const char *text, int length);

/** Appends a parameter's value as text; nothing without a value, or when LVal is too short for the type. */
void appendValue(std::string &text, const CMessageEventParam &param);

/** Appends what AllParameters() of a record shows. `par` may be NULL. */
void appendParameters(std::string &text, const CMessageEventParam *par, int count);

/**
 * @name Records that a library has lent
 *
 * What a copy of the record would show: a text whose length is 0 or less is not copied, so it counts as none.
 * @{
 */
std::string_view lentBytes(const char *text, int length);
void appendLentParameters(std::string &text, const CMessageEventParam *par, int count);
/** @} */
