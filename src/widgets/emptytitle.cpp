// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "emptytitle.h"

#include "toolkit.h"

#include <QWidget>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <xcb/xcb.h>

namespace
{

xcb_atom_t atom(xcb_connection_t *connection, const char *name)
{
    const auto asked = xcb_intern_atom(connection, 0, std::uint16_t(std::strlen(name)), name);
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(connection, asked, nullptr), &std::free);
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

} // namespace

void setEmptyTitle(QWidget *window)
{
    xcb_connection_t *connection = Toolkit::xcbConnection();
    if (!connection)
        return;
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, xcb_window_t(window->winId()),
                        atom(connection, "_NET_WM_NAME"), atom(connection, "UTF8_STRING"), 8, 0, nullptr);
    xcb_flush(connection);
}
