// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The definition-file reader on arbitrary files, held against one that keeps
// its lines in strings.
#include "FuzzTarget.h"

#include "Config.h"

#include <memory>
#include <vector>

namespace
{
using Lines = std::vector<std::string>;

/** The lines that matter, trimmed, as the reader should see them. */
Lines linesOf(const std::string &content)
{
    Lines lines;
    for (std::size_t start = 0; start < content.size();) {
        const std::size_t feed = content.find('\n', start);
        const std::size_t end = std::min({feed == std::string::npos ? content.size() : feed + 1, start + 511});
        std::string line = content.substr(start, end - start).c_str(); // up to a NUL
        line = line.substr(0, line.find('\n'));
        line.erase(line.find_last_not_of(' ') + 1);
        if (!line.empty() && line[0] != '%') {
            lines.push_back(line);
        }
        start = end;
    }
    return lines;
}

std::string withoutLeadingSpace(const std::string &line)
{
    const std::size_t start = line.find_first_not_of(" \t\n\v\f\r");
    return start == std::string::npos ? "" : line.substr(start);
}

struct CloseFile {
    void operator()(std::FILE *f) const
    {
        std::fclose(f);
    }
};

std::unique_ptr<std::FILE, CloseFile> open(std::string &content)
{
    return std::unique_ptr<std::FILE, CloseFile>(fmemopen(content.data(), content.size(), "r"));
}

void checkDefs(std::string &content, const Lines &expected)
{
    static char lines[MaxDefLines][ConfigLineSize]; // exactly what may be stored
    int n = -1;
    require(GetDefs(open(content).get(), lines, n) == 0, "GetDefs gives 0");
    require(n == std::min(int(expected.size()), MaxDefLines), "GetDefs stores every line that matters");
    for (int i = 0; i < n; ++i) {
        require(lines[i] == withoutLeadingSpace(expected[std::size_t(i)]), "GetDefs stores it trimmed");
        std::string key = lines[i];
        key.resize(std::min(key.find('='), key.size()));
        std::string value;
        FindConfigValue(lines, n, key.c_str(), value);
    }
}

void checkBlocks(std::string &content, const Lines &expected)
{
    const auto file = open(content);
    static char lines[MaxBlockLines][ConfigLineSize];
    auto line = expected.begin();
    for (bool closed = true; closed;) {
        Lines block;
        closed = false;
        for (; line != expected.end() && !closed; ++line) {
            closed = line->front() == '}';
            if (!closed && line->front() != '{' && int(block.size()) < MaxBlockLines) {
                block.push_back(withoutLeadingSpace(*line));
            }
        }
        int n = -1;
        require(GetConfigBlock(file.get(), lines, n) == (closed ? 1 : 0), "GetConfigBlock sees the end");
        require(Lines(lines, lines + n) == block, "GetConfigBlock stores the block's lines");
    }
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0) {
        return 0; // there is no memory file of no bytes
    }
    std::string content(reinterpret_cast<const char *>(data), size);
    const Lines expected = linesOf(content);
    checkDefs(content, expected);
    checkBlocks(content, expected);
    return 0;
}
