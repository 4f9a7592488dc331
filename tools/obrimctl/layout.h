// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

/** One thing that is to be in a folder. */
struct LayoutEntry {
    enum class Kind { Folder, File, Link };

    Kind kind;
    std::string path;
    mode_t mode;         ///< of a folder or file
    std::string content; ///< of a file; what a link leads to
};

/**
 * What is to be in a folder, made as far as it is missing. What is there stays
 * as it is. Every function throws Failure, which names the path.
 */
class Layout
{
public:
    /** `group` is the name of the group of all that is made; empty: the system decides. */
    explicit Layout(const std::string &group);

    void addFolder(const std::string &path, mode_t mode);
    void addFile(const std::string &path, mode_t mode, const std::string &content);
    void addLink(const std::string &path, const std::string &target);

    /** Looks at what is there, and throws when something of another kind is, or another link. */
    void check() const;
    /** Returns the paths that were made. */
    std::vector<std::string> make() const;
    /** Gives a file rights and the group. */
    void adopt(const std::string &path, mode_t mode) const;

private:
    bool makeOne(const LayoutEntry &entry) const;

    std::optional<gid_t> m_group;
    std::vector<LayoutEntry> m_entries;
};
