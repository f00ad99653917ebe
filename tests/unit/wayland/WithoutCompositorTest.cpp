#include "platform/linux/VirtualKeyboardKeyEventPoster.h"
#include "platform/linux/WaylandPasteboard.h"
#include "support/CoreApplication.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <thread>

using namespace Qt::Literals::StringLiterals;
using namespace quendra;

namespace {

// $XDG_RUNTIME_DIR and $WAYLAND_DISPLAY of the test's own, restored after.
class Environment {
public:
    Environment()
        : runtime(qgetenv("XDG_RUNTIME_DIR"))
        , display(qgetenv("WAYLAND_DISPLAY")) {
        qputenv("XDG_RUNTIME_DIR", folder.path().toLocal8Bit());
    }
    ~Environment() {
        qputenv("XDG_RUNTIME_DIR", runtime);
        qputenv("WAYLAND_DISPLAY", display);
    }
    QString path(const QString& name) const { return folder.filePath(name); }

private:
    QTemporaryDir folder;
    QByteArray runtime;
    QByteArray display;
};

// A socket where a compositor would be that takes each connection and hangs
// up without a word, as a compositor that crashes does.
class HangingUpServer {
public:
    explicit HangingUpServer(const QString& path) {
        listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray name = path.toLocal8Bit();
        std::memcpy(address.sun_path, name.constData(), size_t(name.size()));
        EXPECT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(listen(listener, 8), 0);
        thread = std::thread([this] {
            for (;;) {
                const int client = accept(listener, nullptr, nullptr);
                if (client < 0)
                    return;
                close(client);
            }
        });
    }
    ~HangingUpServer() {
        shutdown(listener, SHUT_RDWR);
        thread.join();
        close(listener);
    }

private:
    int listener = -1;
    std::thread thread;
};

void expectNothingWorksAndNothingBreaks() {
    EXPECT_FALSE(VirtualKeyboardKeyEventPoster::available());
    EXPECT_FALSE(WaylandPasteboard::available());

    VirtualKeyboardKeyEventPoster keys;
    EXPECT_FALSE(keys.postPaste(PasteKeys::control));
    EXPECT_FALSE(keys.postPaste(PasteKeys::controlShift));

    WaylandPasteboard pasteboard;
    const int before = pasteboard.changeCount();
    pasteboard.setString(u"nowhere to go"_s);
    pasteboard.writeItems({{{u"text/html"_s, "<b>x</b>"}}});
    pasteboard.clearContents();
    EXPECT_TRUE(pasteboard.items().isEmpty());
    // Nothing was written, so there is no change to count.
    EXPECT_EQ(pasteboard.changeCount(), before);
}

} // namespace

TEST(WithoutCompositorTest, NoWaylandDisplayMeansNoKeysAndNoClipboard) {
    ensureCoreApplication();
    Environment environment;
    qunsetenv("WAYLAND_DISPLAY");
    expectNothingWorksAndNothingBreaks();
}

TEST(WithoutCompositorTest, ADisplayWithNoCompositorBehindItMeansNoKeysAndNoClipboard) {
    ensureCoreApplication();
    Environment environment;
    qputenv("WAYLAND_DISPLAY", "wayland-nobody");
    expectNothingWorksAndNothingBreaks();
}

TEST(WithoutCompositorTest, ACompositorThatHangsUpMeansNoKeysAndNoClipboard) {
    ensureCoreApplication();
    Environment environment;
    HangingUpServer server(environment.path(u"wayland-gone"_s));
    qputenv("WAYLAND_DISPLAY", "wayland-gone");
    expectNothingWorksAndNothingBreaks();
}
