#pragma once

// A Wayland connection of our own to the compositor, beside Qt's: the
// protocols used through it are ones Qt does not bind, and its events are
// read only when its owner asks.

#include <QByteArray>
#include <QList>

#include <cstdint>

struct wl_display;
struct wl_registry;
struct wl_interface;

namespace quendra {

class WaylandConnection {
public:
    // Connects to $WAYLAND_DISPLAY and learns the compositor's globals; not
    // open when there is no compositor.
    WaylandConnection();
    ~WaylandConnection();
    WaylandConnection(const WaylandConnection&) = delete;
    WaylandConnection& operator=(const WaylandConnection&) = delete;

    // False also after the compositor went away or ended the connection for
    // a protocol error.
    bool isOpen() const;
    wl_display* display() const { return connection; }
    int fileDescriptor() const;

    bool offers(const char* interfaceName) const;
    // Binds the first global of the interface at the lower of its version
    // and `version`; null when the compositor does not offer it.
    void* bind(const wl_interface* interface, std::uint32_t version);

    // Sends what is queued and waits until the compositor has handled it,
    // handling the events it sent meanwhile. False when the connection broke.
    bool roundtrip();
    // Sends what is queued without waiting.
    bool flush();
    // Handles the events that have arrived, without waiting for more.
    bool dispatchWaiting();

private:
    struct Global {
        std::uint32_t name;
        QByteArray interface;
        std::uint32_t version;
    };
    static void onGlobal(void* data, wl_registry*, std::uint32_t name, const char* interface,
                         std::uint32_t version);
    static void onGlobalRemove(void* data, wl_registry*, std::uint32_t name);

    wl_display* connection = nullptr;
    wl_registry* registry = nullptr;
    QList<Global> globals;
};

} // namespace quendra
