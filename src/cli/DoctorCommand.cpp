#include "CommandSupport.h"
#include "ShortcutGuide.h"
#include "model/AppDataStore.h"
#include "platform/CredentialBackend.h"
#include "platform/DesktopServices.h"
#include "platform/MicrophonePermission.h"

#include <QCoreApplication>

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

struct CheckOutcome {
    bool passed = false;
    QString sentence; // what is fine, or what to fix
};

struct DoctorCheck {
    QString title;
    std::function<CheckOutcome(AppContext&)> run;
};

CheckOutcome checkDisplay(AppContext&) {
    const auto status = DesktopServices::displayStatus();
    if (status.name.isEmpty())
        return {false, u"No display is set (WAYLAND_DISPLAY and DISPLAY are empty). Start Parlevo "
                       "inside a desktop session."_s};
    if (!status.reachable)
        return {false, status.name + u" cannot be opened. Check that the display server is "
                                     "running and that you may connect to it."_s};
    if (!status.windowManager)
        return {false, status.name + u" has no window manager. Start one, or text goes to the "
                                     "window under the pointer instead of the focused field."_s};
    const DesktopSession session = DesktopSession::current();
    if (session.isWayland())
        return {true, status.name + u", "_s + session.description() + u"."_s};
    return {true, status.name + u" with a window manager."_s};
}

CheckOutcome checkAccessibility(AppContext&) {
    const auto status = DesktopServices::accessibilityStatus();
    if (!status.busReachable)
        return {false, u"The accessibility bus (AT-SPI) is not running. Install at-spi2-core and "
                       "log in again."_s};
    if (!status.enabled)
        return {false, u"Accessibility is turned off, so Parlevo cannot find text fields. Turn "
                       "it on in the desktop’s accessibility settings, or run “gsettings set "
                       "org.gnome.desktop.interface toolkit-accessibility true”, then restart "
                       "the applications you dictate into."_s};
    return {true, u"The accessibility bus is running and accessibility is on."_s};
}

ShortcutGuide shortcutGuide(AppContext& app) {
    return {DesktopSession::current(), app.store().dictationShortcut(),
            QCoreApplication::applicationFilePath()};
}

CheckOutcome checkShortcut(AppContext& app) {
    const DictationShortcut shortcut = app.store().dictationShortcut();
    const DesktopSession session = DesktopSession::current();
    switch (DesktopServices::shortcutRoute(session)) {
    case DesktopServices::ShortcutRoute::x11Grab:
        break;
    case DesktopServices::ShortcutRoute::globalShortcutsPortal:
        return {true, u"The dictation shortcut %1 is asked of the desktop through its shortcuts "
                      "portal; the desktop’s shortcut settings list it and can change it."_s.arg(
                          shortcut.displayName())};
    case DesktopServices::ShortcutRoute::kglobalaccel:
        return {true, u"The dictation shortcut %1 is registered with KDE’s shortcut service; "
                      "the desktop’s shortcut settings list it."_s.arg(shortcut.displayName())};
    case DesktopServices::ShortcutRoute::desktopSettings: {
        const ShortcutGuide guide = shortcutGuide(app);
        const auto bound = guide.isBound();
        if (bound == true)
            return {true, u"The desktop runs “%1” on a key."_s.arg(guide.command())};
        if (!bound)
            return {true, u"This desktop lets no application take a shortcut, and Parlevo cannot "
                          "see its bindings: make sure a key runs the command. "_s +
                              guide.advice()};
        return {false, u"This desktop lets no application take a shortcut. "_s + guide.advice()};
    }
    }
    if (DesktopServices::displayStatus().reachable && DesktopServices::canRegisterHotKey(shortcut))
        return {true,
                u"The dictation shortcut %1 can be registered."_s.arg(shortcut.displayName())};
    return {false, u"The dictation shortcut %1 cannot be registered: another program holds it "
                   "or there is no display. Choose another one in Settings."_s.arg(
                       shortcut.displayName())};
}

CheckOutcome checkPasting(AppContext&) {
    const DesktopSession session = DesktopSession::current();
    const bool available = DesktopServices::pasteKeysAvailable(session);
    const QString fallback = u"text for terminals and other fields without editable text stays "
                             "in History and on the clipboard."_s;
    switch (session.pasteRoute()) {
    case PasteRoute::x11Keys:
        return {available, available ? u"Pasted keys reach the focused application."_s
                                     : u"No keys can be sent to other applications: "_s + fallback};
    case PasteRoute::virtualKeyboard:
        return {available, available
                               ? u"Terminals and other fields without editable text get a paste "
                                 "from a virtual keyboard."_s
                               : u"This compositor offers no virtual keyboard: "_s + fallback};
    case PasteRoute::remoteDesktopPortal:
        return {available, available
                               ? u"Terminals and other fields without editable text get a paste "
                                 "through the desktop portal’s keyboard."_s
                               : u"The desktop portal’s keyboard is missing (install "
                                 "xdg-desktop-portal-kde): "_s +
                                     fallback};
    case PasteRoute::none:
        break;
    }
    return {true, u"Text is written through the accessibility bus; this desktop lets no program "
                  "type into another, so "_s +
                      fallback};
}

CheckOutcome checkSoundServer(AppContext& app) {
    if (app.microphonePermission().granted())
        return {true, u"The sound server answers and offers a microphone."_s};
    return {false, u"No microphone can be recorded: the sound server (PulseAudio, or PipeWire "
                   "with pipewire-pulse) is not running, or it offers no input. Start it and "
                   "connect a microphone."_s};
}

CheckOutcome checkKeyring(AppContext& app) {
    // A name that is never stored: a reachable keyring says it is missing.
    const auto probe = app.keyring().lookup(u"parlevo-doctor-probe"_s, false);
    if (probe.kind == CredentialLookup::Kind::unknown)
        return {false, u"The system keyring (Secret Service) cannot be reached, so sign-ins and "
                       "keys cannot be kept. Install and start gnome-keyring or KWallet."_s};
    return {true, u"The system keyring (Secret Service) answers."_s};
}

// Each check is one entry.
QList<DoctorCheck> doctorChecks() {
    return {
        {u"Display server"_s, checkDisplay},      {u"Accessibility"_s, checkAccessibility},
        {u"Dictation shortcut"_s, checkShortcut}, {u"Pasting"_s, checkPasting},
        {u"Sound server"_s, checkSoundServer},    {u"Keyring"_s, checkKeyring},
    };
}

} // namespace

int runDoctorCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                     QTextStream& err) {
    const CommandHelp help{u"doctor [--enable-accessibility] [--bind-shortcut]"_s,
                           u"Checks what dictation needs from this computer and says what to "
                           "fix.\n--enable-accessibility first turns accessibility on for "
                           "applications started from now on.\n--bind-shortcut first binds the "
                           "dictation shortcut to “parlevo dictation toggle” where the desktop "
                           "takes a binding from another program (GNOME, sway)."_s};
    Invocation invocation(app, u"doctor"_s, arguments, out, err);
    if (!invocation.parse(help, 0, {u"enable-accessibility"_s, u"bind-shortcut"_s}))
        return int(ExitStatus::usage);
    if (invocation.helpRequested())
        return invocation.printHelp(help);
    if (invocation.flag(u"enable-accessibility"_s) && !DesktopServices::enableAccessibility())
        err << u"Accessibility could not be turned on: the accessibility bus is not running."_s
            << Qt::endl;
    bool allPassed = true;
    if (invocation.flag(u"bind-shortcut"_s)) {
        const auto bound = shortcutGuide(invocation.app).bind();
        if (bound)
            out << *bound << Qt::endl;
        else
            err << bound.error() << Qt::endl;
        allPassed = bound.has_value();
    }
    for (const DoctorCheck& check : doctorChecks()) {
        const CheckOutcome outcome = check.run(invocation.app);
        allPassed = allPassed && outcome.passed;
        out << (outcome.passed ? u"ok   "_s : u"FIX  "_s) << check.title << u": "_s
            << outcome.sentence << Qt::endl;
    }
    return int(allPassed ? ExitStatus::success : ExitStatus::failure);
}

} // namespace quendra
