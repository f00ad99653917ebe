#include "X11HotKeyService.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>

#include <utility>

namespace quendra {

namespace {

// The lock keys a grab must ignore: Caps Lock and Num Lock (Mod2 nearly everywhere).
constexpr unsigned int lockVariants[] = {0, LockMask, Mod2Mask, LockMask | Mod2Mask};
constexpr unsigned int relevantModifiers = ShiftMask | ControlMask | Mod1Mask | Mod4Mask;

} // namespace

X11HotKeyService::X11HotKeyService(QObject* parent)
    : HotKeyService(parent) {
    if (!x.isOpen())
        return;
    Bool supported = False;
    XkbSetDetectableAutoRepeat(x.get(), True, &supported);
    notifier = std::make_unique<QSocketNotifier>(x.fileDescriptor(), QSocketNotifier::Read);
    connect(notifier.get(), &QSocketNotifier::activated, this, &X11HotKeyService::processEvents);
}

X11HotKeyService::~X11HotKeyService() {
    if (x.isOpen())
        for (const Grab& grab : std::as_const(grabs))
            ungrab(grab);
}

std::expected<void, HotKeyServiceError>
X11HotKeyService::registerHotKey(std::uint32_t identifier, std::uint32_t keysym,
                                 ShortcutModifiers modifiers) {
    QUENDRA_CHECK_THREAD(checker);
    if (!x.isOpen() || grabs.contains(identifier))
        return std::unexpected(HotKeyServiceError::unavailable);
    // The keyboard's own layout places the key; a keysym it lacks has no keycode.
    const unsigned int keycode = keysym ? XKeysymToKeycode(x.get(), KeySym(keysym)) : 0;
    if (!keycode)
        return std::unexpected(HotKeyServiceError::unavailable);
    unsigned int mask = 0;
    if (modifiers.testFlag(ShortcutModifier::ctrl))
        mask |= ControlMask;
    if (modifiers.testFlag(ShortcutModifier::alt))
        mask |= Mod1Mask;
    if (modifiers.testFlag(ShortcutModifier::shift))
        mask |= ShiftMask;
    if (modifiers.testFlag(ShortcutModifier::super))
        mask |= Mod4Mask;

    // Another client's grab of the same keys is refused with BadAccess.
    QList<unsigned int> done;
    for (unsigned int lock : lockVariants) {
        const unsigned long serial = NextRequest(x.get());
        XGrabKey(x.get(), int(keycode), mask | lock, x.root(), False, GrabModeAsync, GrabModeAsync);
        if (x.errorSince(serial)) {
            for (unsigned int undo : done)
                XUngrabKey(x.get(), int(keycode), mask | undo, x.root());
            XFlush(x.get());
            return std::unexpected(HotKeyServiceError::unavailable);
        }
        done.append(lock);
    }
    grabs.insert(identifier, {keycode, mask});
    return {};
}

void X11HotKeyService::ungrab(const Grab& grab) {
    for (unsigned int lock : lockVariants)
        XUngrabKey(x.get(), int(grab.keycode), grab.modifiers | lock, x.root());
    XFlush(x.get());
}

void X11HotKeyService::unregisterHotKey(std::uint32_t identifier) {
    QUENDRA_CHECK_THREAD(checker);
    const auto found = grabs.constFind(identifier);
    if (found == grabs.constEnd())
        return;
    if (x.isOpen())
        ungrab(*found);
    down.remove(found->keycode);
    grabs.erase(found);
}

void X11HotKeyService::processEvents() {
    QList<std::uint32_t> presses;
    while (XPending(x.get())) {
        XEvent event;
        XNextEvent(x.get(), &event);
        if (event.type == KeyRelease) {
            down.remove(event.xkey.keycode);
            continue;
        }
        if (event.type != KeyPress)
            continue;
        const unsigned int keycode = event.xkey.keycode;
        if (down.contains(keycode))
            continue;
        down.insert(keycode);
        const unsigned int state = event.xkey.state & relevantModifiers;
        for (auto it = grabs.cbegin(); it != grabs.cend(); ++it)
            if (it->keycode == keycode && it->modifiers == state)
                presses.append(it.key());
    }
    for (std::uint32_t identifier : presses)
        Q_EMIT pressed(identifier);
}

} // namespace quendra
