// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "Config.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace
{
struct CloseFile {
    void operator()(std::FILE *f) const
    {
        std::fclose(f);
    }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File fileWith(const std::string &content)
{
    File file(std::tmpfile());
    std::fwrite(content.data(), 1, content.size(), file.get());
    std::rewind(file.get());
    return file;
}

/** A directory that goes with the test. */
class Directory
{
public:
    Directory()
    {
        char name[] = "/tmp/obrim-config-XXXXXX";
        m_path = mkdtemp(name);
    }
    ~Directory()
    {
        const std::string command = "rm -rf '" + m_path + "'";
        EXPECT_EQ(std::system(command.c_str()), 0);
    }
    std::string operator/(const char *name) const
    {
        return m_path + '/' + name;
    }

private:
    std::string m_path;
};

void write(const std::string &path, const std::string &content)
{
    const File file(std::fopen(path.c_str(), "w"));
    std::fwrite(content.data(), 1, content.size(), file.get());
}

std::string trimmed(const std::string &text, int expected)
{
    std::string line = text;
    EXPECT_EQ(clear_string_end_with_bells(line.data()), expected);
    return line.c_str();
}

using Lines = std::vector<std::string>;

Lines linesIn(const char (*lines)[ConfigLineSize], int n)
{
    return Lines(lines, lines + n);
}

Lines defsOf(const std::string &content)
{
    // Exactly as many lines as the reader may store, so that one more is an overrun.
    const auto lines = std::make_unique<char[][ConfigLineSize]>(MaxDefLines);
    int n = -1;
    EXPECT_EQ(GetDefs(fileWith(content).get(), lines.get(), n), 0);
    return linesIn(lines.get(), n);
}

/** Every block of a file; `rest` is what was collected when the file ended. */
std::vector<Lines> blocksOf(const std::string &content, Lines *rest = nullptr)
{
    const File file = fileWith(content);
    const auto lines = std::make_unique<char[][ConfigLineSize]>(MaxBlockLines);
    std::vector<Lines> blocks;
    int n = -1;
    while (GetConfigBlock(file.get(), lines.get(), n) == 1)
        blocks.push_back(linesIn(lines.get(), n));
    if (rest)
        *rest = linesIn(lines.get(), n);
    return blocks;
}

/** The value of `key` in `lines`; "(none)" when no line has it. */
std::string valueOf(const Lines &given, const char *key)
{
    char lines[MaxDefLines][ConfigLineSize] = {};
    int n = 0;
    for (const std::string &line : given)
        std::strcpy(lines[n++], line.c_str());
    std::string value = "left over";
    return findConfigValue(lines, n, key, value) ? value : "(none)" + value;
}
} // namespace

TEST(Trimming, OfNullGivesZero)
{
    EXPECT_EQ(clear_string_end_with_bells(nullptr), 0);
}

TEST(Trimming, CutsAtTheFirstLineFeed)
{
    EXPECT_EQ(trimmed("abc\ndef\n", 1), "abc");
    EXPECT_EQ(trimmed("\nabc", 0), "");
}

TEST(Trimming, RemovesTrailingSpacesOnly)
{
    EXPECT_EQ(trimmed("abc   \n", 1), "abc");
    EXPECT_EQ(trimmed("  abc", 1), "  abc");
    EXPECT_EQ(trimmed("abc\t", 1), "abc\t");
    EXPECT_EQ(trimmed("   ", 0), "");
    EXPECT_EQ(trimmed("", 0), "");
}

TEST(Trimming, CarriageReturnStaysWithTheBlanksBeforeIt)
{
    EXPECT_EQ(trimmed("abc  \r\n", 1), "abc  \r");
}

TEST(GetDefs, NullFileGivesMinusOneAndLeavesTheCount)
{
    char lines[1][ConfigLineSize];
    int n = 77;
    EXPECT_EQ(GetDefs(nullptr, lines, n), -1);
    EXPECT_EQ(n, 77);
}

TEST(GetDefs, ReadsTheWholeFileWithoutCommentsAndEmptyLines)
{
    EXPECT_EQ(defsOf("% comment\na=1\n\n  b=2  \n}\n{\nc=3"), Lines({"a=1", "b=2", "}", "{", "c=3"}));
}

TEST(GetDefs, EmptyFileGivesNoLines)
{
    EXPECT_EQ(defsOf(""), Lines());
    EXPECT_EQ(defsOf("\n\n   \n"), Lines());
}

TEST(GetDefs, LineWithBlanksBeforeItsPercentSignIsStored)
{
    EXPECT_EQ(defsOf("  % not a comment\n"), Lines({"% not a comment"}));
}

TEST(GetDefs, LineOfBlanksOnlyIsSkipped)
{
    EXPECT_EQ(defsOf("     \na=1\n"), Lines({"a=1"}));
}

TEST(GetDefs, LineOfATabIsStoredAsAnEmptyLine)
{
    EXPECT_EQ(defsOf("\t\na=1\n"), Lines({"", "a=1"}));
}

TEST(GetDefs, LineEndingInACarriageReturnKeepsItAndTheBlanksBeforeIt)
{
    EXPECT_EQ(defsOf("a=1  \r\nb=2\r\n"), Lines({"a=1  \r", "b=2\r"}));
}

TEST(GetDefs, EveryKindOfLeadingWhiteSpaceIsRemoved)
{
    EXPECT_EQ(defsOf(" \t\v\f\ra=1\n"), Lines({"a=1"}));
    EXPECT_EQ(defsOf("\xA0\x85z=1\n"), Lines({"\xA0\x85z=1"}));
}

TEST(GetDefs, LongLinesAreSplitAt511Bytes)
{
    const std::string piece(511, 'x');
    EXPECT_EQ(defsOf(piece + "\n"), Lines({piece}));
    EXPECT_EQ(defsOf(piece + "yz\n"), Lines({piece, "yz"}));
    const std::string line(10000, 'x');
    Lines expected(19, piece);
    expected.push_back(line.substr(0, 10000 - 19 * 511));
    EXPECT_EQ(defsOf(line + "\n"), expected);
}

TEST(GetDefs, StopsStoringAtFortyLines)
{
    std::string content;
    for (int i = 0; i < 5000; ++i)
        content += "key" + std::to_string(i) + "=1\n";
    const Lines lines = defsOf(content);
    ASSERT_EQ(lines.size(), 40u);
    EXPECT_EQ(lines.back(), "key39=1");
}

TEST(GetDefs, BinaryFileIsReadUpToEachNul)
{
    EXPECT_EQ(defsOf(std::string("a=1\0b=2\nc=3\n", 12)), Lines({"a=1", "c=3"}));
    EXPECT_EQ(defsOf(std::string(100000, '\0')), Lines());
    EXPECT_EQ(defsOf(std::string(100000, '\xFF')).size(), 40u);
}

TEST(GetConfigBlock, ReadsBlockByBlock)
{
    EXPECT_EQ(blocksOf("{\na=1\nb=2\n}\n{\nc=3\n}\n"), std::vector<Lines>({{"a=1", "b=2"}, {"c=3"}}));
}

TEST(GetConfigBlock, OtherTextOnBraceLinesIsIgnored)
{
    EXPECT_EQ(blocksOf("{ x=1\na=1\n} y=2\n"), std::vector<Lines>({{"a=1"}}));
}

TEST(GetConfigBlock, IndentedBraceIsAnOrdinaryLine)
{
    Lines rest;
    EXPECT_EQ(blocksOf("{\n {\n }\n", &rest), std::vector<Lines>());
    EXPECT_EQ(rest, Lines({"{", "}"}));
}

TEST(GetConfigBlock, LinesBeforeTheOpeningBraceAreCollectedToo)
{
    EXPECT_EQ(blocksOf("a=1\n{\nb=2\n}\n"), std::vector<Lines>({{"a=1", "b=2"}}));
}

TEST(GetConfigBlock, SkipsEmptyLinesAndComments)
{
    EXPECT_EQ(blocksOf("{\n\n% x\n   \na=1\n}\n"), std::vector<Lines>({{"a=1"}}));
}

TEST(GetConfigBlock, EmptyBlockHasNoLines)
{
    EXPECT_EQ(blocksOf("}\n{}\n{\n}\n"), std::vector<Lines>({{}, {}}));
}

TEST(GetConfigBlock, FileThatEndsFirstGivesZeroAndTheLinesReadSoFar)
{
    Lines rest;
    EXPECT_EQ(blocksOf("{\na=1\n}\n{\nb=2\n", &rest), std::vector<Lines>({{"a=1"}}));
    EXPECT_EQ(rest, Lines({"b=2"}));
    EXPECT_EQ(blocksOf("", &rest), std::vector<Lines>());
    EXPECT_EQ(rest, Lines());
}

TEST(GetConfigBlock, DropsLinesAfterTheTwentiethAndClosesWhereTheBlockCloses)
{
    std::string content = "{\n";
    for (int i = 0; i < 5000; ++i)
        content += "key" + std::to_string(i) + "=1\n";
    const std::vector<Lines> blocks = blocksOf(content + "}\n{\nnext=1\n}\n");
    ASSERT_EQ(blocks.size(), 2u);
    ASSERT_EQ(blocks[0].size(), 20u);
    EXPECT_EQ(blocks[0].back(), "key19=1");
    EXPECT_EQ(blocks[1], Lines({"next=1"}));
}

TEST(GetConfigBlock, BraceAtTheStartOfASplitLinesPieceCloses)
{
    EXPECT_EQ(blocksOf(std::string(511, 'x') + "}\n"), std::vector<Lines>({{std::string(511, 'x')}}));
}

TEST(FindConfigValue, KeyMatchesInAnyLetterCase)
{
    EXPECT_EQ(valueOf({"fdbgetevents=X"}, "FDBGetEvents"), "X");
    EXPECT_EQ(valueOf({"FDBGETEVENTS=x"}, "FDBGetEvents"), "x");
}

TEST(FindConfigValue, BlankBetweenKeyAndEqualsSignDoesNotMatch)
{
    EXPECT_EQ(valueOf({"FDBGetEvents =X"}, "FDBGetEvents"), "(none)");
}

TEST(FindConfigValue, ValueIsEverythingAfterTheFirstEqualsSign)
{
    EXPECT_EQ(valueOf({"ID= a=b c"}, "ID"), " a=b c");
    EXPECT_EQ(valueOf({"ID="}, "ID"), "");
}

TEST(FindConfigValue, OneDoubleQuoteStaysAndTwoBecomeEmpty)
{
    EXPECT_EQ(valueOf({"ID=\""}, "ID"), "\"");
    EXPECT_EQ(valueOf({"ID=\"\""}, "ID"), "");
}

TEST(FindConfigValue, DoubleQuotesAroundAValueAreStrippedOnce)
{
    EXPECT_EQ(valueOf({"ID=\"a b\""}, "ID"), "a b");
    EXPECT_EQ(valueOf({"ID=\"\"a\"\""}, "ID"), "\"a\"");
    EXPECT_EQ(valueOf({"ID=\"a"}, "ID"), "\"a");
    EXPECT_EQ(valueOf({"ID=a\""}, "ID"), "a\"");
}

TEST(FindConfigValue, KeyThatIsAPrefixOfAnotherMatchesOnlyBeforeTheEqualsSign)
{
    EXPECT_EQ(valueOf({"IDX=1", "ID=2"}, "ID"), "2");
    EXPECT_EQ(valueOf({"IDX=1", "ID=2"}, "IDX"), "1");
    EXPECT_EQ(valueOf({"I=1"}, "ID"), "(none)");
    EXPECT_EQ(valueOf({"ID"}, "ID"), "(none)");
}

TEST(FindConfigValue, SecondOfTwoLinesWithTheSameKeyIsNeverSeen)
{
    EXPECT_EQ(valueOf({"ID=1", "ID=2"}, "ID"), "1");
    EXPECT_EQ(valueOf({"ID=", "ID=2"}, "ID"), "");
}

TEST(FindConfigValue, WithoutLinesNothingIsFound)
{
    EXPECT_EQ(valueOf({}, "ID"), "(none)");
}

TEST(OpenRegularFile, OpensAFileForReading)
{
    const Directory directory;
    write(directory / "file", "a=1\n");
    const File file(openRegularFile((directory / "file").c_str()));
    ASSERT_TRUE(file);
    char lines[MaxDefLines][ConfigLineSize];
    int n = 0;
    EXPECT_EQ(GetDefs(file.get(), lines, n), 0);
    EXPECT_EQ(linesIn(lines, n), Lines({"a=1"}));
}

TEST(OpenRegularFile, MissingFileGivesNull)
{
    const Directory directory;
    EXPECT_EQ(openRegularFile((directory / "missing").c_str()), nullptr);
    EXPECT_EQ(openRegularFile((directory / "missing/file").c_str()), nullptr);
    EXPECT_EQ(openRegularFile(""), nullptr);
}

TEST(OpenRegularFile, UnreadableFileGivesNull)
{
    // These cannot be opened by root either.
    const Directory directory;
    ASSERT_EQ(symlink("loop", (directory / "loop").c_str()), 0);
    EXPECT_EQ(openRegularFile((directory / "loop").c_str()), nullptr);
    write(directory / "file", "a=1\n");
    EXPECT_EQ(openRegularFile((directory / "file/a").c_str()), nullptr);
    EXPECT_EQ(openRegularFile((directory / std::string(300, 'x').c_str()).c_str()), nullptr);
}

TEST(OpenRegularFile, DirectoryPipeDeviceAndSocketGiveNullAtOnce)
{
    const Directory directory;
    EXPECT_EQ(openRegularFile((directory / ".").c_str()), nullptr);
    ASSERT_EQ(mkfifo((directory / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(openRegularFile((directory / "pipe").c_str()), nullptr);
    EXPECT_EQ(openRegularFile("/dev/zero"), nullptr);
    const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, (directory / "socket").c_str(), sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(descriptor, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
    EXPECT_EQ(openRegularFile((directory / "socket").c_str()), nullptr);
    close(descriptor);
}

TEST(OpenRegularFile, LeavesNoDescriptorOpenWhenItRefuses)
{
    const int before = dup(0);
    close(before);
    EXPECT_EQ(openRegularFile("/dev/zero"), nullptr);
    const int after = dup(0);
    close(after);
    EXPECT_EQ(after, before);
}
