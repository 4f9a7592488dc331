// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "filerule.h"

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>

namespace fs = std::filesystem;

namespace
{
constexpr int MostLinks = 40;

bool startsWith(const std::string &text, const std::string &begin)
{
    return text.compare(0, begin.size(), begin) == 0;
}

/** "/proc/self" is the checker here. */
std::string asSeenBy(pid_t process, const std::string &path)
{
    for (const char *self : {"/proc/self/", "/proc/thread-self/"})
        if (startsWith(path, self))
            return "/proc/" + std::to_string(process) + "/" + path.substr(std::string(self).size());
    return path;
}

fs::path directoryOf(pid_t process, int directory)
{
    std::error_code ignored;
    const std::string entry = directory == AT_FDCWD ? "cwd" : "fd/" + std::to_string(directory);
    return fs::read_symlink("/proc/" + std::to_string(process) + "/" + entry, ignored);
}

/** Whether nothing lasting can be made there. */
bool isDevice(const std::string &file)
{
    return startsWith(file, "/dev/") || startsWith(file, "/proc/") || startsWith(file, "/sys/");
}

bool isThere(const std::string &file)
{
    struct stat status;
    return lstat(file.c_str(), &status) == 0;
}

/** Whether a regular file is there whose name goes on in this one, as that of a database does in its journal's. */
bool goesWithAnother(const std::string &file)
{
    const std::size_t name = file.rfind('/') + 1;
    struct stat status;
    for (std::size_t end = file.find_first_of("-._~", name + 1); end != std::string::npos;
         end = file.find_first_of("-._~", end + 1))
        if (stat(file.substr(0, end).c_str(), &status) == 0 && S_ISREG(status.st_mode))
            return true;
    return false;
}

/** Whether this is how mkstemp makes a file. */
bool makesTemporary(const std::string &file, unsigned flags)
{
    const std::string directory = fs::path(file).parent_path().string();
    return (flags & O_CREAT) && (flags & O_EXCL) && (directory == "/tmp" || directory == "/var/tmp");
}
} // namespace

std::optional<std::string> meantFile(pid_t process, int directory, const std::string &path, bool follows)
{
    fs::path file = asSeenBy(process, path);
    if (file.is_relative())
        file = directoryOf(process, directory) / file;
    for (int links = 0; links < MostLinks; ++links) {
        std::error_code fault;
        if (!file.has_filename())
            file = file.parent_path();
        if (file.filename() == "." || file.filename() == "..")
            file = fs::canonical(file, fault);
        const fs::path parent = fs::canonical(file.parent_path(), fault);
        if (fault)
            return std::nullopt;
        file = parent / file.filename();
        if (isDevice(file.string()) || !follows || !fs::is_symlink(fs::symlink_status(file, fault)))
            return file.string();
        const fs::path to = asSeenBy(process, fs::read_symlink(file, fault).string());
        file = to.is_absolute() ? to : parent / to;
    }
    return std::nullopt;
}

bool FileRule::isInside(const std::string &file) const
{
    return !m_sandbox.directory.empty() && startsWith(file, m_sandbox.directory + "/");
}

bool FileRule::refusesOpen(const std::string &file, unsigned flags)
{
    const bool there = isThere(file);
    if ((flags & O_TMPFILE) == O_TMPFILE || (!there && !(flags & O_CREAT)))
        return false;
    if (!there && makesTemporary(file, flags)) {
        m_temporary.insert(file);
        return false;
    }
    if (m_sandbox.outside != OutsideFiles::NotMade)
        return true;
    if (there)
        return (flags & O_TRUNC) != 0;
    if (!goesWithAnother(file))
        return true;
    m_report.made.insert(file);
    return false;
}

bool FileRule::refuses(CallKind kind, const std::string &file, unsigned flags)
{
    if (m_sandbox.outside == OutsideFiles::Free || isInside(file) || isDevice(file) || m_temporary.count(file) > 0)
        return false;
    if (kind == CallKind::Open)
        return refusesOpen(file, flags);
    // What is made twice or taken away twice fails by itself.
    if (kind == CallKind::Make)
        return !isThere(file);
    const bool mayGo = m_sandbox.outside == OutsideFiles::NotMade && kind == CallKind::Remove && goesWithAnother(file);
    return isThere(file) && !mayGo;
}

bool FileRule::allows(CallKind kind, const std::string &file, unsigned flags)
{
    const bool refused = refuses(kind, file, flags);
    if (refused)
        m_report.refused.insert(file);
    return !refused;
}
