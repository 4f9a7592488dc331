// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "translation.h"

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <libintl.h>
#include <system_error>

namespace fs = std::filesystem;

namespace
{
constexpr const char *Domain = "obrim-tools";

/** The folder of catalogues that belongs to the program: as it was installed, else as it was built. */
fs::path catalogues()
{
    std::error_code error;
    const fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
    const fs::path built = folder / "../../share/locale";
    const bool isBuilt = fs::exists(built / "../../CMakeCache.txt", error);
    return (isBuilt ? built : folder / OBRIM_CATALOGUES_FROM_PROGRAM).lexically_normal();
}
} // namespace

void setLanguage()
{
    // Numbers and times keep the forms that scripts know; our messages and the system's are UTF-8, as records are.
    std::setlocale(LC_MESSAGES, "");
    bindtextdomain(Domain, catalogues().c_str());
    bind_textdomain_codeset(Domain, "UTF-8");
    bind_textdomain_codeset("libc", "UTF-8");
}

void setLetters()
{
    std::setlocale(LC_CTYPE, "");
}

void setEnglish()
{
    std::setlocale(LC_MESSAGES, "C");
}

const char *translated(const char *text)
{
    return dgettext(Domain, text);
}

const char *translatedFor(long long count, const char *one, const char *many)
{
    // Forms depend on the last digits.
    const unsigned long long size =
        count < 0 ? 0ULL - static_cast<unsigned long long>(count) : static_cast<unsigned long long>(count);
    constexpr unsigned long long period = 1000000;
    return dngettext(Domain, one, many, static_cast<unsigned long>(size < period ? size : period + size % period));
}
