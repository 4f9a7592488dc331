// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "installation.h"

#include "filling.h"
#include "isolate.h"
#include "translation.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <tuple>

namespace fs = std::filesystem;

namespace
{
/** The regular files of a directory with what tells whether they changed. */
using Contents = std::vector<std::tuple<std::string, std::uintmax_t, fs::file_time_type>>;

/** Without `excluded`, where the copy is made: it may lie in the installation itself. */
Contents contentsOf(const fs::path &directory, const fs::path &excluded)
{
    Contents contents;
    std::error_code fault;
    auto entry = fs::recursive_directory_iterator(directory, fs::directory_options::skip_permission_denied, fault);
    for (; entry != fs::recursive_directory_iterator(); entry.increment(fault)) {
        std::error_code gone;
        if (entry->path() == excluded)
            entry.disable_recursion_pending();
        if (entry->symlink_status(gone).type() != fs::file_type::regular)
            continue;
        const std::uintmax_t size = entry->file_size(gone);
        const fs::file_time_type time = entry->last_write_time(gone);
        if (!gone)
            contents.emplace_back(entry->path().string(), size, time);
    }
    return contents;
}

void requireSpace(const fs::path &from, const Contents &contents, const std::string &to)
{
    std::uintmax_t size = 0;
    for (const auto &file : contents)
        size += std::get<1>(file);
    const std::uintmax_t space = fs::space(to).available;
    if (size > space) {
        throw std::runtime_error(filled(translated("a copy of %1 takes %2 bytes, %3 has %4; set TMPDIR to another "
                                                   "directory, or give --in-place"),
                                        from.string(), size, to, space));
    }
}

/** Copies a tree and takes note of what could not be read. */
class Copier
{
public:
    explicit Copier(fs::path excluded)
        : m_excluded(std::move(excluded))
    {
    }

    void copy(const fs::directory_entry &from, const fs::path &to)
    {
        if (interrupted())
            throw std::runtime_error(translated("interrupted"));
        if (from.path() == m_excluded)
            return;
        try {
            switch (from.symlink_status().type()) {
            case fs::file_type::directory:
                copyDirectory(from.path(), to);
                break;
            case fs::file_type::regular:
                fs::copy_file(from.path(), to, fs::copy_options::overwrite_existing);
                break;
            case fs::file_type::symlink:
                fs::copy_symlink(from.path(), to);
                break;
            default:
                break;
            }
        } catch (const fs::filesystem_error &error) {
            m_leftOut.push_back(error.path1().string() + ": " + error.code().message());
        }
    }
    const std::vector<std::string> &leftOut() const
    {
        return m_leftOut;
    }

private:
    void copyDirectory(const fs::path &from, const fs::path &to)
    {
        fs::create_directory(to);
        for (const fs::directory_entry &entry : fs::directory_iterator(from))
            copy(entry, to / entry.path().filename());
    }

    fs::path m_excluded;
    std::vector<std::string> m_leftOut;
};

bool liesIn(const std::string &file, const std::string &directory)
{
    return file.compare(0, directory.size(), directory) == 0;
}
} // namespace

TemporaryDirectory::TemporaryDirectory()
{
    std::string pattern = (fs::canonical(fs::temp_directory_path()) / "dblib-check-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        throw std::system_error(errno, std::generic_category(), pattern);
    m_path = pattern;
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

InstallationCopy copyInstallation(const std::string &config, const std::string &to)
{
    constexpr int mostTries = 5;
    const fs::path directory(config);
    const bool whole = fs::is_directory(directory.parent_path() / "Libs");
    const fs::path from = whole ? directory.parent_path() : directory;
    const fs::path copy = fs::path(to) / (whole ? "installation" : "Config");
    Contents contents = contentsOf(from, to);
    requireSpace(from, contents, to);
    for (int tries = 1;; ++tries) {
        fs::remove_all(copy);
        Copier copier(to);
        copier.copy(fs::directory_entry(from), copy);
        for (const std::string &file : copier.leftOut())
            if (liesIn(file, config))
                throw std::runtime_error(filled(translated("no copy could be made: %1"), file));
        Contents now = contentsOf(from, to);
        if (now == contents || tries == mostTries)
            return {whole ? (copy / directory.filename()).string() : copy.string(), copier.leftOut()};
        contents = std::move(now);
    }
}
