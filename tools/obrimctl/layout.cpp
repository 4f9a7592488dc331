// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "layout.h"

#include "failure.h"
#include "filling.h"
#include "translation.h"
#include "visibletext.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
Failure failed(const std::string &path, const std::string &what)
{
    return Failure(visibleText(path) + ": " + what);
}

Failure failedBySystem(const std::string &path)
{
    return failed(path, std::strerror(errno));
}

/** Whether there is anything, a link that leads nowhere included. */
bool isThere(const std::string &path, struct stat &status)
{
    if (lstat(path.c_str(), &status) == 0)
        return true;
    // What is missing above it is told when it is made.
    if (errno != ENOENT && errno != ENOTDIR)
        throw failedBySystem(path);
    return false;
}

/** What a link leads to, or a file is, on disk. */
bool isSameFile(const std::string &one, const std::string &other)
{
    struct stat a = {};
    struct stat b = {};
    return stat(one.c_str(), &a) == 0 && stat(other.c_str(), &b) == 0 && a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

void checkEntry(const LayoutEntry &entry)
{
    struct stat status = {};
    if (!isThere(entry.path, status))
        return;
    struct stat target = {};
    const bool leads = stat(entry.path.c_str(), &target) == 0;
    switch (entry.kind) {
    case LayoutEntry::Kind::Folder:
        if (!leads || !S_ISDIR(target.st_mode))
            throw failed(entry.path, translated("is in the way: it is no folder"));
        break;
    case LayoutEntry::Kind::File:
        if (!leads || !S_ISREG(target.st_mode))
            throw failed(entry.path, translated("is in the way: it is no file"));
        break;
    case LayoutEntry::Kind::Link:
        if (!isSameFile(entry.path, entry.content))
            throw failed(entry.path, filled(translated("is there already and is not %1; remove it first if that is "
                                                       "what is wanted"),
                                            visibleText(entry.content)));
        break;
    }
}

void writeAll(int file, const LayoutEntry &entry)
{
    for (std::size_t done = 0; done < entry.content.size();) {
        const ssize_t written = write(file, entry.content.data() + done, entry.content.size() - done);
        if (written < 0 && errno != EINTR)
            throw failedBySystem(entry.path);
        done += written > 0 ? std::size_t(written) : 0;
    }
}

/** Written under another name first: what is there is whole. */
void makeFile(const LayoutEntry &entry)
{
    const std::string unfinished = entry.path + ".new";
    unlink(unfinished.c_str());
    const int file = open(unfinished.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file < 0)
        throw failedBySystem(entry.path);
    try {
        writeAll(file, entry);
    } catch (...) {
        close(file);
        unlink(unfinished.c_str());
        throw;
    }
    close(file);
    // Never over another file: link() fails when there is one.
    const int linked = link(unfinished.c_str(), entry.path.c_str());
    const int error = errno;
    unlink(unfinished.c_str());
    errno = error;
    if (linked != 0)
        throw failedBySystem(entry.path);
}
} // namespace

Layout::Layout(const std::string &group)
{
    if (group.empty())
        return;
    const struct group *found = getgrnam(group.c_str());
    if (!found)
        throw Failure(filled(translated("there is no group '%1'"), visibleText(group)));
    m_group = found->gr_gid;
}

void Layout::addFolder(const std::string &path, mode_t mode)
{
    m_entries.push_back({LayoutEntry::Kind::Folder, path, mode, {}});
}

void Layout::addFile(const std::string &path, mode_t mode, const std::string &content)
{
    m_entries.push_back({LayoutEntry::Kind::File, path, mode, content});
}

void Layout::addLink(const std::string &path, const std::string &target)
{
    m_entries.push_back({LayoutEntry::Kind::Link, path, 0, target});
}

void Layout::check() const
{
    for (const LayoutEntry &entry : m_entries)
        checkEntry(entry);
}

std::vector<std::string> Layout::make() const
{
    std::vector<std::string> made;
    for (const LayoutEntry &entry : m_entries)
        if (makeOne(entry))
            made.push_back(entry.path);
    return made;
}

void Layout::adopt(const std::string &path, mode_t mode) const
{
    // The group first: giving a file to another one takes rights away.
    if (m_group && chown(path.c_str(), uid_t(-1), *m_group) != 0)
        throw failedBySystem(path);
    if (chmod(path.c_str(), mode) != 0)
        throw failedBySystem(path);
}

bool Layout::makeOne(const LayoutEntry &entry) const
{
    struct stat status = {};
    if (isThere(entry.path, status))
        return false;
    switch (entry.kind) {
    case LayoutEntry::Kind::Folder:
        if (mkdir(entry.path.c_str(), 0700) != 0)
            throw errno == ENOENT ? failed(entry.path, translated("the folder above it is not there"))
                                  : failedBySystem(entry.path);
        break;
    case LayoutEntry::Kind::File:
        makeFile(entry);
        break;
    case LayoutEntry::Kind::Link:
        if (symlink(entry.content.c_str(), entry.path.c_str()) != 0)
            throw failedBySystem(entry.path);
        return true;
    }
    adopt(entry.path, entry.mode);
    return true;
}
