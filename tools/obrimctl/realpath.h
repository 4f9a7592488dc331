// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

/** The path without links and ".."; `path` itself when there is no such file. */
std::string realPath(const std::string &path);
