// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "foreigncall.h"

#include <cstdio>
#include <exception>

void tellException(const char *function)
{
    try {
        throw;
    } catch (const std::exception &thrown) {
        std::fprintf(stderr, "%s threw an exception: %s\n", function, thrown.what());
    } catch (...) {
        std::fprintf(stderr, "%s threw an exception\n", function);
    }
}
