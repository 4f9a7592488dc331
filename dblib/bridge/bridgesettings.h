// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "hostprocess.h"

#include <chrono>
#include <string>

/** What an installation says in Config/DBLib.def about the library behind the bridge. */
struct BridgeSettings {
    HostTask task;
    std::chrono::milliseconds limit = {}; ///< of each call

    bool operator==(const BridgeSettings &other) const
    {
        return task == other.task && limit == other.limit;
    }
};

/** Throws std::runtime_error that names the setting at fault. */
BridgeSettings readBridgeSettings(const std::string &configDir);
