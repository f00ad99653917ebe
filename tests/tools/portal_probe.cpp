// Test aid for the Wayland desktop services of KDE, driven line by line on
// standard input and answering one line per event on standard output.
//
//   portal_probe shortcuts portal TOKEN      global shortcuts through the portal,
//                                            in a session named TOKEN
//   portal_probe shortcuts kglobalaccel NAME global shortcuts through kglobalaccel,
//                                            in the group NAME
//   portal_probe keys                        the portal's remote keyboard
//   portal_probe names KEYSYM MODIFIERS      prints the portal trigger and the Qt key code
//
// Commands: "register ID KEYSYM MODIFIERS", "unregister ID", "state" (through
// the portal: "state bound" once the session holds the shortcuts of the
// moment, else "state binding"), "paste" or "paste shift", "quit". A keysym is a number (0x64 is
// d); modifiers are names joined with "+" ("Ctrl+Alt"), or "-" for none. Lines: "available yes|no",
// "registered ID" / "refused ID", "bound", "pressed ID", "released ID", "failed ID
// unavailable|declined", "started", "stopped", "start failed: REASON", "posted yes|no".

#include "platform/DesktopBindings.h"
#include "platform/linux/KGlobalAccelHotKeyService.h"
#include "platform/linux/PortalHotKeyService.h"
#include "platform/linux/RemoteDesktopKeyEventPoster.h"
#include "platform/linux/ShortcutKeys.h"

#include "ProbeSupport.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <cstdio>
#include <memory>
#include <optional>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;
using namespace quendra;
using probe::modifiersOf;
using probe::say;

namespace {

QString errorName(HotKeyServiceError error) {
    switch (error) {
    case HotKeyServiceError::unavailable:
        return u"unavailable"_s;
    case HotKeyServiceError::declined:
        return u"declined"_s;
    case HotKeyServiceError::notOffered:
        return u"not offered"_s;
    }
    return {};
}

int names(const QString& keysymText, const QString& modifiersText) {
    bool number = false;
    const std::uint32_t keysym = keysymText.toUInt(&number, 0);
    const auto modifiers = modifiersOf(modifiersText);
    if (!number || !modifiers)
        return 2;
    const auto trigger = portalTrigger(keysym, *modifiers);
    const auto code = qtKeyCode(keysym, *modifiers);
    say((trigger ? *trigger : u"-"_s) + u' ' + (code ? QString::number(*code) : u"-"_s));
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList a = app.arguments().mid(1);
    if (a.size() == 3 && a[0] == u"names"_s)
        return names(a[1], a[2]);

    std::unique_ptr<HotKeyService> shortcuts;
    PortalHotKeyService* portalShortcuts = nullptr;
    std::unique_ptr<RemoteDesktopKeyEventPoster> keys;
    const QHash<std::uint32_t, QString> descriptions{{1, u"Start or stop dictation"_s},
                                                     {2, u"Start or stop a note"_s}};
    if (a.size() == 3 && a[0] == u"shortcuts"_s && a[1] == u"portal"_s) {
        say(u"available "_s + (PortalHotKeyService::available() ? u"yes"_s : u"no"_s));
        auto portal = std::make_unique<PortalHotKeyService>(descriptions, a[2]);
        QObject::connect(portal.get(), &PortalHotKeyService::bound, [] { say(u"bound"_s); });
        portalShortcuts = portal.get();
        shortcuts = std::move(portal);
    } else if (a.size() == 3 && a[0] == u"shortcuts"_s && a[1] == u"kglobalaccel"_s) {
        say(u"available "_s + (KGlobalAccelHotKeyService::available() ? u"yes"_s : u"no"_s));
        shortcuts = std::make_unique<KGlobalAccelHotKeyService>(descriptions, a[2]);
    } else if (a.size() == 1 && a[0] == u"keys"_s) {
        say(u"available "_s + (RemoteDesktopKeyEventPoster::available() ? u"yes"_s : u"no"_s));
        keys = std::make_unique<RemoteDesktopKeyEventPoster>();
        QObject::connect(keys.get(), &RemoteDesktopKeyEventPoster::started,
                         [] { say(u"started"_s); });
        QObject::connect(keys.get(), &RemoteDesktopKeyEventPoster::stopped,
                         [] { say(u"stopped"_s); });
        QObject::connect(keys.get(), &RemoteDesktopKeyEventPoster::startFailed,
                         [](const QString& reason) { say(u"start failed: "_s + reason); });
    } else {
        std::fprintf(stderr, "usage: portal_probe shortcuts portal|kglobalaccel NAME | keys | "
                             "names KEYSYM MODIFIERS\n");
        return 2;
    }
    if (shortcuts) {
        QObject::connect(shortcuts.get(), &HotKeyService::pressed,
                         [](std::uint32_t id) { say(u"pressed "_s + QString::number(id)); });
        QObject::connect(shortcuts.get(), &HotKeyService::released,
                         [](std::uint32_t id) { say(u"released "_s + QString::number(id)); });
        QObject::connect(shortcuts.get(), &HotKeyService::registrationFailed,
                         [](std::uint32_t id, HotKeyServiceError error) {
                             say(u"failed "_s + QString::number(id) + u' ' + errorName(error));
                         });
    }

    probe::LineReader commands([&](const QString& line) {
        const QStringList c = line.split(u' ', Qt::SkipEmptyParts);
        if (c.isEmpty())
            return true;
        if (c[0] == u"quit"_s)
            return false;
        if (c[0] == u"register"_s && c.size() == 4 && shortcuts) {
            bool number = false;
            const std::uint32_t keysym = c[2].toUInt(&number, 0);
            const auto modifiers = modifiersOf(c[3]);
            const bool taken =
                number && modifiers && shortcuts->registerHotKey(c[1].toUInt(), keysym, *modifiers);
            say((taken ? u"registered "_s : u"refused "_s) + c[1]);
        } else if (c[0] == u"unregister"_s && c.size() == 2 && shortcuts) {
            shortcuts->unregisterHotKey(c[1].toUInt());
            say(u"unregistered "_s + c[1]);
        } else if (c[0] == u"state"_s && portalShortcuts) {
            say(portalShortcuts->isBound() ? u"state bound"_s : u"state binding"_s);
        } else if (c[0] == u"paste"_s && keys) {
            const bool shift = c.value(1) == u"shift"_s;
            const bool posted =
                keys->postPaste(shift ? PasteKeys::controlShift : PasteKeys::control);
            say(u"posted "_s + (posted ? u"yes"_s : u"no"_s));
        } else {
            say(u"unknown command: "_s + c.join(u' '));
        }
        return true;
    });
    return QCoreApplication::exec();
}
