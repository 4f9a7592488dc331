// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What a command line that is not complete may go on with.
#include "commandline.h"

#include <gtest/gtest.h>

namespace
{
Completion completion(std::vector<std::string> words)
{
    words.insert(words.begin(), "complete");
    return std::get<Invocation>(readCommandLine(words, 0)).completion;
}

std::string offered(const std::vector<std::string> &words)
{
    std::string text;
    for (const Candidate &candidate : completion(words).candidates)
        text += (text.empty() ? "" : " ") + candidate.word;
    return text;
}
} // namespace

TEST(Completion, CommandsComeFirst)
{
    EXPECT_EQ(offered({}), "sensors events commands put delete status copy init");
    EXPECT_EQ(offered({"c"}), "commands copy");
    EXPECT_EQ(offered({"-C", "/srv/plant", "st"}), "status");
    EXPECT_EQ(offered({"nothing", ""}), "");
    EXPECT_EQ(offered({"--v"}), "--version");
}

TEST(Completion, EveryOptionOfACommandIsOffered)
{
    EXPECT_EQ(offered({"put", "--"}), "--help --installation --wait");
    EXPECT_EQ(offered({"init", "--d"}), "--database --desktop-entry");
    EXPECT_EQ(offered({"events", "--", "-"}), "") << "behind the options";
    EXPECT_EQ(completion({"events", "--utc"}).candidates.front().description, "times in UTC, read and written");
}

TEST(Completion, ValuesAreThoseOfTheOptionBefore)
{
    EXPECT_EQ(offered({"sensors", "-t", ""}), "alive dead unknown");
    EXPECT_EQ(offered({"events", "-t", "a"}), "analyser");
    EXPECT_EQ(offered({"commands", "--type", "s"}), "start stop");
    EXPECT_EQ(offered({"commands", "--type=s"}), "start stop");
    EXPECT_EQ(completion({"commands", "--type=s"}).begin, "s");
    EXPECT_EQ(offered({"events", "-n", ""}), "all");
    EXPECT_EQ(offered({"events", "-n5", "-o", "j"}), "json");
    EXPECT_EQ(offered({"status", "-o", ""}), "text json");
    EXPECT_EQ(offered({"events", "--interval", ""}), "");
    EXPECT_EQ(offered({"events", "--nothing=", ""}), "");
    EXPECT_EQ(offered({"init", "d", "--database", "s"}), "sqlite");
}

TEST(Completion, PositionalsComeInTheirOrder)
{
    EXPECT_EQ(completion({"put", ""}).others, Completion::Others::Sensors);
    EXPECT_EQ(offered({"put", "boiler", ""}), "start stop restart kill");
    EXPECT_EQ(offered({"put", "--wait", "boiler", "st"}), "start stop");
    EXPECT_EQ(offered({"put", "boiler", "stop", ""}), "");
    EXPECT_EQ(offered({"delete", ""}), "event command");
    EXPECT_EQ(offered({"delete", "event", ""}), "");
    EXPECT_EQ(completion({"copy", ""}).others, Completion::Others::Folders);
    EXPECT_EQ(completion({"-C", ""}).others, Completion::Others::Folders);
}

TEST(Completion, TheInstallationIsTheOneThatIsNamed)
{
    for (const std::vector<std::string> &words : {std::vector<std::string>{"-C", "/srv", "put", ""},
                                                  {"put", "--installation=/srv", ""},
                                                  {"put", "-C/srv", ""},
                                                  {"put", "--wait", "-C", "/srv", ""}})
        EXPECT_EQ(completion(words).directory, "/srv");
    EXPECT_EQ(completion({"put", "-C", "/srv"}).directory, "") << "not typed to its end";
}
