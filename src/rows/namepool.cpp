// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "namepool.h"

#include "parametertext.h"

#include <algorithm>
#include <cstdint>
#include <utility>

const NamePool::Name *NamePool::name(std::string_view text)
{
    const auto found = m_names.find(text);
    if (found != m_names.end())
        return found->second.get();
    auto added = std::make_unique<Name>(Name{std::string(text), std::uint32_t(m_names.size() + 1)});
    const std::string_view key = added->text;
    return m_names.emplace(key, std::move(added)).first->second.get();
}

void NamePool::clear()
{
    m_names.clear();
}

// At most so many addresses are known, 800 KB: that stays in the processor's cache.
constexpr int MostKnown = 1 << 15;
constexpr std::size_t Neighbours = 4;

LentNames::LentNames(NamePool &pool, int records)
    : m_pool(pool)
    , m_known(std::size_t(std::clamp(records, 1, MostKnown)) + Neighbours)
{
}

const NamePool::Name *LentNames::name(const char *text, int length)
{
    // The address times the golden ratio: its upper bits are well spread, however regularly the texts lie.
    const auto spread = std::uint32_t(reinterpret_cast<std::uintptr_t>(text)) * 0x9e3779b9U;
    Known *const first = &m_known[std::uint64_t(spread) * (m_known.size() - Neighbours) >> 32];
    Known *known = first;
    for (; known != first + Neighbours && known->name; ++known)
        if (known->text == text && known->length == length)
            return known->name;
    if (known == first + Neighbours)
        known = first;
    const NamePool::Name *name = m_pool.name(lentBytes(text, length));
    *known = {text, length, name};
    return name;
}
