// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

namespace CLI
{
class App;
}

/** All that --help says of the program and its commands, as one object of JSON: for manual pages and completion. */
std::string helpJson(const CLI::App &app);
