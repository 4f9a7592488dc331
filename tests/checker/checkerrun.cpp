// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "checkerrun.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <sys/wait.h>

namespace fs = std::filesystem;

const char *const Patient = " --seed 7 --timeout 600 ";
const char *const Brief = " --seed 7 --timeout 600 --fetches 200 --records 1000 ";

namespace
{
Verdicts readVerdicts(const std::string &output)
{
    static const std::vector<std::string> words = {"pass", "warn", "fail", "crash", "timeout", "skip"};
    Verdicts verdicts;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        std::string verdict;
        std::string name;
        fields >> verdict >> name;
        if (line[0] != ' ' && std::find(words.begin(), words.end(), verdict) != words.end())
            verdicts[name] = verdict;
    }
    return verdicts;
}

std::string quoted(const std::string &text)
{
    return "'" + text + "'";
}
} // namespace

Verdicts CheckerRun::complaints() const
{
    Verdicts result;
    for (const auto &[name, verdict] : verdicts)
        if (verdict != "pass" && verdict != "skip")
            result[name] = verdict;
    return result;
}

CheckerRun run(const std::string &arguments, const std::string &by)
{
    CheckerRun result;
    const std::string program = (by.empty() ? "" : quoted(by) + " ") + quoted(DBLIB_CHECK);
    std::FILE *pipe = popen((program + " " + arguments + " 2>&1").c_str(), "r");
    std::array<char, 4096> buffer;
    for (std::size_t got = 0; pipe && (got = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;)
        result.output.append(buffer.data(), got);
    const int status = pipe ? pclose(pipe) : -1;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.verdicts = readVerdicts(result.output);
    return result;
}

std::string libraryFile(const std::string &folder)
{
    return std::string(CHECKER_LIBRARIES) + "/" + folder + "/Libs/DBLib.a";
}

std::string library(const std::string &folder)
{
    return quoted(libraryFile(folder));
}

std::vector<Listed> listedChecks()
{
    const std::string lead = "        for the operator: ";
    std::vector<Listed> checks;
    std::istringstream list(run("--list").output);
    for (std::string line; std::getline(list, line);)
        if (line.rfind(lead, 0) == 0 && !checks.empty())
            checks.back().consequence = line.substr(lead.size());
        else
            checks.push_back({line.substr(0, line.find(' ')), {}, line.find("(--write)") != std::string::npos});
    return checks;
}

Directory::Directory()
{
    std::string pattern = (fs::temp_directory_path() / "dblibchecktest-XXXXXX").string();
    path = mkdtemp(pattern.data());
}

Directory::~Directory()
{
    fs::remove_all(path);
}

Installation::Installation(const std::string &libraryFile)
{
    fs::create_directories(path / "Libs");
    fs::create_directories(path / "Config");
    fs::copy_file(libraryFile, path / "Libs/DBLib.a");
}

std::string Installation::library() const
{
    return quoted((path / "Libs/DBLib.a").string());
}

std::string contentsOf(const fs::path &file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void write(const fs::path &file, const std::string &text)
{
    std::ofstream(file, std::ios::binary) << text;
}

std::map<std::string, std::string> filesBelow(const fs::path &directory)
{
    std::map<std::string, std::string> files;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(directory))
        files[entry.path().string()] = entry.is_regular_file() ? contentsOf(entry.path()) : "";
    return files;
}
