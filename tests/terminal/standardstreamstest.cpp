// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Each case runs in a process of its own, whose standard streams lead where the case says.
#include "standardstreams.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <iostream>
#include <pty.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
/** Two ends of a way that bytes take. */
struct Way {
    int out = -1;
    int in = -1;
};

Way newPipe()
{
    int ends[2] = {};
    EXPECT_EQ(pipe(ends), 0);
    return {ends[0], ends[1]};
}

/** Runs `act` in a child whose standard output and error are `to`; its wait status. */
int statusOf(
    int to, const std::function<void()> &act, const std::function<void()> &meanwhile = [] {})
{
    const pid_t child = fork();
    if (child == 0) {
        dup2(to, STDOUT_FILENO);
        dup2(to, STDERR_FILENO);
        act();
        std::exit(0);
    }
    close(to);
    meanwhile();
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
}

std::string readAll(int from)
{
    std::string result;
    char bytes[4096];
    ssize_t got;
    while ((got = read(from, bytes, sizeof(bytes))) > 0)
        result.append(bytes, std::size_t(got));
    return result;
}

/** What of a way's content is there now. */
std::string drained(int from)
{
    fcntl(from, F_SETFL, fcntl(from, F_GETFL) | O_NONBLOCK);
    const std::string result = readAll(from);
    fcntl(from, F_SETFL, fcntl(from, F_GETFL) & ~O_NONBLOCK);
    return result;
}

void tell(const Way &way)
{
    EXPECT_EQ(write(way.in, "x", 1), 1);
}

void await(const Way &way)
{
    char told = 0;
    EXPECT_EQ(read(way.out, &told, 1), 1);
}

constexpr int ManyLines = 50000;

void writeInC(const std::string &text)
{
    std::fputs(text.c_str(), stdout);
}

void writeInCxx(const std::string &text)
{
    std::cout << text << std::flush;
}

/** Writes more lines than a way holds that nobody empties, and one more when it was emptied. */
void expectLinesToBeDroppedAndCounted(const Way &way, void (*write)(const std::string &) = writeInC)
{
    const Way full = newPipe();
    const Way emptied = newPipe();
    std::string begin;
    std::string end;
    const int status = statusOf(
        way.in,
        [&] {
            neverWaitForReaders();
            for (int i = 0; i < ManyLines; ++i)
                write("line " + std::to_string(i) + "\n");
            tell(full);
            await(emptied);
            write("the last\n");
        },
        [&] {
            await(full);
            begin = drained(way.out);
            tell(emptied);
            end = readAll(way.out);
        });
    EXPECT_EQ(status, 0);
    std::string expected;
    int written = 0;
    while (expected.size() < begin.size())
        expected += "line " + std::to_string(written++) + "\n";
    EXPECT_GT(written, 0);
    EXPECT_LT(written, ManyLines);
    // A line that was begun is completed first.
    expected += "(lines not written: " + std::to_string(ManyLines - written) + ")\nthe last\n";
    EXPECT_EQ(begin + end, expected);
}
} // namespace

TEST(StandardStreams, LinesThatAPipeDoesNotTakeAreDroppedAndCounted)
{
    expectLinesToBeDroppedAndCounted(newPipe());
}

TEST(StandardStreams, LinesThatASocketDoesNotTakeAreDroppedAndCounted)
{
    int ends[2] = {};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    expectLinesToBeDroppedAndCounted({ends[0], ends[1]});
}

TEST(StandardStreams, LinesOfTheStreamsOfCxxAreCountedLikeAll)
{
    expectLinesToBeDroppedAndCounted(newPipe(), writeInCxx);
}

TEST(StandardStreams, NobodyWhoReadsEndsNothing)
{
    const Way way = newPipe();
    close(way.out);
    EXPECT_EQ(statusOf(way.in,
                       [] {
                           neverWaitForReaders();
                           for (int i = 0; i < 100; ++i) {
                               std::puts("a line");
                               std::fputs("an error\n", stderr);
                               std::cout << "more" << std::endl;
                           }
                       }),
              0);
}

TEST(StandardStreams, AProgramThatIsStartedEndsWhenNobodyReads)
{
    const Way way = newPipe();
    const int status = statusOf(way.in, [] {
        neverWaitForReaders();
        std::_Exit(std::system("yes | head -n 1 >/dev/null; kill -s PIPE $$; exit 7") == SIGPIPE ? 0 : 1);
    });
    EXPECT_EQ(status, 0);
    close(way.out);
}

TEST(StandardStreams, OthersAtTheSamePipeGoOnWaiting)
{
    const Way way = newPipe();
    EXPECT_EQ(statusOf(dup(way.in), [] { neverWaitForReaders(); }), 0);
    EXPECT_EQ(fcntl(way.in, F_GETFL) & O_NONBLOCK, 0);
    close(way.in);
    close(way.out);
}

TEST(StandardStreams, OutputIsWrittenLineByLineAndErrorsAtOnce)
{
    const Way way = newPipe();
    const int status = statusOf(way.in, [] {
        neverWaitForReaders();
        std::fputs("out ", stdout);
        std::fputs("err ", stderr);
        std::fputs("line\n", stdout);
        std::fputs("err\n", stderr);
        std::fputs("rest", stdout);
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(readAll(way.out), "err out line\nerr\nrest");
    close(way.out);
}

TEST(StandardStreams, AFileIsWrittenBehindWhatItHolds)
{
    std::FILE *file = std::tmpfile();
    ASSERT_EQ(write(fileno(file), "before\n", 7), 7);
    EXPECT_EQ(statusOf(dup(fileno(file)),
                       [] {
                           neverWaitForReaders();
                           std::puts("a \x1b line");
                       }),
              0);
    ASSERT_EQ(lseek(fileno(file), 0, SEEK_SET), 0);
    EXPECT_EQ(readAll(fileno(file)), "before\na \x1b line\n");
    std::fclose(file);
}

TEST(StandardStreams, ControlCharactersAreVisibleOnATerminal)
{
    int terminal = -1;
    int own = -1;
    ASSERT_EQ(openpty(&own, &terminal, nullptr, nullptr, nullptr), 0);
    std::string seen;
    const int status = statusOf(
        terminal,
        [] {
            neverWaitForReaders();
            std::puts("a \x1b[2J\tline");
            std::fputs("an \a error\n", stderr);
        },
        [&] { seen = readAll(own); });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(seen, "a \\x1b[2J\tline\r\nan \\x07 error\r\n");
    close(own);
}

TEST(StandardStreams, DescriptorsThatAreClosedAreOpenedOnDevNull)
{
    for (int closed = 1; closed < 8; ++closed) {
        const pid_t child = fork();
        if (child == 0) {
            for (int descriptor = 0; descriptor <= 2; ++descriptor)
                if (closed & (1 << descriptor))
                    close(descriptor);
            openStandardDescriptors();
            bool good = open("/dev/null", O_RDONLY) > 2;
            for (int descriptor = 0; descriptor <= 2; ++descriptor)
                good = good && fcntl(descriptor, F_GETFD) >= 0;
            std::_Exit(good ? 0 : 1);
        }
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0) << closed;
    }
}
