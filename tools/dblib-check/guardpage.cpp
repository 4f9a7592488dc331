// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "guardpage.h"

#include "faulthandler.h"
#include "mappedmemory.h"
#include "outcome.h"

#include <cstdio>
#include <cstring>
#include <sys/mman.h>

namespace
{
/** Reserved memory, in places of equal size that each end in a guard page. */
constexpr std::size_t PlaceSize = std::size_t(1) << 16;
constexpr int PlaceCount = 64;

char *places = nullptr;
const char *names[PlaceCount] = {};
int used = 0;

const char *explain(const void *address)
{
    static char sentence[128];
    const char *place = static_cast<const char *>(address);
    if (!places || place < places || place >= places + PlaceSize * PlaceCount)
        return nullptr;
    const char *name = names[std::size_t(place - places) / PlaceSize];
    std::snprintf(sentence, sizeof(sentence), "the library went past %s", name ? name : "what it was handed");
    return sentence;
}

void reserve()
{
    void *memory = mmap(nullptr, PlaceSize * PlaceCount, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED)
        throw skipped("no memory for guard pages");
    places = static_cast<char *>(memory);
    FaultHandler::add(explain);
}
} // namespace

void *GuardPage::end(std::size_t size, const char *name)
{
    if (!places)
        reserve();
    const std::size_t pages = (size + pageSize() - 1) / pageSize() * pageSize();
    if (used == PlaceCount || pages > PlaceSize - 2 * pageSize())
        throw skipped("no room before a guard page");
    names[used] = name;
    char *guard = places + PlaceSize * std::size_t(++used) - pageSize();
    if (pages > 0 && mprotect(guard - pages, pages, PROT_READ | PROT_WRITE) != 0)
        throw skipped("no memory for guard pages");
    char *place = guard - size;
    std::memset(place, 0, size);
    return place;
}

void *GuardPage::copy(const void *from, std::size_t size, const char *name)
{
    return std::memcpy(end(size, name), from, size);
}

void GuardPage::recycle()
{
    if (places)
        mprotect(places, PlaceSize * PlaceCount, PROT_NONE);
    used = 0;
}
