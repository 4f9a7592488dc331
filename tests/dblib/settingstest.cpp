// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "settings.h"
#include "storetesting.h"

#include <gtest/gtest.h>

#include <fstream>

namespace
{
TEST(Settings, DefaultsHoldWithoutAFile)
{
    const TemporaryFolder folder;
    const Settings settings = readSettings(folder.path());
    EXPECT_EQ(settings.database, folder.path() + "/../Data/installation.db");
    EXPECT_EQ(settings.deadAfterSeconds, 10);
}

Settings settingsFrom(const std::string &text)
{
    const TemporaryFolder folder;
    std::ofstream(folder.file("DBLib.def")) << text;
    Settings settings = readSettings(folder.path());
    if (settings.database.compare(0, folder.path().size(), folder.path()) == 0)
        settings.database = "CONFIG" + settings.database.substr(folder.path().size());
    return settings;
}

TEST(Settings, APathMayBeRelativeOrAbsolute)
{
    EXPECT_EQ(settingsFrom("% comment\ndatabase=here.db\n").database, "CONFIG/here.db");
    EXPECT_EQ(settingsFrom("Database=\"../with blank .db\"\n").database, "CONFIG/../with blank .db");
    EXPECT_EQ(settingsFrom("Database=/var/lib/x.db\n").database, "/var/lib/x.db");
    EXPECT_EQ(settingsFrom("Database=\n").database, "CONFIG/../Data/installation.db");
}

TEST(Settings, AWrongNumberMeansTheDefault)
{
    EXPECT_EQ(settingsFrom("DeadAfter=25\n").deadAfterSeconds, 25);
    for (const char *wrong : {"0", "-3", "x", "5x", "", "99999999999"})
        EXPECT_EQ(settingsFrom("DeadAfter=" + std::string(wrong) + "\n").deadAfterSeconds, 10) << wrong;
}
} // namespace
