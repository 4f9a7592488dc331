// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "Config.h"

#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
// The C library's isspace and strncasecmp follow the locale, which would
// treat bytes above 127 differently from desktop to desktop.
bool isSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? char(c + ('a' - 'A')) : c;
}

/** Reads and trims the next line that is neither empty nor a comment; false at the end of the file. */
bool readLine(std::FILE *f, char (&line)[ConfigLineSize])
{
    while (std::ftell(f) <= MaxConfigFileSize && std::fgets(line, ConfigLineSize, f))
        if (clear_string_end_with_bells(line) && line[0] != '%')
            return true;
    return false;
}

void store(char *to, const char *line)
{
    while (isSpace(*line))
        ++line;
    std::memcpy(to, line, std::strlen(line) + 1);
}

/** What follows "key=" at the start of a line, or NULL. */
const char *valueIn(const char *line, const char *key)
{
    for (; *key; ++key, ++line)
        if (lower(*line) != lower(*key))
            return nullptr;
    return *line == '=' ? line + 1 : nullptr;
}
} // namespace

std::FILE *openRegularFile(const char *path)
{
    const int descriptor = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0)
        return nullptr;
    struct stat status = {}; // should fstat fail, it stays that of no regular file
    fstat(descriptor, &status);
    std::FILE *f = S_ISREG(status.st_mode) ? fdopen(descriptor, "r") : nullptr;
    if (f)
        std::rewind(f); // From now on the stream itself knows where it is: ftell need not ask the system.
    else
        close(descriptor);
    return f;
}

int clear_string_end_with_bells(char *str)
{
    if (!str)
        return 0;
    std::size_t length = std::strcspn(str, "\n");
    while (length > 0 && str[length - 1] == ' ')
        --length;
    str[length] = '\0';
    return length > 0 ? 1 : 0;
}

int GetDefs(std::FILE *f, char lines[][ConfigLineSize], int &n)
{
    if (!f)
        return -1;
    char line[ConfigLineSize];
    for (n = 0; n < MaxDefLines && readLine(f, line); ++n)
        store(lines[n], line);
    return 0;
}

int GetConfigBlock(std::FILE *f, char lines[][ConfigLineSize], int &n)
{
    n = 0;
    char line[ConfigLineSize];
    while (readLine(f, line)) {
        if (line[0] == '}')
            return 1;
        if (line[0] != '{' && n < MaxBlockLines)
            store(lines[n++], line);
    }
    return 0;
}

bool findConfigValue(const char lines[][ConfigLineSize], int n, const char *key, std::string &value)
{
    value.clear();
    for (int i = 0; i < n; ++i) {
        if (const char *found = valueIn(lines[i], key)) {
            value = found;
            if (value.size() > 1 && value.front() == '"' && value.back() == '"')
                value = value.substr(1, value.size() - 2);
            return true;
        }
    }
    return false;
}
