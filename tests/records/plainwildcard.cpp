// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "plainwildcard.h"

#include <algorithm>
#include <cstring>

namespace
{
void lowerText(char *s)
{
    for (; *s; ++s)
        if (*s >= 65 && *s <= 90)
            *s = char(*s + 32);
}

int kindCode(char c)
{
    return c == '*' ? 1 : c == '?' ? 2 : c == '+' ? 3 : 4;
}
} // namespace

int PlainWildcard::compare(const char *subject, const char *pattern)
{
    for (char *buffer : {m_subject, m_pattern, m_unchanged})
        std::memset(buffer, 0, Room);
    std::strcpy(m_subject, subject);
    std::strcpy(m_pattern, pattern);
    std::strcpy(m_unchanged, subject);
    lowerText(m_subject);
    lowerText(m_pattern);
    m_calls = 0;
    m_depth = 1;
    m_deepest = 1;

    if (!std::strpbrk(m_pattern, "*?+"))
        return std::strcmp(m_subject, m_pattern) == 0 ? 1 : 0;

    m_count = 0;
    int length = 0;
    for (const char *c = m_pattern;; ++c) {
        if (kindCode(*c) == 4 && *c != '\0') {
            m_literals[m_count][length++] = *c;
            continue;
        }
        m_literals[m_count][length] = '\0';
        m_lengths[m_count] = length;
        m_kinds[m_count] = kindCode(*c);
        if (*c == '\0')
            break;
        ++m_count;
        length = 0;
    }

    m_positions[0] = 0;
    const int result = step(0, 0, m_count);
    if (!result)
        m_count = 0;
    return result;
}

int PlainWildcard::compareNoCase(const char *subject, const char *pattern)
{
    std::string lowerSubject = subject;
    std::string lowerPattern = pattern;
    lowerText(lowerSubject.data());
    lowerText(lowerPattern.data());
    return compare(lowerSubject.c_str(), lowerPattern.c_str());
}

void PlainWildcard::setLimit(long long calls)
{
    m_limit = calls;
}

bool PlainWildcard::gaveUp() const
{
    return m_calls > m_limit;
}

int PlainWildcard::textLength(int p) const
{
    return int(std::strlen(m_subject + p));
}

bool PlainWildcard::textBegins(int p, int k) const
{
    return std::strncmp(m_subject + p, m_literals[k], std::size_t(m_lengths[k])) == 0;
}

int PlainWildcard::descend(int k, int p, int m)
{
    ++m_depth;
    m_deepest = std::max(m_deepest, m_depth);
    const int result = step(k, p, m);
    --m_depth;
    return result;
}

int PlainWildcard::settle(int k, int p)
{
    const int l0 = m_lengths[k];
    const int l1 = m_lengths[k + 1];
    const int length = textLength(p);
    if (m_kinds[k] == 2 && l0 + l1 + 1 != length)
        return 0;
    if (m_kinds[k] == 3 && l0 + l1 >= length)
        return 0;
    if (m_kinds[k] == 1 && l0 + l1 > length)
        return 0;
    if (!textBegins(p, k) || !textBegins(p + length - l1, k + 1))
        return 0;
    m_positions[k + 1] = m_kinds[k] == 2 ? p + l0 + 1 : p + length - l1;
    m_positions[k + 2] = p + length;
    m_reached = k + 1;
    return 1;
}

int PlainWildcard::step(int k, int p, int m)
{
    ++m_calls;
    if (gaveUp())
        return 1; // ends the search
    m_positions[k] = p;
    if (m == 1 && m_kinds[k] != 4)
        return settle(k, p);
    const int length = textLength(p);
    if (!textBegins(p, k))
        return 0;
    const int q = p + m_lengths[k];
    if (m_subject[q] != '\0') {
        if (m_kinds[k] == 2)
            return descend(k + 1, q + 1, m - 1);
        if (m_kinds[k] == 4)
            return 0;
        for (int j = m_kinds[k] == 1 ? 0 : 1; j <= length; ++j)
            if (descend(k + 1, q + j, m - 1))
                return 1;
        return 0;
    }
    m_reached = k;
    return m_kinds[k] == 4 || m_kinds[k] == 1 ? 1 : 0;
}

std::vector<std::string> PlainWildcard::stretches() const
{
    std::vector<std::string> result;
    for (int i = 0; i < m_count; ++i) {
        const int from = m_positions[i] + m_lengths[i];
        const bool known = i < m_reached && m_positions[i + 1] > from;
        std::string stretch = known ? std::string(m_unchanged + from, std::size_t(m_positions[i + 1] - from)) : "";
        stretch = stretch.c_str(); // of another subject than the split: it ends at that one's NUL
        result.push_back(stretch.substr(0, 255));
    }
    return result;
}

std::vector<int> PlainWildcard::lengths() const
{
    return std::vector<int>(m_lengths, m_lengths + m_count);
}

long long PlainWildcard::calls() const
{
    return m_calls;
}

int PlainWildcard::deepest() const
{
    return m_deepest;
}
