#include "X11HotKeyService.h"

#include "model/DictationShortcut.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/keysym.h>

#include <utility>

namespace quendra {

namespace {

// The lock keys a grab must ignore: Caps Lock and Num Lock (Mod2 nearly everywhere).
constexpr unsigned int lockVariants[] = {0, LockMask, Mod2Mask, LockMask | Mod2Mask};
constexpr unsigned int relevantModifiers = ShiftMask | ControlMask | Mod1Mask | Mod4Mask;

} // namespace

std::optional<unsigned long> keysymForKeyCode(std::uint32_t keyCode) {
    // Virtual key codes of the ANSI keyboard layout that DictationShortcut stores.
    static const std::pair<std::uint32_t, unsigned long> table[] = {
        {0, XK_a},       {1, XK_s},          {2, XK_d},
        {3, XK_f},       {4, XK_h},          {5, XK_g},
        {6, XK_z},       {7, XK_x},          {8, XK_c},
        {9, XK_v},       {11, XK_b},         {12, XK_q},
        {13, XK_w},      {14, XK_e},         {15, XK_r},
        {16, XK_y},      {17, XK_t},         {18, XK_1},
        {19, XK_2},      {20, XK_3},         {21, XK_4},
        {22, XK_6},      {23, XK_5},         {24, XK_equal},
        {25, XK_9},      {26, XK_7},         {27, XK_minus},
        {28, XK_8},      {29, XK_0},         {30, XK_bracketright},
        {31, XK_o},      {32, XK_u},         {33, XK_bracketleft},
        {34, XK_i},      {35, XK_p},         {36, XK_Return},
        {37, XK_l},      {38, XK_j},         {39, XK_apostrophe},
        {40, XK_k},      {41, XK_semicolon}, {42, XK_backslash},
        {43, XK_comma},  {44, XK_slash},     {45, XK_n},
        {46, XK_m},      {47, XK_period},    {48, XK_Tab},
        {49, XK_space},  {50, XK_grave},     {51, XK_BackSpace},
        {53, XK_Escape}, {117, XK_Delete},   {123, XK_Left},
        {124, XK_Right}, {125, XK_Down},     {126, XK_Up},
        {122, XK_F1},    {120, XK_F2},       {99, XK_F3},
        {118, XK_F4},    {96, XK_F5},        {97, XK_F6},
        {98, XK_F7},     {100, XK_F8},       {101, XK_F9},
        {109, XK_F10},   {103, XK_F11},      {111, XK_F12},
        {105, XK_F13},   {107, XK_F14},      {113, XK_F15},
        {106, XK_F16},   {64, XK_F17},       {79, XK_F18},
        {80, XK_F19},    {90, XK_F20}};
    for (const auto& [code, keysym] : table)
        if (code == keyCode)
            return keysym;
    return std::nullopt;
}

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

std::expected<void, HotKeyServiceError> X11HotKeyService::registerHotKey(std::uint32_t identifier,
                                                                         std::uint32_t keyCode,
                                                                         std::uint32_t modifiers) {
    if (!x.isOpen() || grabs.contains(identifier))
        return std::unexpected(HotKeyServiceError::unavailable);
    const auto keysym = keysymForKeyCode(keyCode);
    const unsigned int keycode = keysym ? XKeysymToKeycode(x.get(), *keysym) : 0;
    if (!keycode)
        return std::unexpected(HotKeyServiceError::unavailable);
    unsigned int mask = 0;
    if (modifiers & CarbonModifier::control)
        mask |= ControlMask;
    if (modifiers & CarbonModifier::option)
        mask |= Mod1Mask;
    if (modifiers & CarbonModifier::shift)
        mask |= ShiftMask;
    if (modifiers & CarbonModifier::command)
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
