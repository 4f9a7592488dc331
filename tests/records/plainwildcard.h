// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <climits>
#include <string>
#include <vector>

/**
 * The wildcard comparison step by step and without any shortcut, to hold the
 * real matcher against. Its running time explodes with the number of runs.
 * Only for input within the matcher's bounds.
 */
class PlainWildcard
{
public:
    int compare(const char *subject, const char *pattern);
    int compareNoCase(const char *subject, const char *pattern);

    /** Gives up a comparison that needs more steps; without a limit from the start. */
    void setLimit(long long calls);
    /** Whether the last comparison was given up: nothing else that it left counts. */
    bool gaveUp() const;

    /** The captured stretches, one a metacharacter, each cut at 255 bytes. */
    std::vector<std::string> stretches() const;
    /** The lengths of the literal parts that have a metacharacter behind them. */
    std::vector<int> lengths() const;
    /** Calls of the recursive step in the last comparison. */
    long long calls() const;
    /** Deepest recursion in the last comparison. */
    int deepest() const;

private:
    int step(int k, int p, int m);
    int descend(int k, int p, int m);
    int settle(int k, int p);
    bool textBegins(int p, int k) const;
    int textLength(int p) const;

    static constexpr int Parts = 100;
    // Larger than any position that a run is tried at: up to the length of the
    // subject behind a literal. All zeros behind the subject.
    static constexpr int Room = 2048;

    char m_subject[Room] = {};
    char m_pattern[Room] = {};
    char m_unchanged[Room] = {};
    char m_literals[Parts][256] = {};
    int m_lengths[Parts] = {};
    int m_kinds[Parts] = {};
    int m_positions[Parts + 1] = {};
    int m_count = 0;
    int m_reached = 0;
    int m_depth = 0;
    int m_deepest = 0;
    long long m_calls = 0;
    long long m_limit = LLONG_MAX;
};
