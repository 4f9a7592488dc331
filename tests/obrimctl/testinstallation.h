// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "installation.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

/** An installation of a test's own, with a link to a library; gone at the end. */
class TestInstallation
{
public:
    explicit TestInstallation(const std::string &library)
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "obrimctl-test-XXXXXX").string();
        m_base = mkdtemp(pattern.data());
        for (const char *folder : {"Pics", "Config", "Libs", "bin"})
            std::filesystem::create_directory(m_base + "/" + folder);
        std::ofstream(m_base + "/Pics/Red.bmp") << "BM";
        if (!library.empty())
            std::filesystem::create_symlink(library, m_base + "/Libs/DBLib.a");
    }
    ~TestInstallation()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_base, ignored);
    }
    TestInstallation(const TestInstallation &) = delete;
    TestInstallation &operator=(const TestInstallation &) = delete;

    const std::string &base() const
    {
        return m_base;
    }
    std::string path(const std::string &name) const
    {
        return m_base + "/" + name;
    }
    Installation installation() const
    {
        return Installation(m_base);
    }

private:
    std::string m_base;
};
