#include "platform/linux/PulseAudioSource.h"

#include "model/ApplicationId.h"

#include <QLoggingCategory>

#include <cstring>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

Q_LOGGING_CATEGORY(audioLog, QUENDRA_APPLICATION_ID ".audio")

// 50 ms fragments: low enough for the meters and the lag rule, few enough
// wake-ups to keep the recorder's CPU share small.
constexpr std::uint32_t fragmentBytes = AudioSource::sampleRate / 20 * sizeof(float);
// How long a lost microphone waits for the server to choose a new default.
constexpr int followAttempts = 5;
constexpr pa_usec_t followDelayUsec = 50'000;

} // namespace

PulseAudioSource::PulseAudioSource(Kind kind, MicrophoneOptions options,
                                   std::shared_ptr<bool> voiceProcessingRefused)
    : kind(kind)
    , options(std::move(options))
    , voiceProcessingRefused(std::move(voiceProcessingRefused)) {}

PulseAudioSource::~PulseAudioSource() {
    stop();
}

QString PulseAudioSource::displayName() const {
    if (kind == Kind::computerAudio)
        return u"Computer audio"_s;
    return deviceDescription.isEmpty() ? u"Microphone"_s : deviceDescription;
}

std::expected<QString, QString> PulseAudioSource::chooseDevice() {
    const auto names = connection->serverNames();
    if (!names)
        return std::unexpected(u"the sound server did not describe itself"_s);
    if (kind == Kind::computerAudio) {
        if (names->defaultSink.isEmpty())
            return std::unexpected(u"there is no output device"_s);
        const auto monitor = connection->monitorOfSink(names->defaultSink);
        if (!monitor)
            return std::unexpected(u"the output device has no monitor"_s);
        return *monitor;
    }
    const auto sources = connection->sources();
    if (options.voiceProcessing && !*voiceProcessingRefused) {
        for (const auto& s : sources)
            if (s.echoCancelled && !s.isMonitor) {
                echoCancelled = true;
                deviceDescription = s.description;
                return s.name;
            }
        // Loading the filter would change the user's sound setup: go without.
        *voiceProcessingRefused = true;
        qCInfo(audioLog) << "no echo-cancelled input; recording the microphone without it";
    }
    const QString wanted = options.device.value_or(names->defaultSource);
    for (const auto& s : sources)
        if (s.name == wanted) {
            if (s.isMonitor)
                return std::unexpected(u"the default input is a monitor, not a microphone"_s);
            deviceDescription = s.description;
            return s.name;
        }
    return std::unexpected(u"there is no input device"_s);
}

std::expected<void, QString> PulseAudioSource::start() {
    if (connection)
        return {};
    stopped = false;
    failed = false;
    running = false;
    auto opened = PulseAudioConnection::open(
        kind == Kind::microphone ? u"Parlevo microphone"_s : u"Parlevo computer audio"_s);
    if (!opened)
        return std::unexpected(opened.error());
    connection = std::move(*opened);
    connection->onContextFailed = [this] { fail(u"the sound server went away"_s); };
    const auto chosen = chooseDevice();
    if (!chosen) {
        connection.reset();
        return std::unexpected(chosen.error());
    }
    {
        auto guard = connection->lock();
        if (connectStream(*chosen)) {
            while (!ready && stream && PA_STREAM_IS_GOOD(pa_stream_get_state(stream)))
                pa_threaded_mainloop_wait(connection->mainLoop());
        }
        if (ready) {
            running = true;
            return {};
        }
        stopped = true;
        dropStream();
    }
    const QString detail = connection->lastError();
    connection.reset();
    return std::unexpected(u"the input could not be recorded: %1"_s.arg(detail));
}

bool PulseAudioSource::connectStream(const QString& name) {
    static constexpr pa_sample_spec format{PA_SAMPLE_FLOAT32LE, AudioSource::sampleRate, 1};
    pa_proplist* props = pa_proplist_new();
    pa_proplist_sets(props, PA_PROP_MEDIA_NAME,
                     kind == Kind::microphone ? "Microphone" : "Computer audio");
    stream = pa_stream_new_with_proplist(connection->context(), "Parlevo capture", &format, nullptr,
                                         props);
    pa_proplist_free(props);
    if (!stream)
        return false;
    device = name;
    ready = false;
    pa_stream_set_state_callback(stream, &PulseAudioSource::streamState, this);
    pa_stream_set_read_callback(stream, &PulseAudioSource::streamRead, this);
    pa_buffer_attr attr{};
    attr.maxlength = std::uint32_t(-1);
    attr.fragsize = fragmentBytes;
    const auto flags = pa_stream_flags_t(PA_STREAM_DONT_MOVE | PA_STREAM_ADJUST_LATENCY);
    const QByteArray deviceName = name.toUtf8();
    if (pa_stream_connect_record(stream, deviceName.constData(), &attr, flags) < 0) {
        dropStream();
        return false;
    }
    return true;
}

void PulseAudioSource::dropStream() {
    if (!stream)
        return;
    pa_stream_set_state_callback(stream, nullptr, nullptr);
    pa_stream_set_read_callback(stream, nullptr, nullptr);
    if (PA_STREAM_IS_GOOD(pa_stream_get_state(stream)))
        pa_stream_disconnect(stream);
    pa_stream_unref(stream);
    stream = nullptr;
    ready = false;
}

void PulseAudioSource::stop() {
    if (!connection)
        return;
    {
        auto guard = connection->lock();
        stopped = true;
        connection->onContextFailed = nullptr;
        dropStream();
    }
    connection.reset();
}

void PulseAudioSource::fail(const QString& detail) {
    // Before start has returned, its own result reports the failure.
    if (stopped || failed || !running)
        return;
    failed = true;
    qCWarning(audioLog) << "capture of" << device << "stopped:" << detail;
    if (onFailure)
        onFailure(detail);
}

void PulseAudioSource::streamState(pa_stream* s, void* self) {
    auto* source = static_cast<PulseAudioSource*>(self);
    switch (pa_stream_get_state(s)) {
    case PA_STREAM_READY:
        source->ready = true;
        break;
    case PA_STREAM_FAILED:
    case PA_STREAM_TERMINATED: {
        const bool wasReady = source->ready;
        const int error = pa_context_errno(source->connection->context());
        source->dropStream();
        if (source->stopped || !source->running)
            break;
        if (!wasReady)
            source->fail(u"the new default input could not be recorded"_s);
        else if (source->kind == Kind::microphone && error == PA_ERR_KILLED &&
                 !source->echoCancelled && !source->options.device)
            source->followDefaultInput(0);
        else
            source->fail(QString::fromUtf8(pa_strerror(error)));
        break;
    }
    default:
        break;
    }
    pa_threaded_mainloop_signal(source->connection->mainLoop(), 0);
}

namespace {

struct FollowStep {
    PulseAudioSource* source;
    int attempt;
};

} // namespace

void PulseAudioSource::scheduleFollow(int attempt) {
    // The lost input may still be named the default for a moment.
    if (attempt >= followAttempts) {
        fail(u"the input device went away"_s);
        return;
    }
    pa_context_rttime_new(
        connection->context(), pa_rtclock_now() + followDelayUsec,
        [](pa_mainloop_api* a, pa_time_event* e, const timeval*, void* data) {
            auto* step = static_cast<FollowStep*>(data);
            a->time_free(e);
            if (!step->source->stopped)
                step->source->followDefaultInput(step->attempt);
            delete step;
        },
        new FollowStep{this, attempt});
}

void PulseAudioSource::followDefaultInput(int attempt) {
    pa_operation* op = pa_context_get_server_info(
        connection->context(),
        [](pa_context* ctx, const pa_server_info* info, void* data) {
            auto* step = static_cast<FollowStep*>(data);
            PulseAudioSource* source = step->source;
            const int attempt = step->attempt;
            delete step;
            if (source->stopped)
                return;
            const QString name = info && info->default_source_name
                                     ? QString::fromUtf8(info->default_source_name)
                                     : QString();
            if (name.isEmpty() || name == source->device) {
                source->scheduleFollow(attempt + 1);
                return;
            }
            const QByteArray utf8 = name.toUtf8();
            pa_operation* byName = pa_context_get_source_info_by_name(
                ctx, utf8.constData(),
                [](pa_context*, const pa_source_info* s, int eol, void* data) {
                    auto* source = static_cast<PulseAudioSource*>(data);
                    if (eol != 0 || !s || source->stopped || source->stream)
                        return;
                    if (s->monitor_of_sink != PA_INVALID_INDEX) {
                        source->fail(u"the input device went away and only monitors are left"_s);
                        return;
                    }
                    qCInfo(audioLog) << "following the new default input" << s->name;
                    source->deviceDescription = QString::fromUtf8(s->description);
                    if (!source->connectStream(QString::fromUtf8(s->name)))
                        source->fail(u"the new default input could not be recorded"_s);
                },
                source);
            if (byName)
                pa_operation_unref(byName);
            else
                source->fail(u"the input device went away"_s);
        },
        new FollowStep{this, attempt});
    if (op)
        pa_operation_unref(op);
    else
        fail(u"the input device went away"_s);
}

void PulseAudioSource::deliver(const void* data, std::size_t bytes) {
    const std::size_t count = bytes / sizeof(float);
    block.resize(count);
    if (data)
        std::memcpy(block.data(), data, count * sizeof(float));
    else
        std::fill(block.begin(), block.end(), 0.0f); // a hole in the stream is silence
    if (onSamples && count > 0)
        onSamples(block);
}

void PulseAudioSource::streamRead(pa_stream* s, std::size_t, void* self) {
    auto* source = static_cast<PulseAudioSource*>(self);
    while (pa_stream_readable_size(s) > 0) {
        const void* data = nullptr;
        std::size_t bytes = 0;
        if (pa_stream_peek(s, &data, &bytes) < 0 || bytes == 0)
            return;
        if (!source->stopped && !source->failed)
            source->deliver(data, bytes);
        pa_stream_drop(s);
    }
}

} // namespace quendra
