#include "X11Display.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>

namespace quendra {

namespace {

struct RecordedError {
    Display* display;
    unsigned long serial;
    int code;
};

// Xlib has one error handler for the whole process.
QList<RecordedError>& recordedErrors() {
    static QList<RecordedError> errors;
    return errors;
}

int recordError(Display* display, XErrorEvent* event) {
    auto& errors = recordedErrors();
    if (errors.size() > 256)
        errors.removeFirst();
    errors.append({display, event->serial, event->error_code});
    return 0;
}

} // namespace

X11Display::X11Display() {
    // Set again for each connection: the GUI toolkit may have put its own in place.
    XSetErrorHandler(recordError);
    display = XOpenDisplay(nullptr);
}

X11Display::~X11Display() {
    if (display) {
        recordedErrors().removeIf([this](const RecordedError& e) { return e.display == display; });
        XCloseDisplay(display);
    }
}

XWindow X11Display::root() const {
    return DefaultRootWindow(display);
}

int X11Display::fileDescriptor() const {
    return ConnectionNumber(display);
}

XAtom X11Display::atom(const char* name) const {
    return XInternAtom(display, name, False);
}

std::optional<QByteArray> X11Display::bytesProperty(XWindow window, XAtom property) const {
    Atom type = None;
    int format = 0;
    unsigned long count = 0, after = 0;
    unsigned char* data = nullptr;
    if (XGetWindowProperty(display, window, property, 0, 4096, False, AnyPropertyType, &type,
                           &format, &count, &after, &data) != Success ||
        type == None) {
        if (data)
            XFree(data);
        return std::nullopt;
    }
    QByteArray bytes;
    if (format == 8)
        bytes = QByteArray(reinterpret_cast<const char*>(data), qsizetype(count));
    XFree(data);
    if (format != 8)
        return std::nullopt;
    return bytes;
}

QList<XWindow> X11Display::windowListProperty(XWindow window, XAtom property) const {
    Atom type = None;
    int format = 0;
    unsigned long count = 0, after = 0;
    unsigned char* data = nullptr;
    QList<XWindow> windows;
    if (XGetWindowProperty(display, window, property, 0, 65536, False, AnyPropertyType, &type,
                           &format, &count, &after, &data) != Success)
        return windows;
    if (data && format == 32) {
        // Xlib hands 32-bit properties over as longs.
        const auto* values = reinterpret_cast<const unsigned long*>(data);
        for (unsigned long i = 0; i < count; ++i)
            windows.append(values[i]);
    }
    if (data)
        XFree(data);
    return windows;
}

std::optional<XWindow> X11Display::windowProperty(XWindow window, XAtom property) const {
    const QList<XWindow> windows = windowListProperty(window, property);
    if (windows.isEmpty() || windows.first() == None)
        return std::nullopt;
    return windows.first();
}

std::optional<std::uint32_t> X11Display::cardinalProperty(XWindow window, XAtom property) const {
    const QList<XWindow> values = windowListProperty(window, property);
    if (values.isEmpty())
        return std::nullopt;
    return std::uint32_t(values.first());
}

std::optional<int> X11Display::errorSince(unsigned long serial) const {
    XSync(display, False);
    for (const RecordedError& e : recordedErrors())
        if (e.display == display && e.serial >= serial)
            return e.code;
    return std::nullopt;
}

} // namespace quendra
