// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "bridgesettings.h"

#include "definitions.h"
#include "installation.h"
#include "namemap.h"

#include <cstdio>
#include <cstring>
#include <elf.h>
#include <stdexcept>

namespace
{
constexpr int DefaultSeconds = 10;
constexpr int MostSeconds = 86400;
constexpr int DefaultMegabytes = 4096;
constexpr int LeastMegabytes = 64;
constexpr int MostMegabytes = 1 << 20;

/** The word width of the library; this program's own for what is no library, which the host then tells. */
int wordWidth(const std::string &library)
{
    unsigned char start[EI_NIDENT] = {};
    if (std::FILE *file = openRegularFile(library.c_str())) {
        const std::size_t got = std::fread(start, 1, sizeof(start), file);
        std::fclose(file);
        if (got == sizeof(start) && std::memcmp(start, ELFMAG, SELFMAG) == 0)
            return start[EI_CLASS] == ELFCLASS32 ? 32 : 64;
    }
    return int(sizeof(void *)) * 8;
}

std::string folderOf(const std::string &path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

const std::string &ownFile()
{
    static const std::string path = fileOf(reinterpret_cast<const void *>(&readBridgeSettings));
    return path;
}

/** The host for a library: beside this bridge, or where it was installed if this is a copy. */
std::string hostFor(const std::string &library)
{
    const std::string name = "dblib-host-" + std::to_string(wordWidth(library));
    for (const std::string &folder : {folderOf(ownFile()), std::string(OBRIM_HOST_FOLDER)}) {
        std::string path = folder;
        path.append("/").append(name);
        if (isReadableFile(path.c_str()))
            return path;
    }
    throw std::runtime_error("there is no host for " + library + ": " + name + " is neither in " + folderOf(ownFile()) +
                             " nor in " OBRIM_HOST_FOLDER);
}
} // namespace

BridgeSettings readBridgeSettings(const std::string &configDir)
{
    const Definitions definitions(configDir);
    BridgeSettings settings;
    HostTask &task = settings.task;
    task.library = definitions.requiredPath("Library");
    if (areOneFile(task.library, ownFile()))
        throw std::runtime_error("Library=" + definitions.text("Library") + " is the bridge itself");
    const std::string host = definitions.path("Host");
    task.program = host.empty() ? hostFor(task.library) : host;
    const std::string nameMap = definitions.path("Functions");
    task.nameMap = nameMap.empty() ? nameMapIn(configDir) : nameMap;
    task.megabytes = definitions.number("Memory", DefaultMegabytes, LeastMegabytes, MostMegabytes);
    settings.limit = std::chrono::seconds(definitions.number("Timeout", DefaultSeconds, 1, MostSeconds));
    return settings;
}
