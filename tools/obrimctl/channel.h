// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <string>

/** What two processes of one program send each other: a word of one letter and some bytes. */
struct Frame {
    char word = 0;
    std::string bytes;
};

/** One end of a connected socket, which it closes. */
class Channel
{
public:
    explicit Channel(int descriptor);
    ~Channel();
    Channel(const Channel &) = delete;
    Channel &operator=(const Channel &) = delete;

    /** Sends a frame, in portions with those after it. */
    void send(char word, const std::string &bytes = {});
    /** Sends what was held back. */
    void flush();
    /** Throws Failure when the other end has gone, which sending to it does not tell. */
    Frame receive();

private:
    void take(char *bytes, std::size_t size);

    int m_descriptor;
    std::string m_out;
    std::string m_in;
    std::size_t m_read = 0; ///< bytes of m_in that were taken
};
