// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "output.h"

#include "failure.h"
#include "filling.h"
#include "translation.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace
{
constexpr std::size_t BufferSize = 1 << 16;

bool isSet(const char *name)
{
    const char *value = std::getenv(name);
    return value && *value;
}
} // namespace

Output::Output()
    : m_descriptor(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1))
{
    dup2(STDERR_FILENO, STDOUT_FILENO);
    m_isTerminal = isatty(m_descriptor) != 0;
    m_buffer.reserve(BufferSize);
}

Output::~Output()
{
    // What a library printed may wait in a buffer until the process ends: standard output is not put back.
    close(m_descriptor);
}

void Output::write(std::string_view text)
{
    m_buffer += text;
    flushFull();
}

void Output::flushFull()
{
    if (m_buffer.size() >= BufferSize)
        flush();
}

void Output::flush()
{
    std::string_view rest = m_buffer;
    while (!rest.empty()) {
        const ssize_t written = ::write(m_descriptor, rest.data(), rest.size());
        if (written >= 0) {
            rest.remove_prefix(std::size_t(written));
        } else if (errno == EPIPE) {
            throw OutputClosed();
        } else if (errno == EAGAIN) {
            pollfd output = {m_descriptor, POLLOUT, 0};
            poll(&output, 1, -1);
        } else if (errno != EINTR) {
            const std::string reason = std::strerror(errno);
            m_buffer.clear();
            throw Failure(filled(translated("standard output cannot be written: %1"), reason));
        }
    }
    m_buffer.clear();
}

int Output::width() const
{
    winsize size = {};
    if (!m_isTerminal || ioctl(m_descriptor, TIOCGWINSZ, &size) != 0)
        return 0;
    return size.ws_col;
}

bool Output::hasColour(ColourUse use) const
{
    if (use != ColourUse::Auto)
        return use == ColourUse::Always;
    const char *terminal = std::getenv("TERM");
    return m_isTerminal && !isSet("NO_COLOR") && terminal && std::strcmp(terminal, "dumb") != 0;
}

bool Output::wait(double seconds, const volatile int *ended) const
{
    // Blocked from the look at the flag until the system waits, so that no signal falls between.
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGINT);
    sigaddset(&blocked, SIGTERM);
    sigprocmask(SIG_BLOCK, &blocked, &before);
    timespec time = {};
    time.tv_sec = time_t(seconds);
    time.tv_nsec = long((seconds - double(time.tv_sec)) * 1e9);
    pollfd output = {m_descriptor, 0, 0};
    int happened = 0;
    if (!*ended)
        happened = ppoll(&output, 1, &time, &before);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return !*ended && happened == 0;
}
