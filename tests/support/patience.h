// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QTest>

/**
 * @file
 * How the tests wait for what must come. Only a test that fails waits for the
 * limit: it is far above what a machine takes that has other work to do.
 */

/** Milliseconds. */
constexpr int Patience = 240000;

// Qt Test's own limit is five seconds.
#undef QTRY_VERIFY
#define QTRY_VERIFY(expression) QTRY_VERIFY_WITH_TIMEOUT(expression, Patience)
#undef QTRY_COMPARE
#define QTRY_COMPARE(expression, expected) QTRY_COMPARE_WITH_TIMEOUT((expression), (expected), Patience)

#ifdef QT_WIDGETS_LIB
inline bool waitForExposed(QWidget *window)
{
    return QTest::qWaitForWindowExposed(window, Patience);
}

inline bool waitForActive(QWidget *window)
{
    return QTest::qWaitForWindowActive(window, Patience);
}
#endif

template <class Condition> bool waitFor(Condition condition)
{
    return QTest::qWaitFor(condition, Patience);
}
