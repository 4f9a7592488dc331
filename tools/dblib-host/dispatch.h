// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "call.h"
#include "dblibrary.h"
#include "sealedmemory.h"

#include <memory>
#include <string>

/** The bytes of an answer: a large one lies in memory of its own. */
struct AnswerBytes {
    std::string small;
    std::unique_ptr<SealedMemory> large;
};

/**
 * Calls the library's function as the console would. What a fetch gives is
 * copied into the answer and at once released. An exception is told on
 * standard error and becomes a part of the answer. Throws std::bad_alloc.
 */
AnswerBytes answerTo(const Calls::Call &call, const DBFunctions &functions);
