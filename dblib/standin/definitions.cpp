// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "definitions.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <memory>
#include <stdexcept>
#include <sys/stat.h>

namespace
{
struct Closer {
    void operator()(std::FILE *file) const
    {
        std::fclose(file);
    }
};
using File = std::unique_ptr<std::FILE, Closer>;

/** A link that leads nowhere is there: the file that it means may be on a medium that is not. */
bool isMissing(const std::string &path)
{
    struct stat status = {};
    return ::lstat(path.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}
} // namespace

Definitions::Definitions(const std::string &configDir)
    : m_configDir(configDir)
    , m_path(configDir + "/DBLib.def")
{
    errno = 0;
    const File file(openRegularFile(m_path.c_str()));
    const int error = errno;
    if (!file && !isMissing(m_path))
        throw std::runtime_error(m_path + " cannot be read: " + (error ? std::strerror(error) : "Not a regular file"));
    GetDefs(file.get(), m_lines, m_count);
    if (file && std::ferror(file.get()))
        throw std::runtime_error(m_path + " cannot be read: " + std::strerror(errno));
}

std::string Definitions::text(const char *key) const
{
    std::string value;
    findConfigValue(m_lines, m_count, key, value);
    return value;
}

std::string Definitions::path(const char *key) const
{
    const std::string value = text(key);
    return value.empty() || value.front() == '/' ? value : m_configDir + "/" + value;
}

int Definitions::number(const char *key, int otherwise, int least, int most) const
{
    const std::string value = text(key);
    if (value.empty())
        return otherwise;
    int number = 0;
    const auto result = std::from_chars(value.data(), value.data() + value.size(), number);
    if (result.ec != std::errc() || result.ptr != value.data() + value.size() || number < least || number > most)
        refuse(key, "a number from " + std::to_string(least) + " to " + std::to_string(most));
    return number;
}

bool Definitions::flag(const char *key, bool otherwise) const
{
    const std::string value = text(key);
    if (value != "yes" && value != "no" && !value.empty())
        refuse(key, "yes or no");
    return value.empty() ? otherwise : value == "yes";
}

std::string Definitions::requiredPath(const char *key) const
{
    std::string value = path(key);
    if (value.empty())
        throw std::runtime_error(m_path + " does not say " + key + "=");
    return value;
}

void Definitions::refuse(const char *key, const std::string &reason) const
{
    throw std::runtime_error(m_path + ": " + key + "=" + text(key) + " is not " + reason);
}

std::string fileOf(const void *address)
{
    Dl_info info = {};
    if (dladdr(address, &info) == 0 || !info.dli_fname)
        return {};
    const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(info.dli_fname, nullptr), &std::free);
    return resolved ? resolved.get() : "";
}

bool areOneFile(const std::string &path, const std::string &other)
{
    struct stat one = {};
    struct stat two = {};
    return stat(path.c_str(), &one) == 0 && stat(other.c_str(), &two) == 0 && one.st_dev == two.st_dev &&
           one.st_ino == two.st_ino;
}
