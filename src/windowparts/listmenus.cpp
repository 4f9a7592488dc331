// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "listmenus.h"

#include <QCursor>
#include <QMenu>
#include <QPointer>

void runContextMenu(QWidget *window, const std::vector<ContextMenuEntry> &entries)
{
    const QPointer<QMenu> menu = new QMenu(window);
    const ContextMenuEntry *chosen = nullptr;
    for (const ContextMenuEntry &entry : entries) {
        if (entry.text.isEmpty()) {
            menu->addSeparator();
            continue;
        }
        QObject::connect(menu->addAction(entry.text), &QAction::triggered, menu, [&chosen, &entry, &menu] {
            chosen = &entry;
            menu->close();
        });
    }
    menu->exec(QCursor::pos());
    if (!menu)
        return;
    delete menu;
    // Not from within the menu: the action may run an event loop of its own,
    // in which the window can die, and the menu with it, under the menu's feet.
    if (chosen)
        chosen->chosen();
}
