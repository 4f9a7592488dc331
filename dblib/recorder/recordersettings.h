// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <string>

/** What an installation says in Config/DBLib.def about its recording. */
struct RecorderSettings {
    std::string library;     ///< that the calls are passed on to
    std::string nameMap;     ///< under which names it exports its functions
    std::string record;      ///< the file
    std::uint64_t limit = 0; ///< of the recording, in bytes
    bool hasTexts = true;    ///< whether it says what texts say

    bool operator==(const RecorderSettings &other) const
    {
        return library == other.library && nameMap == other.nameMap && record == other.record && limit == other.limit &&
               hasTexts == other.hasTexts;
    }
};

/** Throws std::runtime_error that names the setting at fault. */
RecorderSettings readRecorderSettings(const std::string &configDir);
