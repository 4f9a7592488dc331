// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

/**
 * Why this program cannot load the file at `path` as a shared library, judged
 * by its first bytes alone, nothing of it being run: "PATH is a 32-bit library,
 * this program is 64-bit". Empty when nothing speaks against it. Never blocks
 * on a FIFO. Toolkit-free.
 */
std::string libraryFileFault(const char *path);
