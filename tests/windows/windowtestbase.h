// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "fakesource.h"
#include "windowtesting.h"

#include <memory>

/**
 * What stands around each test of a window: a library of its own, the clock at
 * a known time, boxes that show, and a watch on standard error.
 */
class WindowTestBase : public QObject
{
    Q_OBJECT

public:
    /** Saturday, 21 November 2026, 00:31:00 UTC. */
    static constexpr std::time_t StartTime = 1795221060;
    /** Steps the clock. */
    static void setTime(std::time_t time);
    /** Steps the clock by which loads are long. */
    static void passMilliseconds(int count);

protected slots:
    void init();
    void cleanup();

protected:
    std::unique_ptr<FakeLibrary> m_library;

private:
    std::unique_ptr<MessageWatch> m_watch;
};
