// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checks.h"
#include "disk.h"
#include "installation.h"
#include "isolate.h"
#include "options.h"
#include "report.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>

namespace fs = std::filesystem;

namespace
{
void printList()
{
    for (const Check &check : allChecks()) {
        std::printf("%-24s%s%s\n        for the operator: %s\n", check.name, check.what,
                    check.writes ? " (--write)" : "", check.consequence);
    }
}

bool isWanted(const Options &options, const Check &check)
{
    if (check.writes && !options.write)
        return false;
    return options.only.empty() ||
           std::find(options.only.begin(), options.only.end(), check.name) != options.only.end();
}

/** The configuration directory, absolute as the console passes it; `spare` when the installation has none. */
std::string configDirectory(const Options &options, const std::string &spare)
{
    if (!options.config.empty()) {
        if (!fs::is_directory(options.config))
            throw std::runtime_error(options.config + " is not a directory");
        return fs::canonical(options.config).string();
    }
    const fs::path beside = fs::path(options.library).parent_path().parent_path() / "Config";
    return fs::is_directory(beside) ? fs::canonical(beside).string() : spare;
}

/** The check that finds out whether the copy is what is written to. */
const std::string SeparateCopy = "separate-copy";

/** Runs the checks one after the other, and knows when the rest makes no sense any more. */
class Run
{
public:
    Run(const Options &options, const Target &target)
        : m_options(options)
        , m_target(target)
    {
    }

    void add(const Check &check)
    {
        Result result = {&check, {}};
        if (!m_unfit.empty()) {
            result.run.outcome = skipped(m_unfit);
        } else if (check.writes && !m_unsafe.empty()) {
            result.run.outcome = skipped(m_unsafe);
        } else {
            Disk::wait(!worksOnCopy(check));
            result.run = runIsolated([&] { return check.run(m_target); }, m_options.limits, check.leave);
            moderate(result);
            draw(result);
        }
        if (!m_options.onlyFailed || isFailure(result.run.outcome.verdict) ||
            result.run.outcome.verdict == Verdict::Warn)
            std::cout << resultText(result) << std::flush;
        m_results.push_back(result);
    }

    const std::vector<Result> &results() const
    {
        return m_results;
    }

private:
    /** Whether nothing but a copy that is removed again can be written to. */
    bool worksOnCopy(const Check &check) const
    {
        return m_options.write && m_unsafe.empty() && check.name != SeparateCopy;
    }
    static void moderate(Result &result)
    {
        Outcome &outcome = result.run.outcome;
        if (result.check->advisory && isFailure(outcome.verdict))
            outcome = warned(std::string(verdictName(outcome.verdict)) + ", " + outcome.finding);
        if (result.check->silent && outcome.verdict == Verdict::Pass && result.run.printedBytes > 0)
            outcome = warned("it printed " + std::to_string(result.run.printedBytes) + " bytes");
    }

    /** What a result means for the checks after it. */
    void draw(const Result &result)
    {
        const std::string name = result.check->name;
        if (isFailure(result.run.outcome.verdict) && (name == "file" || name == "load"))
            m_unfit = "the library cannot be loaded";
        if (isFailure(result.run.outcome.verdict) && name == SeparateCopy)
            m_unsafe = "the library would write to the installation itself";
        if (name == "fill")
            m_target.fill = result.run.outcome.verdict == Verdict::Pass;
    }

    const Options &m_options;
    Target m_target;
    std::string m_unfit;
    std::string m_unsafe;
    std::vector<Result> m_results;
};

void writeReport(const std::string &path, const std::string &text)
{
    std::FILE *file = std::fopen(path.c_str(), "we");
    const bool written = file && std::fwrite(text.data(), 1, text.size(), file) == text.size();
    if ((file && std::fclose(file) != 0) || !written)
        throw std::runtime_error("the report could not be written to " + path);
}

int run(Options options)
{
    if (!fs::exists(options.library))
        throw std::runtime_error("there is no file " + options.library);
    options.library = fs::absolute(options.library).lexically_normal().string();
    const TemporaryDirectory temporary;
    const std::string spare = temporary.path() + "/Config";
    fs::create_directory(spare);
    Target target;
    target.library = options.library;
    target.config = configDirectory(options, spare);
    target.seed = options.seed;
    target.seconds = options.limits.seconds;
    target.fetches = options.fetches;
    target.records = options.records;
    if (options.write) {
        target.original = target.config;
        const std::string place = temporary.path() + "/copy";
        fs::create_directory(place);
        target.config = copyInstallation(target.original, place);
    }
    std::cout << "library " << target.library << "\nconfig  " << target.config << "\nseed    " << target.seed << "\n";
    catchInterruptions();
    Run checks(options, target);
    for (const Check &check : allChecks())
        if (isWanted(options, check) && !interrupted())
            checks.add(check);
    std::cout << summaryText(checks.results());
    if (!options.report.empty())
        writeReport(options.report, junitText(target.library, target.seed, checks.results()));
    const bool bad = std::any_of(checks.results().begin(), checks.results().end(),
                                 [](const Result &result) { return isFailure(result.run.outcome.verdict); });
    return bad || interrupted() ? 1 : 0;
}
} // namespace

int main(int argc, char **argv)
{
    try {
        Options options = readOptions(argc, argv);
        if (options.help || options.list) {
            options.help ? void(std::fputs(helpText(), stdout)) : printList();
            return 0;
        }
        if (!options.seeded)
            options.seed = std::random_device()();
        return run(options);
    } catch (const std::exception &error) {
        std::cerr << "dblib-check: " << error.what() << "\n";
        return 2;
    }
}
