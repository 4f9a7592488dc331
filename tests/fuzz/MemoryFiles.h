// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#ifndef OBRIM_TESTS_MEMORYFILES_H
#define OBRIM_TESTS_MEMORYFILES_H

#include <map>
#include <memory>
#include <string>

/** What SQLite takes for a file. */
struct MemoryFile {
    std::string bytes;
    std::map<int, std::unique_ptr<char[]>> shared; ///< regions of the shared memory beside a database
};

/**
 * The files that SQLite sees instead of the system's, by name: quicker than the
 * system's by far, and nothing stays behind. One connection at a time.
 */
std::map<std::string, MemoryFile> &memoryFiles();

/** From now on SQLite uses memoryFiles(). */
void useMemoryFiles();

#endif
