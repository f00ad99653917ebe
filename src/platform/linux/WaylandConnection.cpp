#include "WaylandConnection.h"

#include <QtGlobal>

#include <wayland-client.h>

#include <poll.h>

#include <algorithm>
#include <cerrno>

namespace quendra {

WaylandConnection::WaylandConnection() {
    // Null reads $WAYLAND_DISPLAY; without it the library would try "wayland-0",
    // which under X11 may be some other session's compositor.
    if (qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return;
    connection = wl_display_connect(nullptr);
    if (!connection)
        return;
    static const wl_registry_listener listener{&WaylandConnection::onGlobal,
                                               &WaylandConnection::onGlobalRemove};
    registry = wl_display_get_registry(connection);
    wl_registry_add_listener(registry, &listener, this);
    roundtrip();
}

WaylandConnection::~WaylandConnection() {
    if (registry)
        wl_registry_destroy(registry);
    if (connection)
        wl_display_disconnect(connection);
}

bool WaylandConnection::isOpen() const {
    return connection && wl_display_get_error(connection) == 0;
}

int WaylandConnection::fileDescriptor() const {
    return connection ? wl_display_get_fd(connection) : -1;
}

void WaylandConnection::onGlobal(void* data, wl_registry*, std::uint32_t name,
                                 const char* interface, std::uint32_t version) {
    static_cast<WaylandConnection*>(data)->globals.append({name, QByteArray(interface), version});
}

void WaylandConnection::onGlobalRemove(void* data, wl_registry*, std::uint32_t name) {
    static_cast<WaylandConnection*>(data)->globals.removeIf(
        [name](const Global& g) { return g.name == name; });
}

bool WaylandConnection::offers(const char* interfaceName) const {
    return std::ranges::any_of(
        globals, [interfaceName](const Global& g) { return g.interface == interfaceName; });
}

void* WaylandConnection::bind(const wl_interface* interface, std::uint32_t version) {
    if (!isOpen())
        return nullptr;
    for (const Global& g : std::as_const(globals))
        if (g.interface == interface->name)
            return wl_registry_bind(registry, g.name, interface, std::min(version, g.version));
    return nullptr;
}

bool WaylandConnection::roundtrip() {
    return isOpen() && wl_display_roundtrip(connection) >= 0;
}

bool WaylandConnection::flush() {
    if (!isOpen())
        return false;
    // A full socket buffer means the compositor is behind; what is left goes
    // with the next flush.
    return wl_display_flush(connection) >= 0 || errno == EAGAIN;
}

bool WaylandConnection::dispatchWaiting() {
    if (!isOpen())
        return false;
    while (wl_display_prepare_read(connection) != 0)
        if (wl_display_dispatch_pending(connection) < 0)
            return false;
    flush();
    pollfd readable{wl_display_get_fd(connection), POLLIN, 0};
    if (poll(&readable, 1, 0) > 0) {
        if (wl_display_read_events(connection) < 0)
            return false;
    } else {
        wl_display_cancel_read(connection);
    }
    return wl_display_dispatch_pending(connection) >= 0;
}

} // namespace quendra
