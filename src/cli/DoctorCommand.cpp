#include "CommandSupport.h"
#include "model/AppDataStore.h"
#include "platform/CredentialBackend.h"
#include "platform/DesktopServices.h"
#include "platform/MicrophonePermission.h"

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
        return {false, u"No X11 display is set (DISPLAY is empty). Start Parlevo inside an X11 "
                       "desktop session."_s};
    if (!status.reachable)
        return {false, status.name + u" cannot be opened. Check that the X server is running and "
                                     "that you may connect to it."_s};
    if (!status.windowManager)
        return {false, status.name + u" has no window manager. Start one, or text goes to the "
                                     "window under the pointer instead of the focused field."_s};
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

CheckOutcome checkShortcut(AppContext& app) {
    const DictationShortcut shortcut = app.store().dictationShortcut();
    if (DesktopServices::displayStatus().reachable && DesktopServices::canRegisterHotKey(shortcut))
        return {true,
                u"The dictation shortcut %1 can be registered."_s.arg(shortcut.displayName())};
    return {false, u"The dictation shortcut %1 cannot be registered: another program holds it "
                   "or there is no display. Choose another one in Settings."_s.arg(
                       shortcut.displayName())};
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
        {u"Display server"_s, checkDisplay},
        {u"Accessibility"_s, checkAccessibility},
        {u"Dictation shortcut"_s, checkShortcut},
        {u"Sound server"_s, checkSoundServer},
        {u"Keyring"_s, checkKeyring},
    };
}

} // namespace

int runDoctorCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                     QTextStream& err) {
    const CommandHelp help{u"doctor [--enable-accessibility]"_s,
                           u"Checks what dictation needs from this computer and says what to "
                           "fix.\n--enable-accessibility first turns accessibility on for "
                           "applications started from now on."_s};
    Invocation invocation(app, u"doctor"_s, arguments, out, err);
    if (!invocation.parse(help, 0, {u"enable-accessibility"_s}))
        return int(ExitStatus::usage);
    if (invocation.helpRequested())
        return invocation.printHelp(help);
    if (invocation.flag(u"enable-accessibility"_s) && !DesktopServices::enableAccessibility())
        err << u"Accessibility could not be turned on: the accessibility bus is not running."_s
            << Qt::endl;
    bool allPassed = true;
    for (const DoctorCheck& check : doctorChecks()) {
        const CheckOutcome outcome = check.run(invocation.app);
        allPassed = allPassed && outcome.passed;
        out << (outcome.passed ? u"ok   "_s : u"FIX  "_s) << check.title << u": "_s
            << outcome.sentence << Qt::endl;
    }
    return int(allPassed ? ExitStatus::success : ExitStatus::failure);
}

} // namespace quendra
