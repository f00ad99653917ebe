// Helpers for the desktop integration tests that need a second X client.
//   desktop_probe own-clipboard TEXT PNG_OUT   serves TEXT and a PNG (also written to PNG_OUT)
//   desktop_probe grab KEYSYM MODIFIERS        holds a global key combination
//   desktop_probe shortcut KEYSYM MODS NEWKEYSYM NEWMODS SECONDS
//       registers KEYSYM+MODS as the dictation shortcut, tries NEWKEYSYM+NEWMODS,
//       prints the error and what is registered, then one line per press.
// A keysym is a number (0x20 is Space, 0x64 is D); modifiers are names joined
// with "+" ("Ctrl+Alt"), or "-" for none.
//   desktop_probe track SECONDS                shows a window titled org.quendra.Probe and
//       prints each target update: reason, application, whether an element was found.

#include "insertion/AppTargetTracker.h"
#include "model/AppDataStore.h"
#include "platform/DesktopServices.h"
#include "platform/linux/X11HotKeyService.h"
#include "session/HotKeyManager.h"
#include "session/ShortcutSettings.h"

#include "ProbeSupport.h"

#include <QBuffer>
#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>
#include <QPainter>
#include <QRasterWindow>
#include <QTimer>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;
using namespace quendra;
using probe::modifiersOf;
using probe::say;

namespace {

int ownClipboard(const QString& text, const QString& pngPath) {
    QImage image(8, 8, QImage::Format_RGB32);
    image.fill(QColor(200, 40, 90));
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    QFile out(pngPath);
    if (!out.open(QIODevice::WriteOnly) || out.write(png) != png.size())
        return 1;
    out.close();
    auto* data = new QMimeData;
    data->setData(u"text/plain;charset=utf-8"_s, text.toUtf8());
    data->setData(u"image/png"_s, png);
    QGuiApplication::clipboard()->setMimeData(data);
    say(u"owning"_s);
    return QGuiApplication::exec();
}

std::optional<DictationShortcut> shortcutOf(const QString& keysym, const QString& modifiers,
                                            const QString& label) {
    bool number = false;
    const std::uint32_t key = keysym.toUInt(&number, 0);
    const auto held = modifiersOf(modifiers);
    if (!number || !held)
        return std::nullopt;
    return DictationShortcut{key, *held, label};
}

int grab(const DictationShortcut& keys) {
    X11HotKeyService service;
    if (!service.registerHotKey(99, keys.keysym, keys.modifiers)) {
        say(u"refused"_s);
        return 1;
    }
    say(u"grabbed"_s);
    return QGuiApplication::exec();
}

int shortcut(const QStringList& a) {
    const auto first = shortcutOf(a[0], a[1], u"Space"_s);
    const auto second = shortcutOf(a[2], a[3], u"D"_s);
    if (!first || !second)
        return 2;
    UserDefaults defaults;
    AppDataStore store(defaults);
    if (!store.setDictationShortcut(*first))
        return 1;
    X11HotKeyService service;
    HotKeyManager hotKey(service, HotKeyManager::dictationIdentifier);
    hotKey.setHotKeyLog(qApp->arguments().contains(u"--qa-hotkey-log"_s));
    HotKeyManager notesHotKey(service, HotKeyManager::notesIdentifier);
    ShortcutSettings settings(store, hotKey, notesHotKey);
    settings.registerStored();
    QObject::connect(&hotKey, &HotKeyManager::pressed, [] { say(u"pressed"_s); });
    const bool taken = settings.setShortcut(*second);
    say(u"taken: "_s + (taken ? u"yes"_s : u"no"_s));
    say(u"error: "_s + settings.hotKeyError());
    say(u"registered: "_s +
        (hotKey.registeredShortcut() ? hotKey.registeredShortcut()->displayName() : u"-"_s));
    QTimer::singleShot(int(a[4].toDouble() * 1000), qApp, &QCoreApplication::quit);
    return QGuiApplication::exec();
}

class ProbeWindow : public QRasterWindow {
protected:
    void paintEvent(QPaintEvent*) override {
        QPainter(this).fillRect(QRect(QPoint(), size()), Qt::white);
    }
};

int track(double seconds) {
    auto services = DesktopServices::connect();
    if (!services) {
        say(services.error());
        return 1;
    }
    ProbeWindow window;
    window.setTitle(u"org.quendra.Probe"_s);
    window.resize(200, 100);
    window.show();
    AppTargetTracker tracker(*services->workspace, *services->accessibility);
    QObject::connect(&tracker, &AppTargetTracker::targetChanged, [](const TargetUpdate& update) {
        say(toString(update.reason) + u" app="_s +
            (update.application ? update.application->bundleIdentifier : u"-"_s) + u" element="_s +
            (update.element ? u"true"_s : u"false"_s));
    });
    tracker.start();
    QTimer::singleShot(int(seconds * 1000), qApp, &QCoreApplication::quit);
    return QGuiApplication::exec();
}

} // namespace

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    const QStringList a = app.arguments().mid(2);
    const QString mode = app.arguments().value(1);
    if (mode == u"own-clipboard"_s && a.size() == 2)
        return ownClipboard(a[0], a[1]);
    if (mode == u"grab"_s && a.size() == 2) {
        const auto keys = shortcutOf(a[0], a[1], {});
        return keys ? grab(*keys) : 2;
    }
    if (mode == u"shortcut"_s && a.size() >= 5)
        return shortcut(a);
    if (mode == u"track"_s && a.size() == 1)
        return track(a[0].toDouble());
    std::fprintf(stderr, "usage: desktop_probe own-clipboard|grab|shortcut|track ...\n");
    return 2;
}
