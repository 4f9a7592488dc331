// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

/** What SQLite takes for a file. */
struct MemoryFile {
    std::string bytes;
    std::map<int, std::vector<char>> shared; ///< regions of the shared memory beside a database
};

/**
 * The files that SQLite sees instead of the system's, by name: quicker than the
 * system's by far, and nothing stays behind. One connection at a time.
 */
std::map<std::string, MemoryFile> &memoryFiles();

/**
 * Puts other content where a database is that may be open, and its log. As if
 * by another program: the connection notices before its next transaction.
 */
void replaceDatabase(const std::string &name, std::string_view content, std::string_view log);

/** From now on SQLite uses memoryFiles(). */
void useMemoryFiles();
