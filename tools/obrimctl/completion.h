// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>
#include <vector>

namespace CLI
{
class App;
}

/** A word that a command line may go on with. */
struct Candidate {
    std::string word;
    std::string description; ///< may be empty
};

/** What the last word of a command line may become. */
struct Completion {
    /** What there is beside the candidates, found by whoever asks. */
    enum class Others { None, Sensors, Folders };

    std::string begin;     ///< what was typed of the word, or of the value behind its equals sign
    std::string directory; ///< of the installation, as in Invocation
    std::vector<Candidate> candidates;
    Others others = Others::None;
};

/**
 * Reads a command line that is not complete: all its words behind the
 * program's name, the last of them, which may be empty, being the one that the
 * cursor is in. All that `program` knows is known here.
 */
Completion completionOf(const CLI::App &program, const std::vector<std::string> &words);
