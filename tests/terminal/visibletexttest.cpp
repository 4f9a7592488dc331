// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "visibletext.h"

#include <gtest/gtest.h>

TEST(VisibleText, PlainTextStays)
{
    EXPECT_EQ(visibleText(""), "");
    EXPECT_EQ(visibleText("/srv/plant/Libs: 100 % <b>"), "/srv/plant/Libs: 100 % <b>");
    EXPECT_EQ(visibleText("Größe \u2192 \U0001F321"), "Größe \u2192 \U0001F321");
}

TEST(VisibleText, ControlCharactersAreWrittenOut)
{
    EXPECT_EQ(visibleText("\x1b[2Jgone\r\n\a\x7f"), "\\x1b[2Jgone\\x0d\\x0a\\x07\\x7f");
    EXPECT_EQ(visibleText(std::string("a\0b", 3)), "a\\x00b");
    // Those above ASCII, too: this is what some terminals take for an escape.
    EXPECT_EQ(visibleText("\xc2\x9b"
                          "2J"),
              "\\xc2\\x9b2J");
    EXPECT_EQ(visibleText("\xc2\xa0"), "\xc2\xa0");
}

TEST(VisibleText, BytesThatAreNotUtf8AreWrittenOut)
{
    EXPECT_EQ(visibleText("p\xfcmp"), "p\\xfcmp");
    EXPECT_EQ(visibleText("\xe2\x86"), "\\xe2\\x86");
    EXPECT_EQ(visibleText("\xc0\x9b\xf5\x80\x80\x80"), "\\xc0\\x9b\\xf5\\x80\\x80\\x80");
    EXPECT_EQ(visibleText("\x9b"), "\\x9b");
}

TEST(VisibleText, CharactersThatAreKeptStay)
{
    EXPECT_EQ(visibleText("a\tb\x1b\n", "\n\t"), "a\tb\\x1b\n");
}
