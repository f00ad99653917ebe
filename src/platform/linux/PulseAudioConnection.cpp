#include "platform/linux/PulseAudioConnection.h"

#include <algorithm>

#include "model/ApplicationId.h"

#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

PulseAudioConnection::SourceDetails details(const pa_source_info* info) {
    PulseAudioConnection::SourceDetails d;
    d.name = QString::fromUtf8(info->name);
    d.description = QString::fromUtf8(info->description ? info->description : info->name);
    d.isMonitor = info->monitor_of_sink != PA_INVALID_INDEX;
    // module-echo-cancel marks its source for the "phone" role.
    const char* roles = pa_proplist_gets(info->proplist, PA_PROP_DEVICE_INTENDED_ROLES);
    d.echoCancelled = (roles && QByteArray(roles).contains("phone")) ||
                      d.name.contains(u"echo-cancel"_s) || d.name.contains(u"echo_cancel"_s);
    return d;
}

} // namespace

std::expected<std::unique_ptr<PulseAudioConnection>, QString>
PulseAudioConnection::open(const QString& clientName) {
    std::unique_ptr<PulseAudioConnection> c(new PulseAudioConnection);
    c->loop = pa_threaded_mainloop_new();
    if (!c->loop)
        return std::unexpected(u"cannot create the sound server's main loop"_s);
    pa_proplist* props = pa_proplist_new();
    pa_proplist_sets(props, PA_PROP_APPLICATION_NAME, "Parlevo");
    pa_proplist_sets(props, PA_PROP_APPLICATION_ID, QUENDRA_APPLICATION_ID);
    c->ctx = pa_context_new_with_proplist(pa_threaded_mainloop_get_api(c->loop),
                                          clientName.toUtf8().constData(), props);
    pa_proplist_free(props);
    if (!c->ctx)
        return std::unexpected(u"cannot create a sound server context"_s);
    pa_context_set_state_callback(c->ctx, &PulseAudioConnection::contextState, c.get());
    if (pa_threaded_mainloop_start(c->loop) < 0)
        return std::unexpected(u"cannot start the sound server's main loop"_s);

    Lock guard(c->loop);
    // Autospawn would start a server of our own when the session has none.
    if (pa_context_connect(c->ctx, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
        return std::unexpected(c->lastError());
    for (;;) {
        const pa_context_state_t state = pa_context_get_state(c->ctx);
        if (state == PA_CONTEXT_READY)
            break;
        if (!PA_CONTEXT_IS_GOOD(state))
            return std::unexpected(c->lastError());
        pa_threaded_mainloop_wait(c->loop);
    }
    return c;
}

PulseAudioConnection::~PulseAudioConnection() {
    if (loop && ctx) {
        Lock guard(loop);
        pa_context_set_state_callback(ctx, nullptr, nullptr);
        pa_context_disconnect(ctx);
    }
    if (loop)
        pa_threaded_mainloop_stop(loop);
    if (ctx)
        pa_context_unref(ctx);
    if (loop)
        pa_threaded_mainloop_free(loop);
}

QString PulseAudioConnection::lastError() const {
    return QString::fromUtf8(pa_strerror(pa_context_errno(ctx)));
}

void PulseAudioConnection::contextState(pa_context* context, void* self) {
    auto* c = static_cast<PulseAudioConnection*>(self);
    const pa_context_state_t state = pa_context_get_state(context);
    if ((state == PA_CONTEXT_FAILED || state == PA_CONTEXT_TERMINATED) && !c->failedReported &&
        c->onContextFailed) {
        c->failedReported = true;
        c->onContextFailed();
    }
    pa_threaded_mainloop_signal(c->loop, 0);
}

void PulseAudioConnection::wait(pa_operation* op) {
    if (!op)
        return;
    while (pa_operation_get_state(op) == PA_OPERATION_RUNNING &&
           PA_CONTEXT_IS_GOOD(pa_context_get_state(ctx)))
        pa_threaded_mainloop_wait(loop);
    pa_operation_unref(op);
}

std::optional<PulseAudioConnection::ServerNames> PulseAudioConnection::serverNames() {
    struct Query {
        PulseAudioConnection* c;
        std::optional<ServerNames> names;
    } query{this, std::nullopt};
    Lock guard(loop);
    wait(pa_context_get_server_info(
        ctx,
        [](pa_context*, const pa_server_info* info, void* data) {
            auto* q = static_cast<Query*>(data);
            if (info)
                q->names = ServerNames{
                    QString::fromUtf8(info->default_sink_name ? info->default_sink_name : ""),
                    QString::fromUtf8(info->default_source_name ? info->default_source_name : "")};
            pa_threaded_mainloop_signal(q->c->loop, 0);
        },
        &query));
    return query.names;
}

std::vector<PulseAudioConnection::SourceDetails> PulseAudioConnection::sources() {
    struct Query {
        PulseAudioConnection* c;
        std::vector<SourceDetails> list;
    } query{this, {}};
    Lock guard(loop);
    wait(pa_context_get_source_info_list(
        ctx,
        [](pa_context*, const pa_source_info* info, int eol, void* data) {
            auto* q = static_cast<Query*>(data);
            if (eol == 0 && info)
                q->list.push_back(details(info));
            if (eol != 0)
                pa_threaded_mainloop_signal(q->c->loop, 0);
        },
        &query));
    return query.list;
}

namespace {

PulseAudioConnection::StreamDetails stream(const pa_proplist* properties) {
    PulseAudioConnection::StreamDetails out;
    for (const char* key :
         {PA_PROP_APPLICATION_ID, PA_PROP_APPLICATION_PROCESS_BINARY, PA_PROP_APPLICATION_NAME}) {
        const char* value = pa_proplist_gets(properties, key);
        if (value && *value) {
            out.application = QString::fromUtf8(value);
            break;
        }
    }
    if (const char* pid = pa_proplist_gets(properties, PA_PROP_APPLICATION_PROCESS_ID))
        out.processId = QByteArray(pid).toLongLong();
    return out;
}

} // namespace

std::vector<PulseAudioConnection::StreamDetails> PulseAudioConnection::playbackStreams() {
    struct Query {
        PulseAudioConnection* c;
        std::vector<StreamDetails> list;
    } query{this, {}};
    Lock guard(loop);
    wait(pa_context_get_sink_input_info_list(
        ctx,
        [](pa_context*, const pa_sink_input_info* info, int eol, void* data) {
            auto* q = static_cast<Query*>(data);
            if (eol == 0 && info)
                q->list.push_back(stream(info->proplist));
            if (eol != 0)
                pa_threaded_mainloop_signal(q->c->loop, 0);
        },
        &query));
    return query.list;
}

std::vector<PulseAudioConnection::StreamDetails> PulseAudioConnection::recordingStreams() {
    std::vector<std::uint32_t> monitors;
    {
        struct Query {
            PulseAudioConnection* c;
            std::vector<std::uint32_t>& monitors;
        } query{this, monitors};
        Lock guard(loop);
        wait(pa_context_get_source_info_list(
            ctx,
            [](pa_context*, const pa_source_info* info, int eol, void* data) {
                auto* q = static_cast<Query*>(data);
                if (eol == 0 && info && info->monitor_of_sink != PA_INVALID_INDEX)
                    q->monitors.push_back(info->index);
                if (eol != 0)
                    pa_threaded_mainloop_signal(q->c->loop, 0);
            },
            &query));
    }
    struct Query {
        PulseAudioConnection* c;
        const std::vector<std::uint32_t>& monitors;
        std::vector<StreamDetails> list;
    } query{this, monitors, {}};
    Lock guard(loop);
    wait(pa_context_get_source_output_info_list(
        ctx,
        [](pa_context*, const pa_source_output_info* info, int eol, void* data) {
            auto* q = static_cast<Query*>(data);
            if (eol == 0 && info) {
                StreamDetails details = stream(info->proplist);
                details.fromMonitor = std::find(q->monitors.begin(), q->monitors.end(),
                                                info->source) != q->monitors.end();
                q->list.push_back(details);
            }
            if (eol != 0)
                pa_threaded_mainloop_signal(q->c->loop, 0);
        },
        &query));
    return query.list;
}

std::optional<PulseAudioConnection::SourceDetails>
PulseAudioConnection::source(const QString& name) {
    for (SourceDetails& d : sources())
        if (d.name == name)
            return d;
    return std::nullopt;
}

std::optional<QString> PulseAudioConnection::monitorOfSink(const QString& sinkName) {
    struct Query {
        PulseAudioConnection* c;
        std::optional<QString> monitor;
    } query{this, std::nullopt};
    const QByteArray name = sinkName.toUtf8();
    Lock guard(loop);
    wait(pa_context_get_sink_info_by_name(
        ctx, name.constData(),
        [](pa_context*, const pa_sink_info* info, int eol, void* data) {
            auto* q = static_cast<Query*>(data);
            if (eol == 0 && info && info->monitor_source_name)
                q->monitor = QString::fromUtf8(info->monitor_source_name);
            if (eol != 0)
                pa_threaded_mainloop_signal(q->c->loop, 0);
        },
        &query));
    return query.monitor;
}

} // namespace quendra
