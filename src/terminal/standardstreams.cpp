// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "standardstreams.h"

#include "visibletext.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ext/stdio_sync_filebuf.h>
#include <fcntl.h>
#include <iostream>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
/** What stands between a stream of the C library and its descriptor. */
class Outlet
{
public:
    explicit Outlet(int descriptor)
        : m_descriptor(descriptor)
        , m_terminal(isatty(descriptor) == 1)
    {
    }

    /** Takes text as the stream hands it on: as a rule one line. */
    void take(std::string_view text)
    {
        while (!text.empty()) {
            const std::size_t end = text.find('\n');
            const std::size_t length = end == text.npos ? text.size() : end + 1;
            takePiece(text.substr(0, length));
            text.remove_prefix(length);
        }
    }

private:
    void takePiece(std::string_view piece)
    {
        const bool endsLine = piece.back() == '\n';
        if (!m_dropping && !write(piece)) {
            m_dropping = true;
            ++m_dropped;
        }
        if (endsLine)
            m_dropping = false;
    }

    /** False when nothing of it was written. What was written of it in part is completed before the next piece. */
    bool write(std::string_view piece)
    {
        flushRest();
        if (!m_rest.empty())
            return false;
        std::string text = m_dropped > 0 ? "(lines not written: " + std::to_string(m_dropped) + ")\n" : "";
        if (m_dropped > 0 && m_midLine)
            text.insert(0, "\n");
        text += m_terminal ? visibleText(piece, "\n\t") : std::string(piece);
        const std::size_t written = tryToWrite(text);
        if (written == 0)
            return false;
        m_rest = text.substr(written);
        m_midLine = text.back() != '\n';
        m_dropped = 0;
        return true;
    }

    void flushRest()
    {
        if (!m_rest.empty())
            m_rest.erase(0, tryToWrite(m_rest));
    }

    /** Bytes written without waiting. */
    std::size_t tryToWrite(const std::string &text) const
    {
        pollfd ready = {m_descriptor, POLLOUT, 0};
        if (poll(&ready, 1, 0) != 1)
            return 0;
        ssize_t written = send(m_descriptor, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (written < 0 && errno == ENOTSOCK)
            written = ::write(m_descriptor, text.data(), text.size());
        return written < 0 ? 0 : std::size_t(written);
    }

    int m_descriptor;
    bool m_terminal;
    bool m_midLine = false;  ///< the last piece written ended no line
    bool m_dropping = false; ///< the beginning of the line was dropped: so is the rest
    long long m_dropped = 0; ///< lines since the last one written
    std::string m_rest;      ///< of a piece that was written in part
};

/**
 * Makes writes to a pipe or terminal give up instead of waiting. It is opened
 * anew for that: others share the description that was inherited. A terminal
 * that cannot be opened, as it is another user's, is only asked before.
 */
void stopWaiting(int descriptor)
{
    struct stat status = {};
    if (fstat(descriptor, &status) != 0 || !(S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode)))
        return;
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    const int own = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (own < 0)
        return;
    dup2(own, descriptor);
    close(own);
}

/** Leads a stream of C, and those of C++ beside it, through an outlet. */
void leadThroughOutlet(Outlet *outlet, std::FILE *&stream, int mode, std::initializer_list<std::ostream *> beside)
{
    stopWaiting(fileno(stream));
    cookie_io_functions_t functions = {};
    functions.write = [](void *self, const char *text, std::size_t size) {
        static_cast<Outlet *>(self)->take({text, size});
        return ssize_t(size);
    };
    std::FILE *own = fopencookie(outlet, "w", functions);
    if (!own)
        return;
    std::setvbuf(own, nullptr, mode, BUFSIZ);
    stream = own;
    for (std::ostream *other : beside)
        other->rdbuf(new __gnu_cxx::stdio_sync_filebuf<char>(own));
}
} // namespace

void openStandardDescriptors()
{
    for (int descriptor = 0; descriptor <= 2; ++descriptor)
        if (fcntl(descriptor, F_GETFD) < 0)
            open("/dev/null", O_RDWR);
}

void neverWaitForReaders()
{
    // Not ignored: a program that a library starts would inherit that.
    std::signal(SIGPIPE, [](int) {});
    // Never destroyed: what ends last still writes.
    static auto *const output = new Outlet(fileno(stdout));
    static auto *const errors = new Outlet(fileno(stderr));
    leadThroughOutlet(output, stdout, _IOLBF, {&std::cout});
    leadThroughOutlet(errors, stderr, _IONBF, {&std::cerr, &std::clog});
}
