// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

/** A menu entry that starts the console in an installation. */
struct DesktopEntry {
    std::string path; ///< of the file
    std::string content;
    std::string pathLine; ///< the line of the content that tells the installation
};

/**
 * The entry for the installation at `base`, an absolute path, among those of
 * the user. Throws Failure when the path cannot be written in one.
 */
DesktopEntry desktopEntryFor(const std::string &base);
