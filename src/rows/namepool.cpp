// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "namepool.h"

const NamePool::Name *NamePool::name(std::string_view text)
{
    const auto found = m_byText.find(text);
    if (found != m_byText.end())
        return found->second;
    m_names.push_back({std::string(text), std::uint32_t(m_names.size() + 1)});
    const Name *added = &m_names.back();
    try {
        m_byText.emplace(added->text, added);
    } catch (...) {
        m_names.pop_back();
        throw;
    }
    return added;
}

void NamePool::clear()
{
    m_byText.clear();
    m_names.clear();
}
