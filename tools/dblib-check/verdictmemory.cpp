// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "verdictmemory.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <random>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

namespace
{
std::size_t wholePages(std::size_t size)
{
    const auto page = std::size_t(sysconf(_SC_PAGESIZE));
    return (size + page - 1) / page * page;
}

void *sharedPages(std::size_t size)
{
    void *memory = mmap(nullptr, wholePages(size), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw std::system_error(errno, std::generic_category(), "mmap");
    return memory;
}

template <std::size_t Size> void store(char (&to)[Size], const char *text)
{
    const std::size_t length = strnlen(text, Size - 1);
    std::memcpy(to, text, length);
    to[length] = '\0';
}

template <std::size_t Size> std::string textOf(const char (&from)[Size])
{
    return {from, strnlen(from, Size)};
}
} // namespace

VerdictMemory::VerdictMemory()
    : m_settled(static_cast<Settled *>(sharedPages(sizeof(Settled))))
    , m_running(static_cast<Running *>(sharedPages(sizeof(Running))))
{
    std::random_device random;
    m_key = std::uint64_t(random()) << 32 | random();
}

VerdictMemory::~VerdictMemory()
{
    munmap(m_settled, wholePages(sizeof(Settled)));
    munmap(m_running, wholePages(sizeof(Running)));
}

void VerdictMemory::protect()
{
    mprotect(m_settled, wholePages(sizeof(Settled)), PROT_READ);
}

void VerdictMemory::settle(Verdict verdict, const char *finding)
{
    mprotect(m_settled, wholePages(sizeof(Settled)), PROT_READ | PROT_WRITE);
    m_settled->verdict = verdict;
    store(m_settled->finding, finding);
    m_settled->seal = sealOf(*m_settled);
    m_settled->written = true;
    protect();
}

void VerdictMemory::setStage(const char *stage)
{
    store(m_running->stage, stage);
}

void VerdictMemory::step()
{
    ++m_running->steps;
}

bool VerdictMemory::holds(const void *address) const
{
    const auto *begin = reinterpret_cast<const char *>(m_settled);
    const auto *place = static_cast<const char *>(address);
    return place >= begin && place < begin + wholePages(sizeof(Settled));
}

bool VerdictMemory::isSettled() const
{
    return m_settled->written;
}

bool VerdictMemory::isForged() const
{
    return isSettled() && m_settled->seal != sealOf(*m_settled);
}

Outcome VerdictMemory::outcome() const
{
    return {m_settled->verdict, textOf(m_settled->finding)};
}

std::string VerdictMemory::stage() const
{
    return textOf(m_running->stage);
}

unsigned VerdictMemory::steps() const
{
    return m_running->steps;
}

/** A sum over the verdict that begins with the key, so that only who knows the key can make it. */
std::uint64_t VerdictMemory::sealOf(const Settled &settled) const
{
    constexpr std::uint64_t prime = 0x100000001B3u;
    std::uint64_t sum = m_key;
    const auto add = [&sum](unsigned char byte) { sum = (sum ^ byte) * prime; };
    add(static_cast<unsigned char>(settled.verdict));
    const char *finding = settled.finding;
    std::for_each(finding, finding + strnlen(finding, sizeof(settled.finding)), add);
    return sum;
}
