// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

/**
 * @file
 * dblib-host: the process that the bridge has a DB library work in. It loads
 * the library as the console does, and calls it as it is told through a
 * socket. It ends with the program that started it, and with it all that the
 * library has started.
 */
#include "channel.h"
#include "dblibrary.h"
#include "dispatch.h"
#include "foreigncall.h"
#include "hostprotocol.h"
#include "keeper.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <sys/resource.h>
#include <unistd.h>

namespace
{
constexpr const char *HelpText =
    "Usage: dblib-host-64 PARENT MEGABYTES LIBRARY NAME-MAP\n"
    "Is the process that the bridge has a DB library work in. It loads the library as the console does, calls it\n"
    "as it is told through a socket, which is descriptor 3, and ends with the program that started it. Only the\n"
    "bridge starts it: dblib-host-64 for a library of 64 bits, dblib-host-32 for one of 32.\n"
    "\n"
    "  PARENT     the process that it ends with\n"
    "  MEGABYTES  of address space that it may use\n"
    "  LIBRARY    the file of the DB library\n"
    "  NAME-MAP   the file that says which function has which name in the library\n"
    "\n"
    "Options:\n"
    "  --help     show this\n"
    "  --version  show the version\n"
    "\n"
    "Exit status:\n"
    "  0   the program that started it is done with the library, or was told why it cannot be loaded\n"
    "  1   the program that started it had ended already\n"
    "  2   the command line is wrong\n"
    "  71  the connection is lost\n"
    "\n"
    "Examples:\n"
    "  echo Library=../Libs/plant.a >>Config/DBLib.def  has the bridge start a host for this library\n";

void limitMemory([[maybe_unused]] int megabytes)
{
#ifndef __SANITIZE_ADDRESS__ // which reserves terabytes
    const rlim_t most = sizeof(void *) == 4 && megabytes >= 4096 ? RLIM_INFINITY : rlim_t(megabytes) << 20;
    const rlimit limit = {most, most};
    setrlimit(RLIMIT_AS, &limit);
#endif
}

/** Loads the library and says what it has. */
Calls::Greeting load(const char *library, const char *nameMap, DBFunctions &functions)
{
    Calls::Greeting greeting;
    greeting.bits = std::uint32_t(sizeof(void *) * 8);
    const DBFunctionPlaces places = placesIn(functions);
    attempt("LoadDLL", [&] {
        const LoadOutcome outcome = loadInnerDBLibrary(library, nameMap, places);
        greeting.loaded = outcome != LoadOutcome::NoFile && outcome != LoadOutcome::NotOpened;
        return 0;
    });
    for (std::size_t i = 0; i < places.size(); ++i)
        if (*static_cast<void **>(places[i]))
            greeting.functions |= 1U << i;
    return greeting;
}

void wait(const Channel &channel, short events)
{
    pollfd waiting = {channel.descriptor(), events, 0};
    while (poll(&waiting, 1, -1) < 0 && errno == EINTR)
        ;
}

template <class Message> void send(Channel &channel, std::uint32_t number, const Message &message)
{
    // What the library has printed stands before what the console prints next.
    std::fflush(nullptr);
    while (!channel.send(number, message))
        wait(channel, POLLOUT);
}

Received receive(Channel &channel)
{
    for (;;) {
        wait(channel, POLLIN);
        if (std::optional<Received> received = channel.receive())
            return std::move(*received);
    }
}

[[noreturn]] void serve(Channel &channel, const DBFunctions &functions)
{
    const pid_t self = getpid();
    for (;;) {
        std::optional<Received> received;
        try {
            received.emplace(receive(channel));
        } catch (const ChannelClosed &) {
            std::exit(EXIT_SUCCESS); // the program is done with the library, whose destructors run
        }
        const Calls::Call call = Calls::readCall(received->bytes());
        const AnswerBytes answer = answerTo(call, functions);
        if (getpid() != self)
            _exit(EXIT_SUCCESS); // a copy of this process that came back from the library
        if (answer.large)
            send(channel, received->number(), *answer.large);
        else
            send(channel, received->number(), std::string_view(answer.small));
    }
}

constexpr int WrongCommandLine = 2;

/** For whoever starts it by hand; the exit status. */
int tell(std::string_view option)
{
    if (option == "--help" || option == "--version") {
        std::fputs(option == "--help" ? HelpText : "dblib-host " OBRIM_VERSION "\n", stdout);
        return EXIT_SUCCESS;
    }
    std::fprintf(stderr, "dblib-host is started by the bridge of the DB libraries, not by hand\n");
    return WrongCommandLine;
}
} // namespace

#ifdef __SANITIZE_ADDRESS__
/** A library's crash is to end this process as it does elsewhere. */
extern "C" const char *__asan_default_options()
{
    return "handle_segv=0:handle_sigbus=0:handle_sigfpe=0:handle_sigill=0:handle_abort=0";
}
#endif

int main(int argc, char **argv)
{
    if (argc != 5 || fcntl(HostDescriptor, F_SETFD, FD_CLOEXEC) != 0)
        return tell(argc == 2 ? argv[1] : "");
    leaveToKeeper(pid_t(std::atol(argv[1])));
    limitMemory(std::atoi(argv[2]));
    try {
        Channel channel{Descriptor(HostDescriptor)};
        DBFunctions functions;
        const Calls::Greeting greeting = load(argv[3], argv[4], functions);
        send(channel, 0, std::string_view(Calls::greetingMessage(greeting)));
        if (greeting.loaded)
            serve(channel, functions);
        return EXIT_SUCCESS;
    } catch (const ChannelClosed &) {
        _exit(HostLostConnection); // the program has ended, and nobody is there to be told
    } catch (const std::exception &error) {
        std::fprintf(stderr, "dblib-host: %s\n", error.what());
        std::fflush(nullptr);
        _exit(HostLostConnection); // nothing of the library's runs any more
    }
}
