// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "workingdirectory.h"

#include "visibletext.h"

#include <QFile>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <unistd.h>

/** What is wrong with a path from which the installation is to be looked for; NULL when nothing is. */
static const char *reasonAgainst(const QByteArray &directory)
{
    constexpr int room = 64; // for what comes behind it, as "/../../../Config/DebugInitCommands.txt"
    if (directory.size() + room > PATH_MAX)
        return "is too long";
    return QFile::encodeName(QFile::decodeName(directory)) == directory ? nullptr : "has bytes that are no text here";
}

QByteArray workingDirectory()
{
    const std::unique_ptr<char, decltype(&std::free)> directory(get_current_dir_name(), &std::free);
    if (!directory) {
        std::perror("The working directory cannot be read");
        return {};
    }
    const char *reason = reasonAgainst(directory.get());
    if (!reason)
        return directory.get();
    std::fprintf(stderr, "The path of the working directory %s: %s\n", reason, visibleText(directory.get()).c_str());
    return {};
}
