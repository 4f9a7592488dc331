// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#include "sessionbus.h"

#include <QByteArray>
#include <QList>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{

constexpr int TimeLimit = 3000; // milliseconds

const char *const Variable = "DBUS_SESSION_BUS_ADDRESS";

/** The socket of a bus; of no length when the bus has none on this machine, or several. */
struct Place {
    sockaddr_un address = {};
    socklen_t length = 0;
};

Place placeOf(const QByteArray &bus)
{
    Place place;
    const bool isAbstract = bus.startsWith("unix:abstract=");
    if (bus.contains(';') || bus.contains('%') || !(isAbstract || bus.startsWith("unix:path=")))
        return place;
    const QByteArray value = bus.mid(bus.indexOf('=') + 1).split(',').first();
    const QByteArray name = isAbstract ? '\0' + value : value;
    if (std::size_t(name.size()) >= sizeof(place.address.sun_path))
        return place;
    place.address.sun_family = AF_UNIX;
    std::memcpy(place.address.sun_path, name.constData(), std::size_t(name.size()));
    place.length = socklen_t(offsetof(sockaddr_un, sun_path) + std::size_t(name.size()));
    return place;
}

/** Whether whoever accepts connections there answers the first word of the bus's protocol in time. */
bool answers(int connection, const Place &place)
{
    if (connect(connection, reinterpret_cast<const sockaddr *>(&place.address), place.length) != 0)
        return true; // Refused at once: nobody waits for that.
    const QByteArray greeting = '\0' + QByteArray("AUTH EXTERNAL ") + QByteArray::number(getuid()).toHex() + "\r\n";
    pollfd answer = {connection, POLLIN, 0};
    return send(connection, greeting.constData(), std::size_t(greeting.size()), MSG_NOSIGNAL) != greeting.size() ||
           poll(&answer, 1, TimeLimit) != 0;
}

bool isSilent(const Place &place)
{
    const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const bool silent = connection >= 0 && !answers(connection, place);
    close(connection);
    return silent;
}

} // namespace

void avoidSilentSessionBus()
{
    QByteArray bus = qgetenv(Variable);
    if (bus.isEmpty() && !qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR"))
        bus = "unix:path=" + qgetenv("XDG_RUNTIME_DIR") + "/bus";
    const Place place = placeOf(bus);
    if (place.length == 0 || !isSilent(place))
        return;
    std::fputs("The session bus of the desktop does not answer: going on without it\n", stderr);
    qputenv(Variable, "disabled:");
}
