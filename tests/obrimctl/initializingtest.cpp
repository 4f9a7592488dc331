// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Installations that are made: what is there afterwards, that nothing is overwritten, and what is refused.
#include "child.h"
#include "contractlibraries.h"
#include "storetesting.h"
#include "testinstallation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <grp.h>
#include <map>
#include <sstream>
#include <sys/stat.h>

namespace
{
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

std::string contractLibrary(const char *name)
{
    return std::string(ContractLibraries) + "/" + name + "/DBLib.a";
}

class Initializing : public testing::Test
{
protected:
    Ended init(std::vector<std::string> options, const std::string &library = DBLIB_SQLITE)
    {
        options.insert(options.begin(), {"init", m_base, "--database", "library:" + library});
        return runCtl(options, m_folder.path(), {"XDG_DATA_HOME=" + m_folder.file("share")});
    }
    /** All that is below a folder, with rights, and what files hold and links lead to. */
    std::map<std::string, std::string> contents() const
    {
        std::map<std::string, std::string> found;
        for (const auto &entry : std::filesystem::recursive_directory_iterator(m_folder.path())) {
            std::ostringstream text;
            text << std::oct << unsigned(entry.symlink_status().permissions()) << ' ';
            if (entry.is_symlink())
                text << std::filesystem::read_symlink(entry.path());
            else if (entry.is_regular_file())
                text << std::ifstream(entry.path()).rdbuf();
            found[entry.path().string()] = text.str();
        }
        return found;
    }
    std::string text(const std::string &name) const
    {
        std::ifstream file(name);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    TemporaryFolder m_folder;
    std::string m_base = m_folder.file("plant");
};

mode_t rights(const std::string &path)
{
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

TEST_F(Initializing, TheConsoleFindsAnInstallation)
{
    const Ended ended = init({});
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_THAT(ended.out, HasSubstr("made " + m_base + "/Pics/Red.bmp\n"));
    EXPECT_THAT(ended.out, HasSubstr("the installation " + m_base + " is complete: start obrim in " + m_base + "/bin"));
    EXPECT_EQ(std::filesystem::read_symlink(m_base + "/Libs/DBLib.a"), DBLIB_SQLITE);
    EXPECT_THAT(text(m_base + "/Pics/Red.bmp"), StartsWith("BM"));
    EXPECT_EQ(runCtl({"status"}, m_base + "/bin").status, 0);
}

TEST_F(Initializing, OthersSeeNothingAndOperatorsWriteOnlyTheData)
{
    ASSERT_EQ(init({}).status, 0);
    for (const char *folder : {"", "/bin", "/Config", "/Libs", "/Pics"})
        EXPECT_EQ(rights(m_base + folder), 0750U) << folder;
    EXPECT_EQ(rights(m_base + "/Config/DBLib.def"), 0640U);
    EXPECT_EQ(rights(m_base + "/Pics/Red.bmp"), 0640U);
}

TEST_F(Initializing, ASecondRunChangesNothing)
{
    ASSERT_EQ(init({"--desktop-entry"}).status, 0);
    std::ofstream(m_base + "/Config/DBLib.def") << "Database=elsewhere.db\n";
    std::filesystem::permissions(m_base + "/bin", std::filesystem::perms::owner_all);
    const auto before = contents();
    const Ended again = init({"--desktop-entry"});
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(contents(), before);
    EXPECT_EQ(again.out.find("made "), std::string::npos);
}

TEST_F(Initializing, WhatIsMissingIsMade)
{
    ASSERT_EQ(init({}).status, 0);
    const auto before = contents();
    std::filesystem::remove(m_base + "/Libs/DBLib.a");
    std::filesystem::remove(m_base + "/Pics/Red.bmp");
    std::filesystem::remove(m_base + "/bin");
    EXPECT_EQ(init({}).status, 0);
    EXPECT_EQ(contents(), before);
}

TEST_F(Initializing, WhatStandsInTheWayIsNamedBeforeAnythingIsMade)
{
    const std::pair<const char *, const char *> cases[] = {
        {"/Config", "is in the way: it is no folder"},
        {"/Libs/DBLib.a", "is there already and is not "},
    };
    for (const auto &[path, reason] : cases) {
        std::filesystem::remove_all(m_base);
        std::filesystem::create_directories(std::filesystem::path(m_base + path).parent_path());
        std::ofstream(m_base + path) << "mine";
        const auto before = contents();
        const Ended ended = init({});
        EXPECT_EQ(ended.status, 1);
        EXPECT_EQ(ended.out, "");
        EXPECT_THAT(ended.err, StartsWith("obrimctl: " + m_base + path + ": " + reason));
        EXPECT_EQ(contents(), before);
    }
    std::filesystem::remove_all(m_base);
    std::filesystem::create_directories(m_base + "/Pics/Red.bmp");
    EXPECT_THAT(init({}).err, HasSubstr("/Pics/Red.bmp: is in the way: it is no file"));
    std::filesystem::remove_all(m_base);
    std::filesystem::create_directories(m_base + "/Libs");
    std::filesystem::create_symlink("/nowhere", m_base + "/Libs/DBLib.a");
    EXPECT_THAT(init({}).err, HasSubstr("/Libs/DBLib.a: is there already"));
}

TEST_F(Initializing, BadWordsAreRefused)
{
    const auto error = [&](const std::vector<std::string> &arguments, int status) {
        const Ended ended = runCtl(arguments, m_folder.path());
        EXPECT_EQ(ended.status, status) << ended.err;
        EXPECT_EQ(ended.out, "");
        EXPECT_FALSE(std::filesystem::exists(m_base));
        return ended.err;
    };
    EXPECT_THAT(error({"init", m_base, "--database", "mars"}, 2),
                StartsWith("obrimctl: --database cannot be 'mars': sqlite, "));
    EXPECT_THAT(error({"init", m_base, "--database", "library:"}, 2), HasSubstr("library:FILE is expected"));
    EXPECT_THAT(error({"init", m_base, "--database", ""}, 2), HasSubstr("cannot be ''"));
    EXPECT_EQ(error({"init", m_base, "--database", "library:/nowhere"}, 1),
              "obrimctl: /nowhere: No such file or directory\n");
    EXPECT_EQ(error({"init", m_base, "--database", "library:/etc/passwd"}, 1),
              "obrimctl: /etc/passwd is not an ELF file\n");
    EXPECT_EQ(error({"init", m_base + "/deep/deeper", "--database", std::string("library:") + DBLIB_SQLITE}, 1),
              "obrimctl: " + m_base + "/deep/deeper: the folder above it is not there\n");
    EXPECT_EQ(error({"init", m_base, "--database", std::string("library:") + DBLIB_SQLITE, "--group", "nobodies"}, 1),
              "obrimctl: there is no group 'nobodies'\n");
}

TEST_F(Initializing, TheFilesBelongToTheGroup)
{
    const struct group *own = getgrgid(getegid());
    if (!own)
        GTEST_SKIP() << "this process's group has no name";
    ASSERT_EQ(init({"--group", own->gr_name}).status, 0);
    struct stat status = {};
    ASSERT_EQ(stat((m_base + "/Config/DBLib.def").c_str(), &status), 0);
    EXPECT_EQ(status.st_gid, getegid());
}

TEST_F(Initializing, ARelativePathCountsFromTheWorkingDirectory)
{
    const Ended ended =
        runCtl({"init", "./plant/", "--database", std::string("library:") + DBLIB_SQLITE}, m_folder.path());
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_TRUE(std::filesystem::exists(m_base + "/Pics/Red.bmp"));
}

TEST_F(Initializing, AMenuEntryStartsTheConsoleInTheInstallation)
{
    ASSERT_EQ(init({"--desktop-entry"}).status, 0);
    std::vector<std::filesystem::path> entries;
    for (const auto &entry : std::filesystem::directory_iterator(m_folder.file("share/applications")))
        entries.push_back(entry.path());
    ASSERT_EQ(entries.size(), 1U);
    const std::string entry = text(entries[0]);
    EXPECT_THAT(entry, HasSubstr("\nPath=" + m_base + "/bin\n"));
    EXPECT_THAT(entry, HasSubstr("\nName=obrim: plant\n"));
    EXPECT_EQ(std::system(("desktop-file-validate '" + entries[0].string() + "'").c_str()), 0) << entry;
}

TEST_F(Initializing, APathWithOddLettersHasAValidMenuEntry)
{
    m_base = m_folder.file("pl\u00e4nt $1 %f \"x\" \\y");
    ASSERT_EQ(init({"--desktop-entry"}).status, 0);
    std::string path;
    for (const auto &entry : std::filesystem::directory_iterator(m_folder.file("share/applications")))
        path = entry.path();
    EXPECT_EQ(std::system(("desktop-file-validate '" + path + "'").c_str()), 0) << text(path);
    EXPECT_THAT(text(path), HasSubstr("/pl\u00e4nt $1 %f \"x\" \\\\y/bin\n"));
    m_base = m_folder.file("two\nlines");
    EXPECT_THAT(init({"--desktop-entry"}).err, HasSubstr("such a path cannot stand in a menu entry"));
    EXPECT_FALSE(std::filesystem::exists(m_base));
}

TEST_F(Initializing, AnotherInstallationsMenuEntryStays)
{
    m_base = m_folder.file("a-b");
    ASSERT_EQ(init({"--desktop-entry"}).status, 0);
    m_base = m_folder.file("a b");
    const Ended ended = init({"--desktop-entry"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.err, HasSubstr("is there already and is another installation's"));
}

TEST_F(Initializing, AnyLibraryCanBeTaken)
{
    EXPECT_EQ(init({}, contractLibrary("cxx")).status, 0);
    EXPECT_THAT(runCtl({"-C", m_base, "sensors", "-o", "short"}).out, StartsWith("sensor1 "));
    const Ended other = init({}, contractLibrary("renamed"));
    EXPECT_EQ(other.status, 1);
    EXPECT_THAT(other.err, HasSubstr("/Libs/DBLib.a: is there already and is not "));
}

/** With the program and libraries where they are installed. */
class InitializingInstalled : public Initializing
{
protected:
    InitializingInstalled()
    {
        std::filesystem::create_directories(std::filesystem::path(m_program).parent_path());
        std::filesystem::copy_file(OBRIMCTL, m_program);
    }
    /** Any library will do. */
    std::string install(const std::string &name)
    {
        std::string library = m_folder.file("usr" OBRIM_LIBDIR "/obrim/" + name);
        std::filesystem::create_directories(std::filesystem::path(library).parent_path());
        std::filesystem::copy_file(DBLIB_SQLITE, library);
        return library;
    }
    /** Returns what it says on standard error. */
    std::string errorsOf(const std::string &database, int status)
    {
        const std::string command = "'" + m_program + "' init '" + m_base + "' --database '" + database +
                                    "' >/dev/null 2>'" + m_folder.file("errors") + "'";
        EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), status) << database;
        return text(m_folder.file("errors"));
    }

    std::string m_program = m_folder.file("usr" OBRIM_BINDIR "/obrimctl");
};

TEST_F(InitializingInstalled, ASqliteDatabaseIsMadeForItsGroup)
{
    EXPECT_THAT(errorsOf("sqlite", 1), HasSubstr("the DB library for sqlite is not installed"));
    const std::string library = install("sqlite.so");
    EXPECT_EQ(errorsOf("sqlite", 0), "");
    EXPECT_EQ(std::filesystem::read_symlink(m_base + "/Libs/DBLib.a"), library);
    EXPECT_EQ(rights(m_base + "/Data"), 02770U);
    EXPECT_EQ(rights(m_base + "/Data/installation.db"), 0660U);
    EXPECT_THAT(text(m_base + "/Config/DBLib.def"), HasSubstr("\nDatabase=../Data/installation.db\n"));
    EXPECT_EQ(errorsOf("sqlite", 0), "") << "again";
    EXPECT_EQ(runCtl({"-C", m_base, "status"}).status, 0);
}

TEST_F(InitializingInstalled, ADatabaseOnAServerIsNamedByItsConnection)
{
    const std::string library = install("postgresql.so");
    EXPECT_EQ(errorsOf("postgresql:host=db dbname=plant password=a=b", 0), "");
    EXPECT_EQ(std::filesystem::read_symlink(m_base + "/Libs/DBLib.a"), library);
    EXPECT_THAT(text(m_base + "/Config/DBLib.def"), EndsWith("\nConnection=host=db dbname=plant password=a=b\n"));
    EXPECT_EQ(rights(m_base + "/Config/DBLib.def"), 0640U);
    EXPECT_FALSE(std::filesystem::exists(m_base + "/Data"));
}

TEST_F(InitializingInstalled, AConnectionThatIsNoLineOfSettingsIsRefused)
{
    install("postgresql.so");
    EXPECT_THAT(errorsOf("postgresql", 2), HasSubstr("postgresql:CONNECTION"));
    EXPECT_THAT(errorsOf("postgresql:", 2), HasSubstr("postgresql:CONNECTION"));
    EXPECT_THAT(errorsOf("postgresql:host=db\nDatabase=x", 2), HasSubstr("CONNECTION must be one line of text"));
    EXPECT_THAT(errorsOf("postgresql:" + std::string(500, 'x'), 2), HasSubstr("is too long for a line of settings"));
    EXPECT_FALSE(std::filesystem::exists(m_base));
    EXPECT_EQ(errorsOf("postgresql:" + std::string(499, 'x'), 0), "");
}
} // namespace
