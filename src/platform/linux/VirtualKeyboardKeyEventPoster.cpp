#include "VirtualKeyboardKeyEventPoster.h"

#include "virtual-keyboard-unstable-v1-client-protocol.h"

#include <wayland-client.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <chrono>

namespace quendra {

namespace {

constexpr const char* managerName = "zwp_virtual_keyboard_manager_v1";

// The keymap as a sealed in-memory file, as the protocol passes it.
int keymapFile(const QByteArray& text) {
    const int fd = memfd_create("parlevo-keymap", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (fd < 0)
        return -1;
    qsizetype written = 0;
    while (written < text.size()) {
        const ssize_t n = write(fd, text.constData() + written, size_t(text.size() - written));
        if (n <= 0) {
            close(fd);
            return -1;
        }
        written += n;
    }
    fcntl(fd, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL);
    return fd;
}

std::uint32_t nowMs() {
    using namespace std::chrono;
    return std::uint32_t(
        duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

} // namespace

VirtualKeyboardKeyEventPoster::VirtualKeyboardKeyEventPoster() = default;

VirtualKeyboardKeyEventPoster::~VirtualKeyboardKeyEventPoster() {
    if (keyboard)
        zwp_virtual_keyboard_v1_destroy(keyboard);
    // The manager has no destroy request: only our side of it is freed.
    if (manager)
        wl_proxy_destroy(reinterpret_cast<wl_proxy*>(manager));
    if (seat)
        wl_seat_destroy(seat);
    wayland.flush();
}

bool VirtualKeyboardKeyEventPoster::available() {
    return WaylandConnection().offers(managerName);
}

bool VirtualKeyboardKeyEventPoster::ensureKeyboard() {
    if (keyboard)
        return wayland.isOpen();
    if (!wayland.offers(managerName))
        return false;
    if (!keymap)
        keymap = VirtualKeymap::create();
    if (!keymap)
        return false;
    if (!seat)
        seat = static_cast<wl_seat*>(wayland.bind(&wl_seat_interface, 1));
    if (!manager)
        manager = static_cast<zwp_virtual_keyboard_manager_v1*>(
            wayland.bind(&zwp_virtual_keyboard_manager_v1_interface, 1));
    if (!seat || !manager)
        return false;
    const int fd = keymapFile(keymap->text());
    if (fd < 0)
        return false;
    keyboard = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(manager, seat);
    zwp_virtual_keyboard_v1_keymap(keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, fd,
                                   std::uint32_t(keymap->text().size()));
    close(fd);
    // A compositor that refuses this client (unauthorized) ends the
    // connection: the roundtrip says so.
    return wayland.roundtrip();
}

bool VirtualKeyboardKeyEventPoster::postPaste(PasteKeys keys) {
    QUENDRA_CHECK_THREAD(checker);
    if (!ensureKeyboard())
        return false;
    const QList<VirtualKeyEvent> events = keymap->pasteEvents(keys);
    if (events.isEmpty())
        return false;
    const std::uint32_t time = nowMs();
    for (const VirtualKeyEvent& event : events) {
        if (event.kind == VirtualKeyEvent::Kind::key)
            zwp_virtual_keyboard_v1_key(keyboard, time, event.code,
                                        event.pressed ? WL_KEYBOARD_KEY_STATE_PRESSED
                                                      : WL_KEYBOARD_KEY_STATE_RELEASED);
        else
            zwp_virtual_keyboard_v1_modifiers(keyboard, event.depressed, 0, 0, 0);
    }
    // Out and handled by the compositor before we answer: the caller watches
    // for the paste's effect from now on.
    return wayland.roundtrip();
}

} // namespace quendra
