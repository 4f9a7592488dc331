// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <stdexcept>
#include <string>

/** What went wrong with which database, ready to be shown: "DATABASE: REASON". */
class StoreError : public std::runtime_error
{
public:
    StoreError(const std::string &database, const std::string &reason)
        : std::runtime_error(database + ": " + reason)
    {
    }
};
