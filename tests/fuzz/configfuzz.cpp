// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The definition-file reader on arbitrary files, held against one that keeps
// its lines in strings.
#include "fuzztarget.h"

#include "Config.h"

#include <memory>
#include <string_view>
#include <vector>

namespace
{
using Lines = std::vector<std::string_view>;

std::string_view upTo(std::string_view text, char end)
{
    return text.substr(0, text.find(end));
}

/** The lines that matter, trimmed, as the reader should see them. */
Lines linesOf(std::string_view content)
{
    Lines lines;
    for (std::size_t start = 0; start < content.size();) {
        const std::size_t feed = content.find('\n', start);
        const std::size_t end = std::min({feed == std::string::npos ? content.size() : feed + 1, start + 511});
        std::string_view line = upTo(upTo(content.substr(start, end - start), '\0'), '\n');
        line = line.substr(0, line.find_last_not_of(' ') + 1);
        if (!line.empty() && line[0] != '%')
            lines.push_back(line);
        start = end;
    }
    return lines;
}

std::string_view withoutLeadingSpace(std::string_view line)
{
    return line.substr(std::min(line.find_first_not_of(" \t\n\v\f\r"), line.size()));
}

struct CloseFile {
    void operator()(std::FILE *f) const
    {
        std::fclose(f);
    }
};

std::unique_ptr<std::FILE, CloseFile> open(std::string_view content)
{
    return std::unique_ptr<std::FILE, CloseFile>(openInMemory(content.data(), content.size()));
}

void checkDefs(std::string_view content, const Lines &expected)
{
    static char lines[MaxDefLines][ConfigLineSize]; // exactly what may be stored
    std::string value;
    int n = -1;
    require(GetDefs(open(content).get(), lines, n) == 0, "GetDefs gives 0");
    require(n == std::min(int(expected.size()), MaxDefLines), "GetDefs stores every line that matters");
    for (int i = 0; i < n; ++i) {
        require(lines[i] == withoutLeadingSpace(expected[std::size_t(i)]), "GetDefs stores it trimmed");
        const std::string key(upTo(lines[i], '='));
        findConfigValue(lines, n, key.c_str(), value);
    }
}

void checkBlocks(std::string_view content, const Lines &expected)
{
    const auto file = open(content);
    static char lines[MaxBlockLines][ConfigLineSize];
    auto line = expected.begin();
    for (bool closed = true; closed;) {
        Lines block;
        closed = false;
        for (; line != expected.end() && !closed; ++line) {
            closed = line->front() == '}';
            if (!closed && line->front() != '{' && int(block.size()) < MaxBlockLines)
                block.push_back(withoutLeadingSpace(*line));
        }
        int n = -1;
        require(GetConfigBlock(file.get(), lines, n) == (closed ? 1 : 0), "GetConfigBlock sees the end");
        require(Lines(lines, lines + n) == block, "GetConfigBlock stores the block's lines");
    }
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0; // there is no memory file of no bytes
    const std::string_view content(reinterpret_cast<const char *>(data), size);
    const Lines expected = linesOf(content);
    checkDefs(content, expected);
    checkBlocks(content, expected);
    return 0;
}
