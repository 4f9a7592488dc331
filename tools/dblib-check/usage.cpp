// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "usage.h"

#include "heap.h"
#include "mappedmemory.h"

#include <algorithm>
#include <cstdio>
#include <dirent.h>

namespace
{
std::size_t residentBytes()
{
    std::size_t whole = 0;
    std::size_t resident = 0;
    if (std::FILE *file = std::fopen("/proc/self/statm", "re")) {
        if (std::fscanf(file, "%zu %zu", &whole, &resident) != 2)
            resident = 0;
        std::fclose(file);
    }
    return resident * pageSize();
}
} // namespace

int entriesOf(const char *directory)
{
    DIR *entries = opendir(directory);
    int count = 0;
    while (entries && readdir(entries))
        ++count;
    if (entries)
        closedir(entries);
    return count;
}

Usage Usage::now()
{
    return {Heap::liveBytes(), residentBytes(), entriesOf("/proc/self/fd"), entriesOf("/proc/self/task")};
}

std::string steadyGrowth(const Usage *moments, int count, int calls)
{
    // A cache may fill: what counts is growth that goes on.
    const auto grows = [&](auto member, std::size_t least) {
        for (int i = 1; i < count; ++i)
            if (moments[i].*member <= moments[i - 1].*member ||
                std::size_t(moments[i].*member - moments[i - 1].*member) < least)
                return false;
        return true;
    };
    const auto growth = [&](auto member) { return std::to_string(moments[count - 1].*member - moments[0].*member); };
    const auto whole = std::size_t(calls);
    if (grows(&Usage::threads, 1))
        return growth(&Usage::threads) + " threads";
    if (grows(&Usage::descriptors, 1))
        return growth(&Usage::descriptors) + " descriptors";
    if (grows(&Usage::heap, std::max<std::size_t>(whole / 8, 256)))
        return growth(&Usage::heap) + " bytes of memory";
#ifndef __SANITIZE_ADDRESS__ // the sanitizer keeps freed memory
    if (grows(&Usage::resident, std::max<std::size_t>(whole * 16, 256 << 10)))
        return growth(&Usage::resident) + " bytes of the program's memory";
#endif
    return {};
}

std::string pileOf(const Usage &before, const Usage &after)
{
    constexpr int many = 20;
    if (after.threads - before.threads >= many)
        return std::to_string(after.threads - before.threads) + " threads";
    if (after.descriptors - before.descriptors >= many)
        return std::to_string(after.descriptors - before.descriptors) + " descriptors";
    return {};
}
