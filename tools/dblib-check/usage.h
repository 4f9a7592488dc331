// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <string>

/** How many entries a directory has; that of a process's descriptors or threads among them. */
int entriesOf(const char *directory);

/** What this process uses at one moment, and must not use more and more of. */
struct Usage {
    std::size_t heap = 0;
    std::size_t resident = 0;
    int descriptors = 0;
    int threads = 0;

    static Usage now();
};

/**
 * What grew from each of these moments to the next, in words, when between two
 * of them `calls` calls were made: "800,000 bytes of memory". Empty when nothing
 * did. Growth of less than a byte in eight calls counts as none.
 */
std::string steadyGrowth(const Usage *moments, int count, int calls);

/** The threads or descriptors that came to be between two moments, in words, when they are many; empty when not. */
std::string pileOf(const Usage &before, const Usage &after);
