// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "lamp.h"

#include <array>
#include <cstdint>

namespace
{
constexpr int Side = 32;
constexpr int PixelBytes = 3;
constexpr int HeaderBytes = 14 + 40;

/** Appends the `bytes` low bytes of a number, lowest first. */
void append(std::string &to, std::uint32_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        to.push_back(static_cast<char>(value >> (8 * i) & 0xFFU));
}

std::string header()
{
    constexpr std::uint32_t pixels = Side * Side * PixelBytes;
    std::string h = "BM";
    append(h, HeaderBytes + pixels, 4);
    append(h, 0, 4);
    append(h, HeaderBytes, 4);
    append(h, 40, 4);
    append(h, Side, 4);
    append(h, Side, 4);
    append(h, 1, 2);
    append(h, 8 * PixelBytes, 2);
    append(h, 0, 4);
    append(h, pixels, 4);
    h.append(16, '\0');
    return h;
}

/** Blue, green, red of a pixel: a lamp lit from the upper left, in a dark ring, on white. */
std::array<std::uint32_t, PixelBytes> colour(int x, int y)
{
    const int dx = 2 * x - Side + 1;
    const int dy = 2 * y - Side + 1;
    const int distance = dx * dx + dy * dy;
    if (distance > 29 * 29)
        return {255, 255, 255};
    if (distance > 25 * 25)
        return {48, 48, 64};
    const int lx = dx + 9;
    const int ly = dy - 9;
    const int shade = (lx * lx + ly * ly) / 9;
    const auto glow = static_cast<std::uint32_t>(shade < 160 ? 160 - shade : 0);
    return {glow, glow, 215};
}
} // namespace

std::string lampPicture()
{
    std::string p = header();
    for (int y = 0; y < Side; ++y) {
        for (int x = 0; x < Side; ++x)
            for (const std::uint32_t part : colour(x, y))
                append(p, part, 1);
    }
    return p;
}
