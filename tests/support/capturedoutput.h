// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdio>
#include <string>
#include <unistd.h>

/** Takes what this process writes to a stream while it lives; afterwards the stream is as before. */
class CapturedOutput
{
public:
    explicit CapturedOutput(std::FILE *stream)
        : m_stream(stream)
        , m_file(std::tmpfile())
    {
        std::fflush(m_stream);
        m_before = dup(fileno(m_stream));
        dup2(fileno(m_file), fileno(m_stream));
    }

    ~CapturedOutput()
    {
        std::fflush(m_stream);
        dup2(m_before, fileno(m_stream));
        close(m_before);
        std::fclose(m_file);
    }

    CapturedOutput(const CapturedOutput &) = delete;
    CapturedOutput &operator=(const CapturedOutput &) = delete;

    /** All that was written so far. */
    std::string text() const
    {
        std::fflush(m_stream);
        std::string result;
        char bytes[4096];
        for (off_t at = 0;;) {
            const ssize_t got = pread(fileno(m_file), bytes, sizeof(bytes), at);
            if (got <= 0)
                return result;
            result.append(bytes, std::size_t(got));
            at += got;
        }
    }

private:
    std::FILE *m_stream;
    std::FILE *m_file;
    int m_before;
};
