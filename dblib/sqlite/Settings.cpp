// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "Settings.h"

#include "Config.h"

#include <charconv>
#include <memory>

namespace
{
constexpr char DefaultDatabase[] = "../Data/installation.db";
constexpr int DefaultDeadAfterSeconds = 10;

int positiveNumber(const std::string &text, int otherwise)
{
    int number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool whole = result.ec == std::errc() && result.ptr == text.data() + text.size();
    return whole && number > 0 ? number : otherwise;
}

std::string within(const std::string &folder, const std::string &path)
{
    return path.front() == '/' ? path : folder + "/" + path;
}
} // namespace

Settings readSettings(const std::string &configDir)
{
    struct Closer {
        void operator()(std::FILE *file) const
        {
            std::fclose(file);
        }
    };
    const std::unique_ptr<std::FILE, Closer> file(OpenRegularFile((configDir + "/DBLib.def").c_str()));
    char lines[MaxDefLines][ConfigLineSize];
    int count = 0;
    GetDefs(file.get(), lines, count);

    std::string database;
    std::string deadAfter;
    FindConfigValue(lines, count, "Database", database);
    FindConfigValue(lines, count, "DeadAfter", deadAfter);
    Settings settings;
    settings.database = within(configDir, database.empty() ? DefaultDatabase : database);
    settings.deadAfterSeconds = positiveNumber(deadAfter, DefaultDeadAfterSeconds);
    return settings;
}
