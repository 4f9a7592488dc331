// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * withserver CONFIGDIR COMMAND...: runs a command while there is a server with
 * an empty database, which CONFIGDIR/DBLib.def names. Its exit status is the
 * command's.
 */
#include "testserver.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
int run(char *const command[])
{
    const pid_t child = ::fork();
    if (child == 0) {
        ::execvp(command[0], command);
        std::perror(command[0]);
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
} // namespace

int main(int argc, char *argv[])
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: withserver CONFIGDIR COMMAND...\n");
        return 2;
    }
    TestServer server;
    server.start();
    const std::filesystem::path configDir = argv[1];
    std::filesystem::create_directories(configDir);
    std::ofstream(configDir / "DBLib.def") << "Connection=" << server.connection(server.freshDatabase()) << "\n";
    return run(argv + 2);
}
