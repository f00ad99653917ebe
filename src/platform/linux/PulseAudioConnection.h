#pragma once

#include <QString>

#include <pulse/pulseaudio.h>

#include <expected>
#include <functional>
#include <memory>
#include <optional>

namespace quendra {

// A libpulse threaded main loop with one connected context. Callbacks of the
// context and its streams run on the loop's thread with the loop locked;
// everything else takes a Lock first.
class PulseAudioConnection {
public:
    class Lock {
    public:
        explicit Lock(pa_threaded_mainloop* loop)
            : loop(loop) {
            pa_threaded_mainloop_lock(loop);
        }
        ~Lock() { pa_threaded_mainloop_unlock(loop); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        pa_threaded_mainloop* loop;
    };

    struct ServerNames {
        QString defaultSink;
        QString defaultSource;
    };
    struct SourceDetails {
        QString name;
        QString description;
        bool isMonitor = false;
        bool echoCancelled = false;
    };

    // Connects to the session's server; fails at once when there is none.
    static std::expected<std::unique_ptr<PulseAudioConnection>, QString>
    open(const QString& clientName);
    ~PulseAudioConnection();
    PulseAudioConnection(const PulseAudioConnection&) = delete;
    PulseAudioConnection& operator=(const PulseAudioConnection&) = delete;

    Lock lock() const { return Lock(loop); }
    pa_context* context() const { return ctx; }
    pa_threaded_mainloop* mainLoop() const { return loop; }
    bool inLoopThread() const { return pa_threaded_mainloop_in_thread(loop) != 0; }
    QString lastError() const;

    // A stream another program plays or records.
    struct StreamDetails {
        // Its desktop id, binary or name, the first the program gave.
        QString application;
        qint64 processId = 0;
        // A recording of a monitor, which hears the speakers, not a microphone.
        bool fromMonitor = false;
    };

    // Blocking queries for the owner's thread (the loop must not be locked).
    std::optional<ServerNames> serverNames();
    std::optional<SourceDetails> source(const QString& name);
    std::optional<QString> monitorOfSink(const QString& sinkName);
    std::vector<SourceDetails> sources();
    std::vector<StreamDetails> playbackStreams();
    std::vector<StreamDetails> recordingStreams();

    // Called on the loop's thread when the context fails (server gone).
    std::function<void()> onContextFailed;

private:
    PulseAudioConnection() = default;
    // Runs `op` (started with the lock held) until it is done.
    void wait(pa_operation* op);
    static void contextState(pa_context* context, void* self);

    pa_threaded_mainloop* loop = nullptr;
    pa_context* ctx = nullptr;
    bool failedReported = false;
};

} // namespace quendra
