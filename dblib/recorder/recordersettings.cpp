// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "recordersettings.h"

#include "definitions.h"
#include "namemap.h"

#include <stdexcept>

namespace
{
constexpr int DefaultMegabytes = 1024;
constexpr int MostMegabytes = 1 << 20;
} // namespace

RecorderSettings readRecorderSettings(const std::string &configDir)
{
    const Definitions definitions(configDir);
    RecorderSettings settings;
    // What is recorded may itself stand in for the library that Library= names.
    const char *const key = definitions.text("Recorded").empty() ? "Library" : "Recorded";
    settings.library = definitions.requiredPath(key);
    const std::string nameMap = definitions.path("Functions");
    settings.nameMap = nameMap.empty() ? nameMapIn(configDir) : nameMap;
    settings.record = definitions.requiredPath("Record");
    settings.limit = std::uint64_t(definitions.number("Limit", DefaultMegabytes, 1, MostMegabytes)) << 20;
    settings.hasTexts = definitions.flag("Texts", true);
    return settings;
}
