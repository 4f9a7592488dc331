// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "libraryfile.h"

#include "Config.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <elf.h>
#include <link.h>
#include <unistd.h>

/** The ELF header of this very program, which the linker provides: it knows its own processor best. */
extern "C" __attribute__((visibility("hidden"))) const ElfW(Ehdr) __ehdr_start;

namespace
{
int bits(unsigned char fileClass)
{
    return fileClass == ELFCLASS32 ? 32 : 64;
}

/** The two bytes of a field that stands at the same place in 32-bit and 64-bit headers. */
unsigned half(const unsigned char *header, std::size_t offset)
{
    const unsigned first = header[offset];
    const unsigned second = header[offset + 1];
    return header[EI_DATA] == ELFDATA2MSB ? first << 8 | second : second << 8 | first;
}

std::string headerFault(const unsigned char *header)
{
    const ElfW(Ehdr) &own = __ehdr_start;
    if (header[EI_CLASS] != own.e_ident[EI_CLASS]) {
        return "is a " + std::to_string(bits(header[EI_CLASS])) + "-bit library, this program is " +
               std::to_string(bits(own.e_ident[EI_CLASS])) + "-bit";
    }
    const unsigned machine = half(header, offsetof(ElfW(Ehdr), e_machine));
    if (header[EI_DATA] != own.e_ident[EI_DATA] || machine != own.e_machine) {
        return "is built for another processor (ELF machine " + std::to_string(machine) + ", this program's is " +
               std::to_string(own.e_machine) + ")";
    }
    if (half(header, offsetof(ElfW(Ehdr), e_type)) != ET_DYN)
        return "is not a shared library (ELF type " + std::to_string(half(header, offsetof(ElfW(Ehdr), e_type))) + ")";
    return {};
}

/** What is missing of the segments that the system's loader would map; empty when nothing is. */
std::string segmentFault(int file, off_t size)
{
    ElfW(Ehdr) header;
    if (pread(file, &header, sizeof(header), 0) != ssize_t(sizeof(header)))
        return "is cut off within its header";
    if (header.e_phentsize != sizeof(ElfW(Phdr)))
        return {}; // the system's loader refuses it
    for (unsigned i = 0; i < header.e_phnum; ++i) {
        ElfW(Phdr) segment;
        const std::uint64_t at = header.e_phoff + std::uint64_t(i) * sizeof(segment);
        if (pread(file, &segment, sizeof(segment), off_t(at)) != ssize_t(sizeof(segment)))
            return "is cut off: its segments are listed at byte " + std::to_string(header.e_phoff) + ", the file has " +
                   std::to_string(size) + " bytes";
        // A segment without bytes of the file's is made of zeros.
        const std::uint64_t bytes = segment.p_type == PT_LOAD ? segment.p_filesz : 0;
        if (bytes > 0 && (bytes > std::uint64_t(size) || segment.p_offset > size - bytes)) {
            return "is cut off: a segment has " + std::to_string(bytes) + " bytes at byte " +
                   std::to_string(segment.p_offset) + ", the file has " + std::to_string(size) + " bytes";
        }
    }
    return {};
}

/** What is wrong with a file: as a library for this program at all, and whether all of it is there. */
struct Faults {
    std::string kind;
    std::string cutOff;
};

Faults faultsOf(const char *path)
{
    errno = 0;
    const OwnedFile file(openRegularFile(path), std::fclose);
    if (!file)
        return {errno != 0 ? std::strerror(errno) : "is not a regular file", {}};
    const int descriptor = fileno(file.get());
    unsigned char header[sizeof(Elf32_Ehdr)] = {};
    const ssize_t got = pread(descriptor, header, sizeof(header), 0);
    if (got < 0)
        return {std::strerror(errno), {}};
    if (std::memcmp(header, "!<arch>\n", 8) == 0)
        return {"is a static archive, not a shared library", {}};
    if (std::size_t(got) < sizeof(header) || std::memcmp(header, ELFMAG, SELFMAG) != 0)
        return {"is not an ELF file", {}};
    const std::string kind = headerFault(header);
    return {kind, kind.empty() ? segmentFault(descriptor, lseek(descriptor, 0, SEEK_END)) : std::string()};
}

std::string withPath(const char *path, const std::string &reason)
{
    if (reason.empty())
        return {};
    return std::string(path) + (reason.rfind("is ", 0) == 0 ? " " : ": ") + reason;
}
} // namespace

std::string libraryFileFault(const char *path)
{
    const Faults faults = faultsOf(path);
    return withPath(path, faults.kind + faults.cutOff);
}

std::string cutOffFault(const char *path)
{
    return withPath(path, faultsOf(path).cutOff);
}
