// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "libraryfile.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
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

std::string fault(int file)
{
    struct stat status;
    if (fstat(file, &status) != 0)
        return std::strerror(errno);
    if (!S_ISREG(status.st_mode))
        return "is not a regular file";
    unsigned char header[sizeof(Elf32_Ehdr)] = {};
    const ssize_t got = pread(file, header, sizeof(header), 0);
    if (got < 0)
        return std::strerror(errno);
    if (std::memcmp(header, "!<arch>\n", 8) == 0)
        return "is a static archive, not a shared library";
    if (std::size_t(got) < sizeof(header) || std::memcmp(header, ELFMAG, SELFMAG) != 0)
        return "is not an ELF file";
    return headerFault(header);
}
} // namespace

std::string libraryFileFault(const char *path)
{
    const int file = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (file < 0) {
        const std::string reason = std::strerror(errno);
        return std::string(path) + ": " + reason;
    }
    const std::string reason = fault(file);
    close(file);
    if (reason.empty())
        return {};
    return std::string(path) + (reason.rfind("is ", 0) == 0 ? " " : ": ") + reason;
}
