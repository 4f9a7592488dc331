// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/** Shows by the pointer that the program works, until the end of the scope. */
class WaitCursor
{
public:
    WaitCursor();
    ~WaitCursor();
    WaitCursor(const WaitCursor &) = delete;
    WaitCursor &operator=(const WaitCursor &) = delete;

    /** Gives the usual pointer back until the end of the scope: for a box that wants an answer meanwhile. */
    class Pause
    {
    public:
        Pause();
        ~Pause();
        Pause(const Pause &) = delete;
        Pause &operator=(const Pause &) = delete;

    private:
        int m_depth = 0;
    };
};
