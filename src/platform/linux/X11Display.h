#pragma once

// One Xlib connection, and the record of the protocol errors it received
// (Xlib's default handler would end the process on a window that vanished).

#include <QByteArray>
#include <QList>

#include <cstdint>
#include <optional>

typedef struct _XDisplay Display;
typedef unsigned long XWindow;
typedef unsigned long XAtom;

namespace quendra {

class X11Display {
public:
    X11Display();
    ~X11Display();
    X11Display(const X11Display&) = delete;
    X11Display& operator=(const X11Display&) = delete;

    bool isOpen() const { return display != nullptr; }
    Display* get() const { return display; }
    XWindow root() const;
    int fileDescriptor() const;
    XAtom atom(const char* name) const;

    // Window-valued, cardinal and string properties; none when absent.
    std::optional<XWindow> windowProperty(XWindow window, XAtom property) const;
    std::optional<std::uint32_t> cardinalProperty(XWindow window, XAtom property) const;
    std::optional<QByteArray> bytesProperty(XWindow window, XAtom property) const;
    QList<XWindow> windowListProperty(XWindow window, XAtom property) const;

    // The error code of the first request since `serial` that failed, after
    // waiting for the server to process everything sent so far.
    std::optional<int> errorSince(unsigned long serial) const;

private:
    Display* display = nullptr;
};

} // namespace quendra
