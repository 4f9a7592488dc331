// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

/** Milliseconds from which on a load counts as long: the operator is to see that it runs. */
constexpr int LongLoad = 300;

/** What a window knows of its last load. Of none yet, nothing says that it will be short. */
struct LastLoad {
    int asked = 0;               ///< records at most
    int milliseconds = LongLoad; ///< that it took
};

/**
 * Whether the pointer waits from the start of a load of `asked` records at most, which it has to when the library
 * takes long: nothing can be shown until it returns. A pointer that waits for an instant flickers, so this guesses.
 */
bool pointerWaitsAtOnce(int asked, const LastLoad &last);

/** Whether rows that are being made are to be told of; both in milliseconds. */
bool progressIsDue(int sinceStart, int sinceTold);
