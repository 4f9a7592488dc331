// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Stands in for the fuzzer: runs a target on the files of the directories
// named on the command line, so that every find stays found.
#include "fuzztarget.h"

#include <filesystem>
#include <fstream>
#include <iterator>

int main(int argc, char **argv)
{
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto &entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
            std::printf("%s\n", entry.path().filename().c_str());
            std::fflush(stdout);
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(content.data()), content.size());
            ++count;
        }
    }
    return count > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
