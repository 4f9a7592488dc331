// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// drawlamp FILE: writes the picture whose presence makes a directory an installation's base.
#include "lamp.h"

#include <cstdio>
#include <fstream>

int main(int argc, char *argv[])
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: drawlamp FILE\n");
        return 2;
    }
    std::ofstream file(argv[1], std::ios::binary);
    file << lampPicture() << std::flush;
    if (!file) {
        std::fprintf(stderr, "drawlamp: %s cannot be written\n", argv[1]);
        return 1;
    }
    return 0;
}
