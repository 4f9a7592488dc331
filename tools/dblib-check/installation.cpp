// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "installation.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace fs = std::filesystem;

namespace
{
std::uintmax_t sizeOf(const fs::path &directory)
{
    std::uintmax_t size = 0;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(directory))
        if (entry.symlink_status().type() == fs::file_type::regular)
            size += entry.file_size();
    return size;
}

void copyTree(const fs::path &from, const fs::path &to)
{
    fs::create_directory(to, from);
    for (const fs::directory_entry &entry : fs::directory_iterator(from)) {
        const fs::path target = to / entry.path().filename();
        switch (entry.symlink_status().type()) {
        case fs::file_type::directory:
            copyTree(entry.path(), target);
            break;
        case fs::file_type::regular:
            fs::copy_file(entry.path(), target);
            break;
        case fs::file_type::symlink:
            fs::copy_symlink(entry.path(), target);
            break;
        default:
            break;
        }
    }
}
} // namespace

TemporaryDirectory::TemporaryDirectory()
{
    std::string pattern = (fs::temp_directory_path() / "dblib-check-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        throw std::system_error(errno, std::generic_category(), pattern);
    m_path = pattern;
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

std::string copyInstallation(const std::string &config, const std::string &to)
{
    const fs::path directory(config);
    const bool whole = fs::is_directory(directory.parent_path() / "Libs");
    const fs::path from = whole ? directory.parent_path() : directory;
    const std::uintmax_t size = sizeOf(from);
    const std::uintmax_t space = fs::space(to).available;
    if (size > space) {
        throw std::runtime_error("a copy of " + from.string() + " takes " + std::to_string(size) + " bytes, " + to +
                                 " has " + std::to_string(space));
    }
    const fs::path copy = fs::path(to) / (whole ? "installation" : "Config");
    copyTree(from, copy);
    return whole ? (copy / directory.filename()).string() : copy.string();
}
