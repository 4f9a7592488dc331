// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * fetcher LIBS CONFIG WAY: a program that loads a DB library as the console
 * does, says "ready" and its child's identifier, and fetches until it ends in
 * the way that is wanted: when it is killed, or by itself after some fetches.
 */
#include "dblibrary.h"
#include "namemap.h"

#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

namespace
{
void fetch(const DBFunctions &functions)
{
    CMessageEventRequest request;
    request.NMax = INT_MAX;
    int n = 0;
    CMessageEvent *events = nullptr;
    functions.getEvents(&n, &events, &request);
    functions.getEvents(nullptr, &events, &request);
}

/** The library's first child, or 0. */
int child()
{
    const std::string path = "/proc/self/task/" + std::to_string(getpid()) + "/children";
    int found = 0;
    if (std::FILE *file = std::fopen(path.c_str(), "r")) {
        if (std::fscanf(file, "%d", &found) != 1)
            found = 0;
        std::fclose(file);
    }
    return found;
}
} // namespace

int main(int, char **argv)
{
    DBFunctions functions;
    loadDBLibrary(dbLibraryIn(argv[1]), nameMapIn(argv[2]), placesIn(functions), printWords);
    functions.initSensors(argv[2]);
    functions.initEvents(argv[2]);
    functions.initCommands(argv[2]);
    const std::string way = argv[3];
    std::printf("ready %d\n", child());
    std::fflush(stdout);
    if (way == "idle")
        pause();
    for (int i = 0; way == "busy" || i < 3; ++i)
        fetch(functions);
    if (way == "abort")
        std::abort();
    if (way == "crash")
        std::raise(SIGSEGV);
    if (way == "quick-exit")
        _exit(0);
    return 0;
}
