// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "sealedmemory.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>

namespace
{
constexpr int AllSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;

[[noreturn]] void fail(const char *what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

void requireSealed(int file, std::size_t size)
{
    const int seals = fcntl(file, F_GET_SEALS);
    if (seals < 0 || (seals & AllSeals) != AllSeals)
        throw Calls::CorruptMessage(0, "the memory with the message is not sealed");
    struct stat status = {};
    if (fstat(file, &status) != 0)
        fail("fstat");
    if (std::uint64_t(status.st_size) != size)
        throw Calls::CorruptMessage(0, "the memory with the message has " + std::to_string(status.st_size) +
                                           " bytes, not " + std::to_string(size));
}
} // namespace

SealedMemory::SealedMemory(std::size_t size)
    : m_file(memfd_create("obrim-dblib", MFD_CLOEXEC | MFD_ALLOW_SEALING))
    , m_size(size)
{
    if (m_file.get() < 0)
        fail("memfd_create");
    if (ftruncate(m_file.get(), off_t(size)) != 0)
        fail("ftruncate");
}

// Written, not mapped: the kernel then neither clears the pages first nor takes a fault for each.
void SealedMemory::put(std::uint64_t offset, const char *bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = pwrite(m_file.get(), bytes, size, off_t(offset));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            fail("pwrite");
        offset += std::uint64_t(written);
        bytes += written;
        size -= std::size_t(written);
    }
}

void SealedMemory::seal()
{
    if (fcntl(m_file.get(), F_ADD_SEALS, AllSeals) != 0)
        fail("fcntl");
}

MemoryMapping::MemoryMapping(const Descriptor &file, std::size_t size)
    : m_size(size)
{
    requireSealed(file.get(), size);
    // Private: kernels before 6.7 refuse to share what is sealed, even to be read.
    m_memory = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, file.get(), 0);
    if (m_memory == MAP_FAILED)
        fail("mmap");
}

MemoryMapping::~MemoryMapping()
{
    if (m_memory)
        munmap(m_memory, m_size);
}

MemoryMapping::MemoryMapping(MemoryMapping &&other) noexcept
    : m_memory(std::exchange(other.m_memory, nullptr))
    , m_size(other.m_size)
{
}
