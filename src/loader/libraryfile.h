// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

/**
 * Why this program cannot load the file at `path` as a shared library, judged
 * by its headers alone, nothing of it being run: "PATH is a 32-bit library,
 * this program is 64-bit". Empty when nothing speaks against it. Never blocks
 * on a FIFO. Toolkit-free.
 */
std::string libraryFileFault(const char *path);

/**
 * What libraryFileFault says of a shared library for this program that ends
 * before its segments do. The system's loader maps such a file, and the
 * program dies when it touches what is not there. Empty for every other file.
 */
std::string cutOffFault(const char *path);
