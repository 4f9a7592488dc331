// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "misbehaviour.h"

#include "WCompare.h"
#include "fault.h"

#include <cfenv>
#include <chrono>
#include <climits>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

volatile int *const Nowhere = reinterpret_cast<volatile int *>(64);

namespace
{
[[noreturn]] void hang()
{
    std::signal(SIGTERM, SIG_IGN);
    for (;;)
        pause();
}

[[noreturn]] void spin()
{
    volatile unsigned turns = 0;
    for (;;)
        turns = turns + 1;
}

struct AtLoad {
    AtLoad()
    {
        if (fault("crash-at-load"))
            *Nowhere = 1;
        if (fault("print-at-load"))
            std::puts("library loaded");
    }
    ~AtLoad()
    {
        if (fault("abort-at-exit"))
            std::abort();
        if (fault("hang-at-exit"))
            hang();
        if (fault("print-at-exit"))
            std::puts("library left");
    }
} atLoad;

void leaveThread()
{
    std::thread([] {
        for (;;)
            pause();
    }).detach();
}

void forkAway()
{
    const pid_t child = fork();
    if (child == 0) {
        if (fault("fork-daemon")) {
            if (fork() > 0)
                _exit(0);
            setsid();
        }
        for (;;)
            pause();
    }
}

/** Begins a process that ends at once, and does not wait for it. */
void leaveZombie()
{
    if (fork() == 0)
        _exit(0);
}

/** Calls `act` with each block of memory, not of a file, that this process shares with another. */
template <class Act> void forEachSharedMemory(Act act)
{
    std::FILE *maps = std::fopen("/proc/self/maps", "r");
    char line[512];
    while (maps && std::fgets(line, sizeof(line), maps)) {
        unsigned long begin = 0;
        unsigned long end = 0;
        char rights[8] = {};
        const bool isFile = !std::strstr(line, "/dev/zero");
        if (std::sscanf(line, "%lx-%lx %7s", &begin, &end, rights) == 3 && rights[3] == 's' && rights[2] == '-' &&
            !isFile)
            act(reinterpret_cast<char *>(begin), std::size_t(end - begin), rights);
    }
    if (maps)
        std::fclose(maps);
}

void attack()
{
    if (fault("stops-itself"))
        std::raise(SIGSTOP);
    if (fault("stops-checker"))
        kill(getppid(), SIGSTOP);
    if (fault("kills-checker"))
        kill(getppid(), SIGKILL);
    if (fault("writes-checker")) {
        const std::string memory = "/proc/" + std::to_string(getppid()) + "/mem";
        (void)!open(memory.c_str(), O_RDWR);
    }
    if (fault("overwrites-verdict")) {
        forEachSharedMemory([](char *begin, std::size_t size, const char *) { std::memset(begin, 0, size); });
        _exit(0);
    }
    if (fault("forges-verdict")) {
        // Every way to say that all is well, whatever the bytes may mean.
        forEachSharedMemory([](char *begin, std::size_t size, const char *) {
            mprotect(begin, size, PROT_READ | PROT_WRITE);
            std::memset(begin, 1, size);
            std::memset(begin, 0, 8);
        });
        _exit(0);
    }
}

void changeProcess()
{
    if (fault("change-directory"))
        (void)!chdir("/");
    if (fault("change-locale"))
        std::setlocale(LC_ALL, "C.UTF-8");
    if (fault("change-thread-locale")) {
        static const locale_t own = newlocale(LC_ALL_MASK, "C.UTF-8", nullptr);
        uselocale(own);
    }
    if (fault("change-umask"))
        umask(0);
    if (fault("change-environment"))
        setenv("CHECKER_LIBRARY", "1", 1);
    if (fault("change-time-zone")) {
        setenv("TZ", "Asia/Tokyo", 1);
        tzset();
    }
    if (fault("change-rounding"))
        std::fesetround(FE_UPWARD);
    if (fault("change-alarm"))
        alarm(3600);
    if (fault("change-buffering"))
        std::setvbuf(stdout, nullptr, _IONBF, 0);
    if (fault("ignore-sigterm"))
        std::signal(SIGTERM, SIG_IGN);
    if (fault("block-signals")) {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, nullptr);
    }
}

void leaveSomething(int fetches)
{
    if (fault("leak-memory"))
        loseBytes(24);
    if (fault("leak-descriptor") && fetches % 50 == 0)
        (void)!dup(0);
    if (fault("leak-thread") && fetches % 1000 == 0)
        leaveThread();
    if (fault("thread-each-fetch"))
        leaveThread();
    // Not a leak: it ends.
    if (fault("cache-that-stops") && fetches < 3500)
        loseBytes(64);
    if (fetches > 1)
        return;
    if (fault("fork") || fault("fork-daemon"))
        forkAway();
    if (fault("zombie"))
        leaveZombie();
    if (fault("close-descriptors"))
        for (int descriptor = 3; descriptor < 1024; ++descriptor)
            close(descriptor);
    if (fault("close-output"))
        close(STDOUT_FILENO);
}

void rewriteFile(const std::string &path, const char *text)
{
    if (std::FILE *file = std::fopen(path.c_str(), "w")) {
        std::fputs(text, file);
        std::fclose(file);
    }
}

/** Reaches for a server, as a library does whose records lie on one. */
void connectNowhere()
{
    constexpr unsigned short discardPort = 9;
    const int client = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(discardPort);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    (void)!connect(client, reinterpret_cast<const sockaddr *>(&address), sizeof(address));
    close(client);
}

void readBytes(const char *from, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        (void)const_cast<const volatile char *>(from)[i];
}
} // namespace

void loseBytes(std::size_t count)
{
    static char *volatile lost = nullptr;
    lost = new char[count];
    std::memset(lost, 'x', count);
}

void misbehaveAtInitialise(const char *config)
{
    struct stat status;
    static int calls = 0;
    if (fault("crash-missing-directory") && stat(config, &status) != 0)
        *Nowhere = 1;
    if (fault("init-overread"))
        readBytes(config, 300);
    // The first ones of a start are what a library needs for good.
    if (fault("leak-at-initialise") && ++calls > 3)
        loseBytes(100000);
    if (fault("descriptor-at-initialise") && ++calls > 3)
        (void)!open("/dev/null", O_RDONLY);
    if (fault("server"))
        connectNowhere();
    if (fault("config-rewritten"))
        rewriteFile(std::string(config) + "/Site.def", "Changed=yes\n");
    if (fault("config-removed"))
        unlink((std::string(config) + "/DebugInitEvents.txt").c_str());
}

void misbehaveAtFetch()
{
    static int fetches = 0;
    if (fault("print"))
        std::puts("fetching");
    if (fault("print-error"))
        std::fputs("fetching\n", stderr);
    leaveSomething(++fetches);
    changeProcess();
    attack();
}

void misbehaveFor(const CMessageEventRequest &request)
{
    if (fault("segfault") && request.NMax == INT_MAX)
        *Nowhere = 1;
    if (fault("abort") && request.NMax == INT_MAX)
        std::abort();
    if (fault("exit") && request.NMax == 0)
        std::exit(0);
    if (fault("quick-exit") && request.NMax == 0)
        _exit(0);
    if (fault("endless-loop") && request.NMax == INT_MIN)
        spin();
    if (fault("ignores-sigterm") && request.NMax == INT_MIN)
        hang();
    if (fault("throws") && request.NMax < 0)
        throw std::runtime_error("NMax is negative");
    if (fault("throws-number") && request.NMax < 0)
        throw 42;
    if (fault("huge-allocation") && request.NMax == INT_MAX)
        delete[] new CMessageEvent[std::size_t(request.NMax)];
    if (fault("eats-memory") && request.NMax == INT_MAX) {
        // As much as there is, and then it does not look at what it got.
        for (int i = 0; i < 1 << 16; ++i)
            static_cast<volatile char *>(std::malloc(1 << 16))[0] = 1;
    }
    if (fault("slow") && request.NMax == 100)
        std::this_thread::sleep_for(std::chrono::milliseconds(2100));
    if (fault("stack-overflow") && request.NMax == INT_MAX) {
        volatile char room[1 << 16] = {};
        misbehaveFor(request);
        room[1] = room[0];
    }
    if (fault("leak-with-mask") && request.UseSensorID)
        loseBytes(8);
    // More in a long run than the system gives, and no other check asks so often.
    static int masked = 0;
    if (fault("thread-with-mask") && request.UseSensorID && ++masked % 3 == 0)
        leaveThread();
    if (fault("leak-with-time") && request.UseEventTime0)
        loseBytes(8);
}

void changeRequest(CMessageEventRequest &request)
{
    if (fault("request-changed"))
        request.NMax = 7;
    if (fault("mask-lowered") && request.SensorID) {
        strlwr_win(request.SensorID);
        request.SensorID[0] = '#';
    }
    if (fault("mask-freed") && request.SensorID) {
        delete[] request.SensorID;
        request.SensorID = nullptr;
        request.LSensorID = 0;
    }
    if (fault("mask-overread") && request.SensorID) {
        static char copy[512];
        static volatile std::size_t fixed = 512;
        std::memcpy(copy, request.SensorID, fixed);
    }
    if (fault("overrun-request"))
        reinterpret_cast<volatile char *>(&request)[sizeof(request)] = 0;
}

void misbehaveAtDelete()
{
    if (fault("delete-leaks-descriptor"))
        (void)!open("/dev/null", O_RDONLY);
}

void misbehaveAtPut(CMessageEvent &event)
{
    if (fault("print-at-put"))
        std::puts("stored");
    if (fault("put-changes-locale"))
        std::setlocale(LC_NUMERIC, "C.UTF-8");
    if (fault("put-overrun")) {
        char *text = new char[16];
        static volatile int past = 16;
        text[past] = 'x';
        delete[] text;
    }
    static int puts = 0;
    if (fault("put-pauses") && ++puts % 100 == 0)
        std::this_thread::sleep_for(std::chrono::seconds(1));
    if (fault("put-crawls"))
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (fault("put-reads-sensor") && event.SensorID)
        readBytes(event.SensorID, std::size_t(event.LSensorID) + 16);
    if (fault("put-reads-name") && event.EventName)
        readBytes(event.EventName, std::size_t(event.LEventName) + 1);
    if (fault("put-reads-value"))
        for (int i = 0; i < event.ParNum; ++i)
            readBytes(event.par[i].Val, std::size_t(event.par[i].LVal) + 1);
    if (fault("put-reads-record"))
        readBytes(reinterpret_cast<const char *>(&event), sizeof(event) + 1);
    if (fault("put-takes-text")) {
        event.SensorID = nullptr;
        event.LSensorID = 0;
    }
    if (fault("put-crashes"))
        *Nowhere = 1;
}
