// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "processtree.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <string>

pid_t parentOf(pid_t process)
{
    std::FILE *file = std::fopen(("/proc/" + std::to_string(process) + "/stat").c_str(), "re");
    if (!file)
        return 0;
    char line[512] = {};
    const bool got = std::fgets(line, sizeof(line), file) != nullptr;
    std::fclose(file);
    // The program's name stands in parentheses and may hold some itself.
    const char *name = got ? std::strrchr(line, ')') : nullptr;
    char state = 0;
    int parent = 0;
    return name && std::sscanf(name + 1, " %c %d", &state, &parent) == 2 ? parent : 0;
}

bool descends(pid_t process, pid_t ancestor)
{
    while (process > 0 && process != ancestor)
        process = parentOf(process);
    return process == ancestor;
}

std::vector<pid_t> childrenOf(pid_t parent)
{
    std::vector<pid_t> children;
    DIR *processes = opendir("/proc");
    while (const dirent *entry = processes ? readdir(processes) : nullptr) {
        const pid_t process = std::atoi(entry->d_name);
        if (process > 0 && parentOf(process) == parent)
            children.push_back(process);
    }
    if (processes)
        closedir(processes);
    return children;
}
