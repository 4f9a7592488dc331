// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "capturedoutput.h"
#include "dblibrary.h"
#include "namemap.h"

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/** What the tests of the bridge, the recorder and the player do alike. */
namespace BridgeFixture
{
namespace fs = std::filesystem;

/** A folder that is gone with its owner. */
class Folder
{
public:
    Folder()
    {
        std::string name = (fs::temp_directory_path() / "obrim-bridge-XXXXXX").string();
        m_path = mkdtemp(name.data());
    }
    ~Folder()
    {
        fs::remove_all(m_path);
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    std::string file(const std::string &name) const
    {
        return m_path + "/" + name;
    }

private:
    std::string m_path;
};

/** An installation whose library stands in for another one. */
class Installation
{
public:
    /** `library` becomes Libs/DBLib.a, `definitions` Config/DBLib.def. */
    Installation(const std::string &library, const std::string &definitions)
    {
        for (const char *name : {"Config", "Libs"})
            fs::create_directories(folder.file(name));
        fs::create_symlink(library, folder.file("Libs/DBLib.a"));
        define(definitions);
    }
    void define(const std::string &definitions) const
    {
        std::ofstream(folder.file("Config/DBLib.def")) << definitions;
    }
    std::string config() const
    {
        return folder.file("Config");
    }
    /** Loads the library as the console does. */
    DBFunctions load() const
    {
        DBFunctions functions;
        const CapturedOutput words(stdout);
        EXPECT_EQ(loadDBLibrary(dbLibraryIn(folder.file("Libs")), nameMapIn(config()), placesIn(functions), printWords),
                  LoadOutcome::Cxx);
        return functions;
    }

    Folder folder;
};

inline std::vector<int> initialise(const DBFunctions &functions, const std::string &config)
{
    return {functions.initSensors(config.c_str()), functions.initEvents(config.c_str()),
            functions.initCommands(config.c_str())};
}

/** The identifiers of a fetch, which is followed by its release, and its result. */
struct FetchedEvents {
    int result = 0;
    int count = 0;
    std::vector<int> ids;
};

inline FetchedEvents fetchEvents(const DBFunctions &functions, int nMax)
{
    CMessageEventRequest request;
    request.NMax = nMax;
    FetchedEvents fetched;
    CMessageEvent *events = nullptr;
    fetched.result = functions.getEvents(&fetched.count, &events, &request);
    for (int i = 0; events && i < fetched.count; ++i)
        fetched.ids.push_back(events[i].MessageID);
    functions.getEvents(nullptr, &events, &request);
    return fetched;
}

inline std::size_t openDescriptors()
{
    const fs::directory_iterator all("/proc/self/fd");
    return std::size_t(std::distance(begin(all), end(all)));
}

/** Whether memory that a host has filled is still mapped. */
inline bool hasMemoryOfHosts()
{
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        if (line.find("memfd:") != std::string::npos)
            return true;
    return false;
}

/** The processes that a process has started and that are still there, zombies among them. */
inline std::set<int> childrenOf(int process)
{
    std::set<int> children;
    for (const auto &thread : fs::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
        std::ifstream file(thread.path() / "children");
        for (int child = 0; file >> child;)
            children.insert(child);
    }
    return children;
}

/** Signals one process. A number that means several, because the process was not found, ends the test. */
inline void sendSignal(int process, int signal)
{
    if (process <= 1)
        std::abort();
    kill(process, signal);
}

/** Waits for the end of a process that is a child of this one or has lost its parent to it. */
inline bool endsInTime(int process)
{
    constexpr int patience = 60000; // milliseconds
    for (int i = 0; i < patience && kill(process, 0) == 0; ++i) {
        waitpid(process, nullptr, WNOHANG);
        usleep(1000);
    }
    return kill(process, 0) != 0;
}

/** As long as it lives, processes that lose their parent become children of this one. */
class Subreaper
{
public:
    Subreaper()
    {
        prctl(PR_SET_CHILD_SUBREAPER, 1);
    }
    ~Subreaper()
    {
        prctl(PR_SET_CHILD_SUBREAPER, 0);
    }
    Subreaper(const Subreaper &) = delete;
    Subreaper &operator=(const Subreaper &) = delete;
};

/** The process that a library works in, whose parent is its keeper; -1 when there is not exactly one of both. */
inline int hostOf(int process)
{
    for (int generation = 0; generation < 2; ++generation) {
        const std::set<int> children = childrenOf(process);
        if (children.size() != 1)
            return -1;
        process = *children.begin();
    }
    return process;
}
} // namespace BridgeFixture
