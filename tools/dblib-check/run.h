// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "checks.h"
#include "options.h"
#include "report.h"

#include <set>
#include <string>
#include <vector>

/** Runs checks one after the other, knows what one means for the next, and prints each result. */
class Run
{
public:
    /** Both must outlive the run. `directory` is the checker's own, where the copy of the installation lies. */
    Run(const Options &options, const Target &target, const std::string &directory);

    void add(const Check &check);
    /** At the end: says what the results do not, and leaves as little behind as can be. */
    void finish();

    const std::vector<Result> &results() const
    {
        return m_results;
    }
    bool hasFailure() const;

private:
    IsolatedRun judge(const Check &check) const;
    Isolation isolationOf(const Check &check) const;
    /** Why this check is not worth running; empty when it is. */
    std::string hindrance(const Check &check) const;
    void adjust(Result &result) const;
    void conclude(const Result &result);
    /** Lets the library close what it made beside files of the installation. */
    void tidy() const;
    const Result *causeOf(const Result &result) const;

    const Options &m_options;
    Target m_target;
    std::string m_directory;
    std::string m_hindersAll;     ///< why nothing more can be judged
    std::string m_hindersWrites;  ///< why nothing may be put
    std::set<std::string> m_made; ///< files beside those of the installation
    bool m_watched = true;
    std::vector<Result> m_results;
};
