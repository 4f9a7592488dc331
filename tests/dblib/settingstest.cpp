// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "settings.h"
#include "storeerror.h"
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
TEST(Settings, AServerTakesThePlaceOfAFile)
{
    const Settings settings =
        settingsFrom("Connection=\"host=a,b dbname=plant password='x y'\"\nStatementTimeout=60\n");
    EXPECT_EQ(settings.connection, "host=a,b dbname=plant password='x y'");
    EXPECT_EQ(settings.database, "");
    EXPECT_EQ(settings.connectSeconds, 3);
    EXPECT_EQ(settings.statementSeconds, 60);
}

TEST(Settings, TwoDatabasesAreRefused)
{
    EXPECT_THROW(settingsFrom("Connection=dbname=plant\nDatabase=x.db\n"), StoreError);
}

TEST(Settings, ALineThatDoesNotFitIsRefused)
{
    const std::string longest = "Database=/" + std::string(500, 'x');
    EXPECT_EQ(settingsFrom(longest + "\n").database, longest.substr(9));
    EXPECT_THROW(settingsFrom(longest + "y\n"), StoreError);
    EXPECT_THROW(settingsFrom(longest + std::string(1000, 'y') + "\n"), StoreError);
}

TEST(Settings, AFileThatOthersMayReadIsNoticed)
{
    const TemporaryFolder folder;
    std::ofstream(folder.file("DBLib.def")) << "DeadAfter=5\n";
    std::filesystem::permissions(folder.file("DBLib.def"), std::filesystem::perms(0600));
    EXPECT_FALSE(readSettings(folder.path()).isFileShared);
    std::filesystem::permissions(folder.file("DBLib.def"), std::filesystem::perms(0640));
    EXPECT_TRUE(readSettings(folder.path()).isFileShared);
}
} // namespace
