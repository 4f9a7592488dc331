// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "options.h"
#include "source.h"

class Output;

/** Deletes records for good: all of them, or none when one is not there. */
template <class Record> void deleteRecords(const Source &source, const DeleteOptions &options, Output &output);

extern template void deleteRecords<CMessageEvent>(const Source &, const DeleteOptions &, Output &);
extern template void deleteRecords<CMessageCommand>(const Source &, const DeleteOptions &, Output &);
