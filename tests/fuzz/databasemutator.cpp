// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Corrupts database files where it hurts: in what leads SQLite through them.
#include "corruptdatabase.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t *data, std::size_t size, std::size_t maxSize);
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t *data, std::size_t size, std::size_t maxSize,
                                               unsigned seed);

namespace
{
constexpr std::size_t FileHeader = 100;
constexpr std::size_t PageHeader = 12;

class Corruption
{
public:
    Corruption(std::uint8_t *data, std::size_t size, unsigned seed)
        : bytes(data)
        , length(size)
        , random(seed)
    {
        pageSize = std::size_t(bytes[16]) << 8 | bytes[17];
        if (pageSize < 512 || (pageSize & (pageSize - 1)) != 0)
            pageSize = 512;
    }

    /** Corruption of what the whole file begins with: a store that has opened another file never sees it. */
    void inflictOnHeader()
    {
        change(below(FileHeader));
    }

    /** One corruption of a page. */
    void inflict()
    {
        const std::size_t page = choosePage() * pageSize;
        const std::size_t header = page == 0 ? FileHeader : page;
        switch (below(9)) {
        case 7:
            shiftPart(page);
            break;
        case 0:
        case 1:
            change(header + below(PageHeader));
            break;
        case 2:
            copyPage(page);
            break;
        case 3:
            change(pointerOf(header, 0) + below(2 * cellsOf(header)));
            break;
        case 4:
            swapCells(header);
            break;
        default:
            corruptCell(page, header);
        }
    }

    /** Chooses what the store is asked. */
    void choose()
    {
        bytes[QuestionByte] = std::uint8_t(1 + below(255));
        bytes[ChangeByte] = std::uint8_t(below(3) == 0 ? below(256) : 0);
    }

    bool oneOf(std::size_t number)
    {
        return below(number) == 0;
    }

private:
    /** Mostly one that holds rows: a store's own work begins behind the definitions of the tables. */
    std::size_t choosePage()
    {
        const std::size_t pages = std::max<std::size_t>(1, length / pageSize);
        std::size_t page = below(pages);
        for (int tries = 6; tries > 0 && EmptyDatabase::get().isDefinition(page); --tries)
            page = below(pages);
        return page;
    }

    /** What the fuzzer does by itself, to a part of a page: the others stay where they are. */
    void shiftPart(std::size_t page)
    {
        const std::size_t start = page + below(pageSize);
        const std::size_t end = std::min({page + pageSize, start + 1 + below(64), length});
        if (start < end)
            LLVMFuzzerMutate(bytes + start, end - start, end - start);
    }

    std::size_t below(std::size_t bound)
    {
        return bound > 0 ? random() % bound : 0;
    }
    std::uint8_t at(std::size_t place) const
    {
        return place < length ? bytes[place] : 0;
    }
    std::size_t cellsOf(std::size_t header) const
    {
        return std::size_t(at(header + 3)) << 8 | at(header + 4);
    }

    std::size_t pointerOf(std::size_t header, std::size_t cell) const
    {
        const bool interior = at(header) == 2 || at(header) == 5;
        return header + (interior ? 12 : 8) + 2 * cell;
    }

    void change(std::size_t place)
    {
        static const std::uint8_t telling[] = {0, 1, 2, 5, 10, 13, 0x7f, 0x80, 0x81, 0xff};
        if (place >= length)
            return;
        switch (below(4)) {
        case 0:
            bytes[place] = telling[below(sizeof(telling))];
            break;
        case 1:
            bytes[place] = std::uint8_t(bytes[place] ^ 1U << below(8));
            break;
        case 2:
            bytes[place] = std::uint8_t(bytes[place] + (below(2) ? 1 : 255));
            break;
        default:
            bytes[place] = std::uint8_t(random());
        }
    }

    void copyPage(std::size_t page)
    {
        const std::size_t from = below(length / pageSize) * pageSize;
        if (std::max(page, from) + pageSize <= length)
            std::memmove(bytes + page, bytes + from, pageSize);
    }

    /** Rows out of order. */
    void swapCells(std::size_t header)
    {
        const std::size_t first = pointerOf(header, below(cellsOf(header)));
        const std::size_t second = pointerOf(header, below(cellsOf(header)));
        if (std::max(first, second) + 2 <= length)
            std::swap_ranges(bytes + first, bytes + first + 2, bytes + second);
    }

    /** Sizes, identifiers, types and the first values stand at a cell's beginning. */
    void corruptCell(std::size_t page, std::size_t header)
    {
        const std::size_t pointer = pointerOf(header, below(cellsOf(header)));
        const std::size_t cell = page + (std::size_t(at(pointer)) << 8 | at(pointer + 1));
        for (std::size_t changes = 1 + below(3); changes > 0; --changes)
            change(cell + below(16));
    }

    std::uint8_t *bytes;
    std::size_t length;
    std::minstd_rand random;
    std::size_t pageSize;
};
} // namespace

std::size_t LLVMFuzzerCustomMutator(std::uint8_t *data, std::size_t size, std::size_t maxSize, unsigned seed)
{
    if (size < FileHeader || seed % 128 == 0)
        return LLVMFuzzerMutate(data, size, maxSize);
    Corruption corruption(data, size, seed);
    if (data[QuestionByte] == 0 || corruption.oneOf(4))
        corruption.choose();
    for (unsigned times = 1 + seed / 128 % 4; times > 0; --times)
        corruption.inflict();
    // Opening a store takes ten times as long as asking one, so few of the inputs need it.
    const bool opens = corruption.oneOf(128);
    data[OpenByte] = opens ? 1 : 0;
    if (!opens)
        return EmptyDatabase::get().define(data, size, maxSize);
    if (corruption.oneOf(2))
        corruption.inflictOnHeader();
    return size;
}
