// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "installation.h"

#include "Config.h"

bool isReadableFile(const char *path)
{
    const OwnedFile file(openRegularFile(path), std::fclose);
    return file != nullptr;
}

std::optional<std::string> baseDirectoryAbove(const std::string &directory)
{
    for (const char *up : {"/..", "/../..", "/../../.."}) {
        const std::string base = directory + up;
        if (isReadableFile((base + "/Pics/Red.bmp").c_str()))
            return base;
    }
    return std::nullopt;
}
