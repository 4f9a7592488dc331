// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <exception>
#include <string>
#include <string_view>

/** Whoever read the output has gone: nothing is wrong, and nothing is left to do. */
class OutputClosed : public std::exception
{
};

/** When colour is used. */
enum class ColourUse { Auto, Always, Never };

/**
 * Standard output, kept for the program itself: what a DB library prints goes
 * to standard error from here on, so that it does not stand between the records.
 *
 * Writing throws OutputClosed, and Failure with the system's reason.
 */
class Output
{
public:
    Output();
    ~Output();
    Output(const Output &) = delete;
    Output &operator=(const Output &) = delete;

    void write(std::string_view text);
    /** What is written next may be appended to this, followed by flushFull(). */
    std::string &buffer()
    {
        return m_buffer;
    }
    /** Hands on what was written so far when it is much. */
    void flushFull();
    /** Hands on what was written so far. */
    void flush();

    bool isTerminal() const
    {
        return m_isTerminal;
    }
    /** Columns of the terminal; 0 without one. */
    int width() const;
    bool hasColour(ColourUse use) const;

    /**
     * Waits until the time is over; true then. False at once when the reader has
     * gone, or a signal came whose handler set what `ended` points to.
     */
    bool wait(double seconds, const volatile int *ended) const;

private:
    int m_descriptor;
    bool m_isTerminal = false;
    std::string m_buffer;
};
