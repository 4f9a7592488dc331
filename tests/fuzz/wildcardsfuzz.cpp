// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The wildcard matcher against the plain transcription. An input is a subject
// and a pattern, a line each.
#include "fuzztarget.h"

#include "../records/plainwildcard.h"
#include "WCompare.h"

#include <climits>
#include <vector>

namespace
{
bool isMeta(char c)
{
    return c == '*' || c == '?' || c == '+';
}

bool withinBounds(const std::string &subject, const std::string &pattern)
{
    if (subject.size() > 1023 || pattern.size() > 1023)
        return false;
    int metaCount = 0;
    int longest = 0;
    int literal = 0;
    for (const char c : pattern) {
        metaCount += isMeta(c) ? 1 : 0;
        literal = isMeta(c) ? 0 : literal + 1;
        longest = std::max(longest, literal);
    }
    return metaCount == 0 || (metaCount <= 99 && longest <= 255);
}

struct Captured {
    std::vector<std::string> stretches;
    std::vector<int> lengths;
};

Captured captured()
{
    char(*parts)[100][256] = nullptr;
    int *lengths = nullptr;
    int n = -1;
    WCompare_GetParts(parts, lengths, n);
    require(n >= 0 && n <= 99, "the number of stretches is within the bounds");
    Captured result;
    for (int i = 0; i < n; ++i) {
        require(std::memchr((*parts)[i], '\0', sizeof((*parts)[i])), "a stretch is terminated");
        result.stretches.emplace_back((*parts)[i]);
        result.lengths.push_back(lengths[i]);
    }
    return result;
}

/** Starts the next comparison without a split from the one before. */
void forget()
{
    WCompare("a", "b*");
}

void check(const std::string &subject, const std::string &pattern, bool noCase)
{
    forget();
    const long long before = WCompare_Counters().calls;
    const int result =
        noCase ? WCompareNoCase(subject.c_str(), pattern.c_str()) : WCompare(subject.c_str(), pattern.c_str());
    const long long calls = WCompare_Counters().calls;
    const int deepest = WCompare_Counters().deepest;
    const Captured parts = captured();
    if (!withinBounds(subject, pattern)) {
        require(result == 0 && parts.stretches.empty() && calls == before, "input beyond the bounds does not match");
        return;
    }
    // Enough to tell the two apart; more would only slow the search down.
    static PlainWildcard plain;
    plain.setLimit(500);
    plain.compare("a", "b*");
    const int expected = noCase ? plain.compareNoCase(subject.c_str(), pattern.c_str())
                                : plain.compare(subject.c_str(), pattern.c_str());
    if (!plain.gaveUp()) {
        require(result == expected, "the result is the transcription's");
        require(parts.stretches == plain.stretches(), "the stretches are the transcription's");
        require(parts.lengths == plain.lengths(), "the lengths are the transcription's");
        require(calls == std::min<long long>(before + plain.calls(), INT_MAX), "the calls are the transcription's");
        require(deepest == plain.deepest(), "the depth is the transcription's");
    }
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string input(reinterpret_cast<const char *>(data), size);
    const std::size_t end = std::min(input.find('\n'), input.size());
    // A text of the matcher's ends at its NUL.
    const std::string subject = input.substr(0, end).c_str();
    const std::string pattern = input.substr(std::min(end + 1, input.size())).c_str();
    check(subject, pattern, size % 2 == 0);
    return 0;
}
