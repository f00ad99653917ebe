#include "XTestKeyEventPoster.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace quendra {

bool XTestKeyEventPoster::postPaste(PasteKeys keys) {
    QUENDRA_CHECK_THREAD(checker);
    if (!x.isOpen())
        return false;
    Display* d = x.get();
    int event = 0, error = 0, major = 0, minor = 0;
    if (!XTestQueryExtension(d, &event, &error, &major, &minor))
        return false;
    const KeyCode control = XKeysymToKeycode(d, XK_Control_L);
    const KeyCode shift = XKeysymToKeycode(d, XK_Shift_L);
    const KeyCode v = XKeysymToKeycode(d, XK_v);
    if (!control || !v || (keys == PasteKeys::controlShift && !shift))
        return false;

    // Modifiers still held from the shortcut would turn Ctrl+V into something else.
    char pressed[32];
    XQueryKeymap(d, pressed);
    if (XModifierKeymap* map = XGetModifierMapping(d)) {
        for (int i = 0; i < 8 * map->max_keypermod; ++i) {
            const KeyCode code = map->modifiermap[i];
            if (code && (pressed[code / 8] & (1 << (code % 8))))
                XTestFakeKeyEvent(d, code, False, CurrentTime);
        }
        XFreeModifiermap(map);
    }
    XTestFakeKeyEvent(d, control, True, CurrentTime);
    if (keys == PasteKeys::controlShift)
        XTestFakeKeyEvent(d, shift, True, CurrentTime);
    XTestFakeKeyEvent(d, v, True, CurrentTime);
    XTestFakeKeyEvent(d, v, False, CurrentTime);
    if (keys == PasteKeys::controlShift)
        XTestFakeKeyEvent(d, shift, False, CurrentTime);
    XTestFakeKeyEvent(d, control, False, CurrentTime);
    XFlush(d);
    return true;
}

} // namespace quendra
