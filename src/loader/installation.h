// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <optional>
#include <string>

/**
 * @file
 * Where an installation is. Paths are bytes as the system has them, joined by
 * plain concatenation: ".." stays in the texts.
 */

/** Whether the regular file at `path` can be opened for reading. Never blocks. */
bool isReadableFile(const char *path);

/**
 * The base directory of the installation that `directory` lies in: `directory`
 * with one, two or three "/.." behind it, the first of them that holds
 * Pics/Red.bmp. Nothing when none does; `directory` itself is not tried.
 */
std::optional<std::string> baseDirectoryAbove(const std::string &directory);

/** The directories of an installation. */
struct Installation {
    explicit Installation(const std::string &baseDirectory)
        : base(baseDirectory)
    {
    }

    std::string base;
    std::string config = base + "/Config"; ///< definition files, settings of the DB library, test data
    std::string libs = base + "/Libs";     ///< the DB library
};
