// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <optional>

/** Connects to the desktop, so that notices can be shown; they wait for nothing then. Once the application is made. */
void prepareFailureNotices();

/**
 * Shows a desktop notification that a function of the DB library fails, with
 * the result that it returned, if it did, or that it works again (0). Does
 * nothing where no notifications can be shown.
 */
void showFailureNotice(const char *function, std::optional<int> result);
