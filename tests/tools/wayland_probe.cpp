// Drives the Wayland clipboard and virtual keyboard for the integration tests,
// one command per line on standard input, one answer per line on standard
// output; the event loop runs between commands, so what we put on the
// clipboard is served meanwhile.
//   available          "keyboard yes|no" and "pasteboard yes|no"
//   set TEXT           puts TEXT on the clipboard; "count N"
//   count              "count N", the change count
//   types              "types T1 T2 ..." read from the clipboard, then "read in MS ms"
//   snapshot           keeps the clipboard's item; "snapshot T1 T2 ..."
//   restore            writes the kept item back; "count N"
//   clear              empties the clipboard; "count N"
//   paste | paste-shift   presses Ctrl+V or Ctrl+Shift+V; "pasted yes|no"
//   window             shows a window titled org.quendra.KeyLog that prints
//                      "key SEQUENCE" on standard error for each key pressed
//                      in it; "shown"
//   quit

#include "platform/linux/VirtualKeyboardKeyEventPoster.h"
#include "platform/linux/WaylandPasteboard.h"

#include "ProbeSupport.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QKeySequence>
#include <QPainter>
#include <QRasterWindow>
#include <QSocketNotifier>

#include <unistd.h>

#include <cstdio>
#include <memory>

using namespace Qt::Literals::StringLiterals;
using namespace quendra;
using probe::say;

namespace {

QString typesOf(const QList<PasteboardItem>& items) {
    QStringList types;
    for (const PasteboardItem& item : items)
        for (const auto& [type, data] : item)
            types << type;
    return types.join(u' ');
}

class KeyLogWindow : public QRasterWindow {
protected:
    void paintEvent(QPaintEvent*) override {
        QPainter(this).fillRect(QRect(QPoint(), size()), Qt::white);
    }
    void keyPressEvent(QKeyEvent* event) override {
        if (event->key() == Qt::Key_Control || event->key() == Qt::Key_Shift)
            return;
        // Apart from the answers: a key may arrive while a command is answered.
        std::fprintf(stderr, "key %s\n",
                     qUtf8Printable(QKeySequence(event->keyCombination()).toString()));
        std::fflush(stderr);
    }
};

class Probe {
public:
    bool run(const QString& line) {
        const QString command = line.section(u' ', 0, 0);
        const QString argument = line.section(u' ', 1);
        if (command == u"available"_s) {
            say(u"keyboard "_s + (VirtualKeyboardKeyEventPoster::available() ? u"yes"_s : u"no"_s));
            say(u"pasteboard "_s + (WaylandPasteboard::available() ? u"yes"_s : u"no"_s));
        } else if (command == u"set"_s) {
            pasteboard().setString(argument);
            say(u"count %1"_s.arg(pasteboard().changeCount()));
        } else if (command == u"count"_s) {
            say(u"count %1"_s.arg(pasteboard().changeCount()));
        } else if (command == u"types"_s) {
            QElapsedTimer timer;
            timer.start();
            const auto items = pasteboard().items();
            const qint64 ms = timer.elapsed();
            say(u"types "_s + typesOf(items));
            say(u"read in %1 ms"_s.arg(ms));
        } else if (command == u"snapshot"_s) {
            kept = pasteboard().items();
            say(u"snapshot "_s + typesOf(kept));
        } else if (command == u"restore"_s) {
            pasteboard().writeItems(kept);
            say(u"count %1"_s.arg(pasteboard().changeCount()));
        } else if (command == u"clear"_s) {
            pasteboard().clearContents();
            say(u"count %1"_s.arg(pasteboard().changeCount()));
        } else if (command == u"paste"_s || command == u"paste-shift"_s) {
            if (!keys)
                keys = std::make_unique<VirtualKeyboardKeyEventPoster>();
            const bool pasted = keys->postPaste(command == u"paste"_s ? PasteKeys::control
                                                                      : PasteKeys::controlShift);
            say(u"pasted "_s + (pasted ? u"yes"_s : u"no"_s));
        } else if (command == u"window"_s) {
            window = std::make_unique<KeyLogWindow>();
            window->setTitle(u"org.quendra.KeyLog"_s);
            window->resize(300, 200);
            window->show();
            say(u"shown"_s);
        } else if (command == u"quit"_s) {
            // Gone before the application ends, not in the middle of its teardown.
            window.reset();
            return false;
        } else {
            say(u"unknown "_s + command);
        }
        return true;
    }

private:
    WaylandPasteboard& pasteboard() {
        if (!board)
            board = std::make_unique<WaylandPasteboard>();
        return *board;
    }

    std::unique_ptr<WaylandPasteboard> board;
    std::unique_ptr<VirtualKeyboardKeyEventPoster> keys;
    std::unique_ptr<KeyLogWindow> window;
    QList<PasteboardItem> kept;
};

} // namespace

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    Probe probe;
    probe::LineReader input([&probe](const QString& line) { return probe.run(line); });
    return QCoreApplication::exec();
}
