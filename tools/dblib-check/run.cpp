// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "run.h"

#include "disk.h"
#include "filling.h"
#include "translation.h"
#include "visibletext.h"

#include <algorithm>
#include <filesystem>
#include <iostream>

namespace fs = std::filesystem;

namespace
{
bool isComplaint(Verdict verdict)
{
    return isFailure(verdict) || verdict == Verdict::Warn;
}

/** Whether what was found by one check may be all that a later one sees. */
bool explains(Verdict cause, Verdict effect)
{
    return isFailure(cause) || (cause == Verdict::Warn && effect == Verdict::Warn);
}

bool isNamed(const std::vector<const char *> &names, const std::string &name)
{
    return std::any_of(names.begin(), names.end(), [&](const char *candidate) { return name == candidate; });
}

std::string listedFiles(const std::set<std::string> &files)
{
    constexpr std::size_t shown = 3;
    std::string text;
    std::size_t count = 0;
    for (const std::string &file : files)
        if (count++ < shown)
            text += (text.empty() ? "" : ", ") + file;
    return count > shown ? text + " and " + std::to_string(count - shown) + " more" : text;
}
/** Where a library that works on a copy reaches beyond it, in words; empty when it does not. */
std::string placeOutside(const SandboxReport &report)
{
    if (!report.refused.empty())
        return "the library writes outside of the copy of the installation: " + listedFiles(report.refused);
    return report.servers.empty() ? "" : "the library keeps records on a server: " + listedFiles(report.servers);
}
} // namespace

Run::Run(const Options &options, const Target &target, const std::string &directory)
    : m_options(options)
    , m_target(target)
    , m_directory(directory)
{
}

void Run::add(const Check &check)
{
    Result result = {&check, {}};
    const std::string reason = hindrance(check);
    if (!reason.empty()) {
        result.run.outcome = skipped(reason);
    } else {
        result.run = judge(check);
        adjust(result);
        conclude(result);
    }
    if (!m_options.onlyFailed || isComplaint(result.run.outcome.verdict))
        std::cout << visibleText(resultText(result), "\n\t") << std::flush;
    m_results.push_back(result);
}

IsolatedRun Run::judge(const Check &check) const
{
    // Only a copy may lose what was written to it.
    Disk::wait(m_options.inPlace || !m_options.write || check.provesCopy);
    const Isolation isolation = isolationOf(check);
    if (!check.provesCopy)
        return runIsolated([&] { return check.run(m_target); }, isolation);
    // Nothing is put before it is known where the library writes.
    IsolatedRun run = runIsolated([&] { return useOnce(m_target); }, isolation);
    std::string place = placeOutside(run.sandbox);
    if (place.empty()) {
        Target target = m_target;
        target.watched = run.sandbox.watched;
        run = runIsolated([&] { return check.run(target); }, isolation);
        place = placeOutside(run.sandbox);
    }
    if (!place.empty())
        run.outcome = failed(place + "; nothing was put there. --in-place writes where the configuration says");
    return run;
}

Isolation Run::isolationOf(const Check &check) const
{
    Isolation isolation;
    isolation.limits = m_options.limits;
    isolation.leave = check.leave;
    isolation.mayNotOutlive = check.mayNotOutlive;
    isolation.sandbox.directory = m_directory;
    isolation.sandbox.outside = !m_options.write    ? OutsideFiles::NotMade
                                : m_options.inPlace ? OutsideFiles::Free
                                                    : OutsideFiles::ReadOnly;
    return isolation;
}

std::string Run::hindrance(const Check &check) const
{
    return !m_hindersAll.empty() ? m_hindersAll : check.writes ? m_hindersWrites : std::string();
}

void Run::adjust(Result &result) const
{
    Outcome &outcome = result.run.outcome;
    if (result.check->advisory && isFailure(outcome.verdict))
        outcome = warned(std::string(verdictName(outcome.verdict)) + ", " + outcome.finding);
    if (result.check->silent && outcome.verdict == Verdict::Pass && result.run.printedBytes > 0)
        outcome = warned("it printed " + std::to_string(result.run.printedBytes) + " bytes");
    const Result *cause = isComplaint(outcome.verdict) ? causeOf(result) : nullptr;
    if (cause)
        outcome = skipped(std::string("may follow from ") + cause->check->name + ": " + outcome.finding);
}

const Result *Run::causeOf(const Result &result) const
{
    const auto found = std::find_if(m_results.begin(), m_results.end(), [&](const Result &earlier) {
        return explains(earlier.run.outcome.verdict, result.run.outcome.verdict) &&
               (earlier.check->basic || isNamed(result.check->causes, earlier.check->name));
    });
    return found == m_results.end() ? nullptr : &*found;
}

/** What a result means for the checks after it. */
void Run::conclude(const Result &result)
{
    const std::string name = result.check->name;
    const IsolatedRun &run = result.run;
    m_watched = m_watched && run.sandbox.watched;
    m_made.insert(run.sandbox.made.begin(), run.sandbox.made.end());
    if (run.hostile)
        m_hindersAll = "the library is hostile, see " + name;
    if (isFailure(run.outcome.verdict) && (name == "file" || name == "load"))
        m_hindersAll = "the library cannot be loaded";
    if (name == "initialise" && run.outcome.verdict == Verdict::Warn && !run.sandbox.refused.empty()) {
        m_hindersAll = "the library is not ready without " + listedFiles(run.sandbox.refused) +
                       ", which the checker kept it from making";
    }
    const bool unproven =
        isFailure(run.outcome.verdict) || (!run.sandbox.watched && run.outcome.verdict == Verdict::Skip);
    if (result.check->provesCopy && unproven)
        m_hindersWrites = "the library would write to the installation itself";
    if (name == "fill")
        m_target.fill = run.outcome.verdict == Verdict::Pass;
}

void Run::finish()
{
    if (!m_results.empty() && !m_watched)
        std::cout << headedLines(
            {{translated("note"), translated("this kernel does not let the checker see or forbid what "
                                             "the library writes")}});
    tidy();
}

void Run::tidy() const
{
    const auto isThere = [](const std::string &file) { return fs::exists(file); };
    if (std::none_of(m_made.begin(), m_made.end(), isThere))
        return;
    // Most libraries put away what stands beside their store when the program ends.
    Isolation isolation = isolationOf(Check());
    isolation.leave = Leave::Normally;
    runIsolated([&] { return useOnce(m_target); }, isolation);
    std::set<std::string> left;
    std::copy_if(m_made.begin(), m_made.end(), std::inserter(left, left.end()), isThere);
    if (!left.empty())
        std::cout << headedLines({{translated("left"), visibleText(listedFiles(left), "\n")}});
}

bool Run::hasFailure() const
{
    return std::any_of(m_results.begin(), m_results.end(),
                       [](const Result &result) { return isFailure(result.run.outcome.verdict); });
}
