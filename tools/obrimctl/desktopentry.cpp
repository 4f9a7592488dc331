// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "desktopentry.h"

#include "failure.h"
#include "filling.h"
#include "translation.h"
#include "visibletext.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace
{
/** A text as the value of a key. */
std::string escaped(const std::string &text)
{
    std::string value;
    for (const char c : text)
        value += c == '\\' ? std::string("\\\\") : std::string(1, c);
    return value;
}

/** A path as an argument of Exec: quoted, no field code, and then escaped as any value is. */
std::string quoted(const std::string &path)
{
    std::string argument = "\"";
    for (const char c : path) {
        if (c == '"' || c == '`' || c == '$' || c == '\\')
            argument += '\\';
        argument += c;
        if (c == '%')
            argument += c;
    }
    return escaped(argument + "\"");
}

std::string dataFolder()
{
    const char *data = std::getenv("XDG_DATA_HOME");
    if (data && *data == '/')
        return data;
    const char *home = std::getenv("HOME");
    if (!home || *home != '/')
        throw Failure(translated("neither HOME nor XDG_DATA_HOME says where menu entries are"));
    return std::string(home) + "/.local/share";
}

/** The console that was installed with this program, else whichever is found in PATH. */
std::string console()
{
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    const fs::path beside = program.parent_path() / "obrim";
    return !error && fs::exists(beside, error) ? quoted(beside.string()) : "obrim";
}

/** A name of letters, digits and hyphens that tells the path: obrim-srv-plant. */
std::string fileName(const std::string &base)
{
    std::string name = "obrim";
    for (const char c : base) {
        const bool isPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.';
        name += isPlain ? c : '-';
    }
    return name + ".desktop";
}
} // namespace

DesktopEntry desktopEntryFor(const std::string &base)
{
    if (visibleText(base) != base)
        throw Failure(filled(translated("%1: such a path cannot stand in a menu entry"), visibleText(base)));
    const std::string name = fs::path(base).filename().string();
    const std::string pathLine = "Path=" + escaped(base) + "/bin";
    const std::string content = "[Desktop Entry]\nType=Application\nName=obrim: " + escaped(name) +
                                "\nGenericName=Monitoring Console\nComment=Watch and command the sensors of " +
                                escaped(base) + "\nExec=" + console() + "\n" + pathLine +
                                "\nIcon=obrim\nTerminal=false\nCategories=Qt;KDE;System;Monitor;\n"
                                "StartupWMClass=obrim\n";
    return {dataFolder() + "/applications/" + fileName(base), content, pathLine};
}
