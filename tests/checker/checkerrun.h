// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

/**
 * @file
 * The checker as a program that the tests run, and what it said.
 */

#ifdef __SANITIZE_ADDRESS__
constexpr bool Sanitized = true;
#else
constexpr bool Sanitized = false;
#endif

/** Checks by name with their verdicts. */
using Verdicts = std::map<std::string, std::string>;

struct CheckerRun {
    int status = -1;
    std::string output;
    Verdicts verdicts;

    /** Those that are neither pass nor skip. */
    Verdicts complaints() const;
};

/** Runs the checker with these arguments, as a shell takes them; `by` is a program that runs it. */
CheckerRun run(const std::string &arguments, const std::string &by = {});

/** The library of the suite in this folder, quoted for the shell. */
std::string library(const std::string &folder);

/** Longer than any check takes on the busiest machine. */
extern const char *const Patient;
/** The same, and the checks whose length can be chosen are short. */
extern const char *const Brief;

/** What --list says of one check. */
struct Listed {
    std::string name;
    std::string consequence;
    bool writes = false;
};
std::vector<Listed> listedChecks();

/** A directory of the test's own, removed at the end. */
class Directory
{
public:
    Directory();
    ~Directory();
    Directory(const Directory &) = delete;
    Directory &operator=(const Directory &) = delete;
    std::filesystem::path path;
};

/** An installation of the test's own with a library of the suite, or another file. */
class Installation : public Directory
{
public:
    /** A copy of `libraryFile` becomes its library. */
    explicit Installation(const std::string &libraryFile);

    std::filesystem::path config() const
    {
        return path / "Config";
    }
    /** The library, quoted for the shell. */
    std::string library() const;
};

/** The same file, not quoted. */
std::string libraryFile(const std::string &folder);

std::string contentsOf(const std::filesystem::path &file);
void write(const std::filesystem::path &file, const std::string &text);

/** The files below a directory with what is in them. */
std::map<std::string, std::string> filesBelow(const std::filesystem::path &directory);
