// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "filling.h"
#include "installation.h"
#include "options.h"
#include "run.h"
#include "translation.h"
#include "visibletext.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <random>
#include <stdexcept>

namespace fs = std::filesystem;

namespace
{
void printList()
{
    for (const Check &check : allChecks()) {
        std::printf("%-24s%s%s\n%s", check.name, translated(check.what), check.writes ? " (--write)" : "",
                    meaningText(check).c_str());
    }
}

void printVersion()
{
    std::puts("dblib-check " OBRIM_VERSION);
}

bool isWanted(const Options &options, const Check &check)
{
    if ((check.writes && !options.write) || (check.provesCopy && options.inPlace))
        return false;
    return options.only.empty() ||
           std::find(options.only.begin(), options.only.end(), check.name) != options.only.end();
}

/** The configuration directory, absolute as the console passes it; `spare` when the installation has none. */
std::string configDirectory(const Options &options, const std::string &spare)
{
    if (!options.config.empty()) {
        if (!fs::is_directory(options.config))
            throw std::runtime_error(filled(translated("%1 is not a directory"), options.config));
        return fs::canonical(options.config).string();
    }
    const fs::path beside = fs::path(options.library).parent_path().parent_path() / "Config";
    return fs::is_directory(beside) ? fs::canonical(beside).string() : spare;
}

void writeReport(const std::string &path, const std::string &text)
{
    std::FILE *file = std::fopen(path.c_str(), "we");
    const bool written = file && std::fwrite(text.data(), 1, text.size(), file) == text.size();
    if ((file && std::fclose(file) != 0) || !written)
        throw std::runtime_error(filled(translated("the report could not be written to %1"), path));
}

/** What to work on; a copy of the installation is made in `directory`. */
Target targetOf(const Options &options, const std::string &directory)
{
    const std::string spare = directory + "/Config";
    fs::create_directory(spare);
    Target target;
    target.library = options.library;
    target.original = target.config = configDirectory(options, spare);
    target.seed = options.seed;
    target.seconds = options.limits.seconds;
    target.fetches = options.fetches;
    target.records = options.records;
    const std::string place = visibleText(target.original);
    std::cout << headedLines({
        {translated("library"), visibleText(target.library)},
        {translated("config"), options.inPlace ? place : filled(translated("%1, a copy of it"), place)},
        {translated("seed"), std::to_string(target.seed)},
    });
    if (options.inPlace)
        return target;
    const std::string room = directory + "/copy";
    fs::create_directory(room);
    const InstallationCopy copy = copyInstallation(target.original, room);
    for (const std::string &file : copy.leftOut)
        std::cout << filled(translated("not copied: %1"), visibleText(file)) << "\n";
    target.config = copy.config;
    return target;
}

int run(Options options)
{
    if (!fs::exists(options.library))
        throw std::runtime_error(filled(translated("there is no file %1"), options.library));
    options.library = fs::absolute(options.library).lexically_normal().string();
    catchInterruptions();
    const TemporaryDirectory temporary;
    const Target target = targetOf(options, temporary.path());
    Run run(options, target, temporary.path());
    for (const Check &check : allChecks())
        if (isWanted(options, check) && !interrupted())
            run.add(check);
    run.finish();
    std::cout << visibleText(summaryText(run.results()), "\n\t");
    if (!options.report.empty())
        writeReport(options.report, junitText(target.library, target.seed, run.results()));
    return run.hasFailure() || interrupted() ? 1 : 0;
}
} // namespace

int main(int argc, char **argv)
{
    setLanguage();
    try {
        Options options = readOptions(argc, argv);
        if (options.help || options.version || options.list) {
            options.help      ? void(std::fputs(helpText().c_str(), stdout))
            : options.version ? printVersion()
                              : printList();
            return 0;
        }
        if (!options.seeded)
            options.seed = std::random_device()();
        return run(options);
    } catch (const std::exception &error) {
        std::cerr << "dblib-check: " << visibleText(error.what(), "\n") << "\n";
        return 2;
    }
}
