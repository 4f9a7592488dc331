// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <string>

/** @file How a recording lies in its file; docs/recorder.md states it in words. */
namespace Recording
{
constexpr char FileSignature[8] = {'o', 'b', 'r', 'i', 'm', 'r', 'e', 'c'};
constexpr std::uint16_t Version = 1;

/** What a recording begins with. */
struct FileHead {
    char signature[8];
    std::uint16_t version;
    std::uint16_t bits;     ///< word width of the process that recorded
    std::uint32_t hasTexts; ///< 0 when what texts say was left out
};
static_assert(sizeof(FileHead) == 16, "as stated in docs/recorder.md");

constexpr char EntrySignature[4] = {'c', 'a', 'l', 'l'};

/** What each call begins with; the call and its answer follow. Written last: without it there is no call. */
struct EntryHead {
    char signature[4];
    std::uint32_t callSize;
    std::uint32_t answerSize;
    std::uint32_t zero;
    std::int64_t time;      ///< of the call, in microseconds since the Unix epoch
    std::uint64_t duration; ///< in microseconds
};
static_assert(sizeof(EntryHead) == 32, "as stated in docs/recorder.md");

/** The older half of a recording, which makes room for the newer one. */
inline std::string olderHalf(const std::string &path)
{
    return path + ".old";
}
} // namespace Recording
