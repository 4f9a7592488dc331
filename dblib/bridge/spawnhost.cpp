// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "spawnhost.h"

#include "hostprocess.h"
#include "hostprotocol.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/socket.h>
#include <system_error>
#include <vector>

namespace
{
[[noreturn]] void fail(int error, const std::string &what)
{
    throw std::system_error(error, std::generic_category(), what);
}

void require(int error, const char *what)
{
    if (error != 0)
        fail(error, what);
}

/** Both ends, out of the way of the descriptors that a host gets. */
std::array<Descriptor, 2> socketPair()
{
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair) != 0)
        fail(errno, "socketpair");
    std::array<Descriptor, 2> ends = {Descriptor(pair[0]), Descriptor(pair[1])};
    for (Descriptor &end : ends) {
        if (end.get() > HostDescriptor)
            continue;
        end.reset(fcntl(end.get(), F_DUPFD_CLOEXEC, HostDescriptor + 1));
        if (end.get() < 0)
            fail(errno, "fcntl");
    }
    return ends;
}

/** What is done in the new process before the program starts. */
class Preparation
{
public:
    explicit Preparation(int socket)
    {
        require(posix_spawn_file_actions_init(&m_files), "posix_spawn");
        require(posix_spawnattr_init(&m_attributes), "posix_spawn");
        require(posix_spawn_file_actions_addopen(&m_files, STDIN_FILENO, "/dev/null", O_RDONLY, 0), "posix_spawn");
        require(posix_spawn_file_actions_adddup2(&m_files, socket, HostDescriptor), "posix_spawn");
        require(posix_spawn_file_actions_addclosefrom_np(&m_files, HostDescriptor + 1), "posix_spawn");
        sigset_t signals;
        sigemptyset(&signals);
        require(posix_spawnattr_setsigmask(&m_attributes, &signals), "posix_spawn");
        sigfillset(&signals);
        require(posix_spawnattr_setsigdefault(&m_attributes, &signals), "posix_spawn");
        constexpr auto flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID;
        require(posix_spawnattr_setflags(&m_attributes, flags), "posix_spawn");
    }
    ~Preparation()
    {
        posix_spawn_file_actions_destroy(&m_files);
        posix_spawnattr_destroy(&m_attributes);
    }
    Preparation(const Preparation &) = delete;
    Preparation &operator=(const Preparation &) = delete;

    const posix_spawn_file_actions_t *files() const
    {
        return &m_files;
    }
    const posix_spawnattr_t *attributes() const
    {
        return &m_attributes;
    }

private:
    posix_spawn_file_actions_t m_files = {};
    posix_spawnattr_t m_attributes = {};
};

/** Texts as exec takes them. */
class Texts
{
public:
    void add(std::string text)
    {
        m_texts.push_back(std::move(text));
    }
    std::vector<char *> pointers()
    {
        std::vector<char *> pointers;
        for (std::string &text : m_texts)
            pointers.push_back(text.data());
        pointers.push_back(nullptr);
        return pointers;
    }

private:
    std::vector<std::string> m_texts;
};

Texts environmentOfHost()
{
    Texts environment;
    for (char **variable = environ; *variable; ++variable)
        environment.add(*variable);
    environment.add(std::string(HostMark) + "=1");
    return environment;
}

/** A program that is there and cannot be found lacks the loader of its word width. */
std::string notStarted(const std::string &program, int error)
{
    std::string text = program + " cannot be started";
    if (error == ENOENT && access(program.c_str(), F_OK) == 0)
        text += " (is the C library for its word width installed?)";
    return text;
}
} // namespace

SpawnedHost spawnHost(const HostTask &task)
{
    std::array<Descriptor, 2> ends = socketPair();
    const Preparation preparation(ends[1].get());
    Texts arguments;
    for (const std::string &argument :
         {task.program, std::to_string(getpid()), std::to_string(task.megabytes), task.library, task.nameMap})
        arguments.add(argument);
    Texts environment = environmentOfHost();
    SpawnedHost host = {-1, std::move(ends[0])};
    const int error = posix_spawn(&host.id, task.program.c_str(), preparation.files(), preparation.attributes(),
                                  arguments.pointers().data(), environment.pointers().data());
    if (error != 0)
        fail(error, notStarted(task.program, error));
    return host;
}
