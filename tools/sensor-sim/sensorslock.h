// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

/**
 * Makes sure that one program plays a database's sensors: two would report and
 * obey twice. It is a lock on the database file itself, of a kind that SQLite
 * does not use, so that the file's name does not matter, nothing has to be
 * written, nothing is left behind, and a program that dies gives it back.
 *
 * Has to outlive every Store of the database in this program: closing the file
 * takes from them the locks that SQLite does use.
 */
class SensorsLock
{
public:
    SensorsLock() = default;
    SensorsLock(const SensorsLock &) = delete;
    SensorsLock &operator=(const SensorsLock &) = delete;
    ~SensorsLock();

    /**
     * Takes the sensors of the database `path`, which must exist. Throws
     * Sqlite::Error when another program plays them and goes on doing so for
     * `patience` milliseconds: one that was just killed may need a moment to end.
     */
    void take(const std::string &path, int patience = Patience);
    static constexpr int Patience = 1000;

private:
    int m_descriptor = -1;
};
