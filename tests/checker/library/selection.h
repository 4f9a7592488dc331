// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Messages.h"

#include <vector>

/** The records that a request selects, in the order that suits the windows. */
std::vector<const CMessageEvent *> select(const CMessageEventRequest &request);
std::vector<const CMessageCommand *> select(const CMessageCommandRequest &request);
