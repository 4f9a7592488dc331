// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What is said of files that cannot be a DB library of this program. The linker
// leads fstat through the function here (see CMakeLists.txt).
#include "libraryfile.h"

#include "contractlibraries.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <link.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
bool statusFails = false;
}

extern "C" {
int __real_fstat64(int descriptor, struct stat64 *status);
int __wrap_fstat64(int descriptor, struct stat64 *status)
{
    if (statusFails) {
        errno = EIO;
        return -1;
    }
    return __real_fstat64(descriptor, status);
}
}

namespace
{
class LibraryFile : public ::testing::Test
{
protected:
    void SetUp() override
    {
        char name[] = "/tmp/obrim-library-XXXXXX";
        m_folder = mkdtemp(name);
        m_path = m_folder + "/DBLib.a";
        // The program's own header, as one of a library without segments.
        std::ifstream own("/proc/self/exe", std::ios::binary);
        m_header.resize(sizeof(ElfW(Ehdr)));
        own.read(m_header.data(), std::streamsize(m_header.size()));
        setHalf(offsetof(ElfW(Ehdr), e_type), ET_DYN);
        setHalf(offsetof(ElfW(Ehdr), e_phnum), 0);
    }
    void TearDown() override
    {
        std::filesystem::remove_all(m_folder);
    }
    bool isBig() const
    {
        return m_header[EI_DATA] == ELFDATA2MSB;
    }
    void setHalf(std::size_t at, unsigned value)
    {
        m_header[at + (isBig() ? 1 : 0)] = char(value & 0xff);
        m_header[at + (isBig() ? 0 : 1)] = char(value >> 8);
    }
    unsigned half(std::size_t at) const
    {
        const unsigned low = static_cast<unsigned char>(m_header[at + (isBig() ? 1 : 0)]);
        const unsigned high = static_cast<unsigned char>(m_header[at + (isBig() ? 0 : 1)]);
        return high << 8 | low;
    }
    /** What is said of a file with these bytes, without the path. */
    std::string said(const std::string &bytes)
    {
        std::ofstream(m_path, std::ios::binary) << bytes;
        return withoutPath(libraryFileFault(m_path.c_str()));
    }
    /** The header with one segment behind it. */
    std::string withSegment(ElfW(Word) type, ElfW(Off) offset, ElfW(Off) bytes)
    {
        ElfW(Ehdr) header;
        std::memcpy(&header, m_header.data(), sizeof(header));
        header.e_phnum = 1;
        header.e_phoff = sizeof(header);
        ElfW(Phdr) segment = {};
        segment.p_type = type;
        segment.p_offset = offset;
        segment.p_filesz = bytes;
        std::string file(sizeof(header) + sizeof(segment), '\0');
        std::memcpy(file.data(), &header, sizeof(header));
        std::memcpy(file.data() + sizeof(header), &segment, sizeof(segment));
        return file;
    }
    std::string withoutPath(const std::string &fault) const
    {
        return fault.compare(0, m_path.size(), m_path) == 0 ? fault.substr(m_path.size()) : fault;
    }

    std::string m_folder;
    std::string m_path;
    std::string m_header;
};

TEST_F(LibraryFile, ALibraryForThisProcessorHasNoFault)
{
    EXPECT_EQ(said(m_header), "");
}

TEST_F(LibraryFile, AnotherWordWidthIsToldWithThisProgramsOwn)
{
    const bool wide = m_header[EI_CLASS] == ELFCLASS64;
    m_header[EI_CLASS] = wide ? ELFCLASS32 : ELFCLASS64;
    EXPECT_EQ(said(m_header),
              wide ? " is a 32-bit library, this program is 64-bit" : " is a 64-bit library, this program is 32-bit");
}

TEST_F(LibraryFile, AnotherProcessorIsToldByItsNumber)
{
    const std::string own = std::to_string(half(offsetof(ElfW(Ehdr), e_machine)));
    setHalf(offsetof(ElfW(Ehdr), e_machine), 4660);
    EXPECT_EQ(said(m_header), " is built for another processor (ELF machine 4660, this program's is " + own + ")");
}

TEST_F(LibraryFile, TheOtherByteOrderIsReadAsItIsMeant)
{
    const unsigned machine = half(offsetof(ElfW(Ehdr), e_machine));
    m_header[EI_DATA] = isBig() ? ELFDATA2LSB : ELFDATA2MSB;
    setHalf(offsetof(ElfW(Ehdr), e_machine), machine);
    const std::string number = std::to_string(machine);
    EXPECT_EQ(said(m_header),
              " is built for another processor (ELF machine " + number + ", this program's is " + number + ")");
}

TEST_F(LibraryFile, AProgramIsNoLibrary)
{
    setHalf(offsetof(ElfW(Ehdr), e_type), ET_EXEC);
    EXPECT_EQ(said(m_header), " is not a shared library (ELF type 2)");
}

TEST_F(LibraryFile, OtherContentsAreToldApart)
{
    EXPECT_EQ(said("!<arch>\nfile.o/         0           "), " is a static archive, not a shared library");
    EXPECT_EQ(said(std::string(100, 'x')), " is not an ELF file");
    EXPECT_EQ(said(m_header.substr(0, 40)), " is not an ELF file");
    EXPECT_EQ(said(""), " is not an ELF file");
}

TEST_F(LibraryFile, ASegmentThatEndsBehindTheFileIsToldWithBothSizes)
{
    const auto size = std::to_string(withSegment(PT_LOAD, 0, 0).size());
    EXPECT_EQ(said(withSegment(PT_LOAD, 0, withSegment(PT_LOAD, 0, 0).size())), "");
    EXPECT_EQ(said(withSegment(PT_LOAD, 8, 1000)),
              " is cut off: a segment has 1000 bytes at byte 8, the file has " + size + " bytes");
    EXPECT_EQ(said(withSegment(PT_LOAD, 5000, 1)),
              " is cut off: a segment has 1 bytes at byte 5000, the file has " + size + " bytes");
    EXPECT_EQ(said(withSegment(PT_LOAD, 5000, 0)), "") << "nothing of the file is mapped";
    EXPECT_EQ(said(withSegment(PT_NOTE, 8, 1000)), "") << "it is not mapped by itself";
    const auto most = ~ElfW(Off)(0);
    EXPECT_EQ(said(withSegment(PT_LOAD, most, most)), " is cut off: a segment has " + std::to_string(most) +
                                                          " bytes at byte " + std::to_string(most) + ", the file has " +
                                                          size + " bytes");
}

TEST_F(LibraryFile, AListOfSegmentsBehindTheFileIsTold)
{
    const std::string whole = withSegment(PT_LOAD, 0, 0);
    EXPECT_EQ(said(whole.substr(0, whole.size() - 1)), " is cut off: its segments are listed at byte " +
                                                           std::to_string(sizeof(ElfW(Ehdr))) + ", the file has " +
                                                           std::to_string(whole.size() - 1) + " bytes");
    setHalf(offsetof(ElfW(Ehdr), e_phentsize), 1);
    EXPECT_EQ(said(withSegment(PT_LOAD, 8, 1000)), "") << "the system's loader refuses it";
}

TEST_F(LibraryFile, AHeaderThatIsCutOffIsTold)
{
    if (sizeof(ElfW(Ehdr)) == sizeof(Elf32_Ehdr))
        GTEST_SKIP() << "what is shorter is no ELF file";
    EXPECT_EQ(said(m_header.substr(0, sizeof(Elf32_Ehdr))), " is cut off within its header");
}

TEST_F(LibraryFile, ALibraryWithoutFaultIsLoadedWhereverItIsCutOff)
{
    std::ifstream original(std::string(ContractLibraries) + "/cxx/DBLib.a", std::ios::binary);
    const std::string whole((std::istreambuf_iterator<char>(original)), {});
    ASSERT_EQ(said(whole), "");
    EXPECT_EQ(cutOffFault(m_path.c_str()), "");
    for (std::size_t length = 0; length < whole.size(); length += 509) {
        if (!said(whole.substr(0, length)).empty())
            continue;
        const pid_t child = fork();
        if (child == 0)
            _exit(dlopen(m_path.c_str(), RTLD_NOW) ? 0 : 1);
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status)) << length << " of " << whole.size() << " bytes, signal " << WTERMSIG(status);
    }
}

TEST_F(LibraryFile, WhatIsNoLibraryOfThisProgramIsNotCalledCutOff)
{
    const bool wide = m_header[EI_CLASS] == ELFCLASS64;
    m_header[EI_CLASS] = wide ? ELFCLASS32 : ELFCLASS64;
    said(withSegment(PT_LOAD, 8, 1000));
    EXPECT_EQ(cutOffFault(m_path.c_str()), "");
    EXPECT_EQ(cutOffFault("/nowhere/DBLib.a"), "");
}

TEST_F(LibraryFile, WhatIsNoFileIsNotRead)
{
    EXPECT_EQ(withoutPath(libraryFileFault(m_path.c_str())), ": No such file or directory");
    ASSERT_EQ(mkfifo(m_path.c_str(), 0600), 0);
    EXPECT_EQ(withoutPath(libraryFileFault(m_path.c_str())), " is not a regular file");
    EXPECT_EQ(libraryFileFault(m_folder.c_str()), m_folder + " is not a regular file");
}

TEST_F(LibraryFile, AReadingErrorIsTheSystems)
{
    // Nothing is mapped at address 0.
    EXPECT_EQ(libraryFileFault("/proc/self/mem"), "/proc/self/mem: Input/output error");
    std::ofstream(m_path, std::ios::binary) << m_header;
    statusFails = true;
    const std::string fault = withoutPath(libraryFileFault(m_path.c_str()));
    statusFails = false;
    EXPECT_EQ(fault, ": Input/output error");
}
} // namespace
