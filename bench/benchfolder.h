// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

/** A folder under OBRIM_BENCH_FOLDER or the system's temporary folder, gone at the end. */
class BenchFolder
{
public:
    BenchFolder()
    {
        const char *given = std::getenv("OBRIM_BENCH_FOLDER");
        std::string pattern = given ? given : std::filesystem::temp_directory_path().string();
        pattern += "/obrim-bench-XXXXXX";
        const char *made = ::mkdtemp(pattern.data());
        if (!made) {
            std::perror(pattern.c_str());
            std::exit(1);
        }
        m_path = made;
    }
    BenchFolder(const BenchFolder &) = delete;
    BenchFolder &operator=(const BenchFolder &) = delete;
    ~BenchFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    /** A path in it; its folders are made. */
    std::string path(const std::string &name) const
    {
        const std::filesystem::path whole = m_path + "/" + name;
        std::filesystem::create_directories(whole.parent_path());
        return whole.string();
    }

private:
    std::string m_path;
};
