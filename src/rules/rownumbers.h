// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>

/** Digits that the numbers of `count` rows are padded to: as many as `count` has, at least 3. */
int rowNumberDigits(int count);

/** A row number, zero-padded to `digits`, longer when it outgrows them. */
QString rowNumberText(int number, int digits);

/** Number of the i-th record of a full load of `count`: upwards when the first ones were asked for, else downwards. */
int rowNumber(int i, int count, bool first);

/** Number of the i-th record that is added after row `last`; stays at the largest number there is. */
int addedRowNumber(int last, int i);
