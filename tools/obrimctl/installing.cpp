// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "installing.h"

#include "databases.h"
#include "desktopentry.h"
#include "failure.h"
#include "filling.h"
#include "lamp.h"
#include "layout.h"
#include "output.h"
#include "source.h"
#include "translation.h"
#include "visibletext.h"

#include <filesystem>
#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

namespace
{
// docs/security.md says who needs what.
constexpr mode_t ReadFolder = 0750;
constexpr mode_t ReadFile = 0640;
constexpr mode_t WriteFolder = 02770; // its files get its group
constexpr mode_t WriteFile = 0660;

std::string absolutePath(const std::string &directory)
{
    std::error_code error;
    const fs::path path = fs::absolute(directory, error).lexically_normal();
    // Without a slash at the end, which would make an empty name.
    return path.has_filename() || path == path.root_path() ? path.string() : path.parent_path().string();
}

Layout layoutOf(const std::string &base, const Database &database, const std::string &group)
{
    Layout layout(group);
    for (const char *folder : {"", "/bin", "/Config", "/Libs", "/Pics"})
        layout.addFolder(base + folder, ReadFolder);
    if (database.isInFolder)
        layout.addFolder(base + "/Data", WriteFolder);
    layout.addFile(base + "/Config/DBLib.def", ReadFile, database.settings);
    layout.addLink(base + "/Libs/DBLib.a", database.library);
    // Last: it is what makes the folder an installation.
    layout.addFile(base + "/Pics/Red.bmp", ReadFile, lampPicture());
    return layout;
}

/** Lets the library make the database, so that its rights can be set before anyone needs it. */
void makeDatabase(const std::string &base, const Layout &layout)
{
    std::error_code error;
    const bool wasThere = !fs::is_empty(base + "/Data", error);
    const Source source{Installation(base)};
    source.sensors();
    if (wasThere || error)
        return;
    for (const fs::directory_entry &file : fs::directory_iterator(base + "/Data", error))
        layout.adopt(file.path().string(), WriteFile);
}

void tellMade(const std::vector<std::string> &paths, Output &output)
{
    for (const std::string &path : paths)
        output.write(filled(translated("made %1"), visibleText(path)) + "\n");
}

/** Two paths may have the same name of an entry. */
void requireOwnEntry(const DesktopEntry &entry)
{
    std::ifstream file(entry.path);
    if (!file)
        return;
    for (std::string line; std::getline(file, line);)
        if (line == entry.pathLine)
            return;
    throw Failure(filled(translated("%1: is there already and is another installation's"), visibleText(entry.path)));
}

Layout menuLayout(const std::string &base)
{
    const DesktopEntry entry = desktopEntryFor(base);
    requireOwnEntry(entry);
    std::error_code error;
    fs::create_directories(fs::path(entry.path).parent_path(), error);
    Layout layout({});
    layout.addFile(entry.path, 0644, entry.content);
    return layout;
}
} // namespace

void makeInstallation(const InitOptions &options, Output &output)
{
    const Database database = databaseNamed(options.database);
    const std::string base = absolutePath(options.directory);
    const Layout layout = layoutOf(base, database, options.group);
    layout.check();
    std::optional<Layout> menu;
    if (options.desktopEntry) {
        menu = menuLayout(base);
        menu->check();
    }
    tellMade(layout.make(), output);
    if (database.isInFolder)
        makeDatabase(base, layout);
    if (menu)
        tellMade(menu->make(), output);
    output.write(filled(translated("the installation %1 is complete: start obrim in %1/bin"), visibleText(base)) +
                 "\n");
}
