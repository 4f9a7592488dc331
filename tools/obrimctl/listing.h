// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "options.h"
#include "source.h"

class Output;

/** Lists the records that the options select, the oldest first; with `follow`, also what comes later, until a signal.
 */
template <class Record> void listRecords(const Source &source, const ListOptions &options, Output &output);

extern template void listRecords<CMessageEvent>(const Source &, const ListOptions &, Output &);
extern template void listRecords<CMessageCommand>(const Source &, const ListOptions &, Output &);

/** The same for sensors; followed, one is listed again whenever more of it has changed than its last message. */
void listSensors(const Source &source, const ListOptions &options, Output &output);
