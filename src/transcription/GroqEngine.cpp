#include "transcription/GroqEngine.h"

#include "hosted/EphemeralNetwork.h"

#include "transcription/HostedEngine.h"

#include <QFile>
#include <QFileInfo>
#include <QUuid>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

TranscriptionServiceError failure(TranscriptionServiceError::Kind kind) {
    return {kind, {}};
}

// The chat model's reasoning counts against this too; a dictation part is a
// minute of speech, far below it.
constexpr int maxCompletionTokens = 4096;

} // namespace

GroqEngine::GroqEngine(DictationModel model, GroqEngineOptions options,
                       std::shared_ptr<DictationIntelligence> intelligence)
    : model(model)
    , options(std::move(options))
    , intelligence(std::move(intelligence))
    , manager(makeEphemeralNetwork()) {}

GroqEngine::~GroqEngine() = default;

QString GroqEngine::speechModel(DictationModel model) {
    return model == DictationModel::turbo ? u"whisper-large-v3-turbo"_s : u"whisper-large-v3"_s;
}

QCoro::Task<std::expected<GroqEngine::Reply, TranscriptionServiceError>>
GroqEngine::post(QString path, QByteArray contentType, QByteArray body, QString key, int timeoutSec,
                 Cancellation cancel) {
    QUrl url = options.baseURL;
    url.setPath(path);
    QNetworkRequest request = ephemeralRequest(url, options.tls, timeoutSec, options.timeoutScale);
    request.setRawHeader("Content-Type", contentType);
    request.setRawHeader("Accept", "application/json");
    request.setRawHeader("Authorization", "Bearer " + key.toUtf8());

    FinishedReply finished =
        co_await postAndWait(*manager, std::move(request), std::move(body), cancel);
    const OwnedReply& reply = finished.reply;
    if (finished.cancelledByCaller)
        co_return std::unexpected(failure(TranscriptionServiceError::Kind::cancelled));
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (!status.isValid())
        co_return std::unexpected(TranscriptionServiceError::engine(Sentences::unreachable));
    const int code = status.toInt();
    if (code == 401 || code == 403)
        co_return std::unexpected(TranscriptionServiceError::engine(Sentences::rejected));
    if (code == 429)
        co_return std::unexpected(TranscriptionServiceError::engine(Sentences::limit));
    // A failing server is as good as an unreachable one to the user.
    if (code >= 500)
        co_return std::unexpected(TranscriptionServiceError::engine(Sentences::unreachable));
    if (code < 200 || code >= 300)
        co_return std::unexpected(failure(TranscriptionServiceError::Kind::invalidResponse));
    co_return Reply{code, reply->readAll()};
}

std::optional<TranscriptionServiceError> GroqEngine::unavailable(DictationLanguage) const {
    if (!storedKey())
        return TranscriptionServiceError::engine(Sentences::noKey);
    return std::nullopt;
}

QList<TranscriptionSegment> GroqEngine::timedWords(const Json& reply) {
    QList<TranscriptionSegment> words;
    const auto list = reply.find("words");
    if (list == reply.end() || !list->is_array())
        return words;
    for (const Json& word : *list) {
        const auto text = field<QString>(word, "word");
        const auto start = field<double>(word, "start");
        const auto end = field<double>(word, "end");
        if (!text || !start || !end || *start < 0 || *end < *start || text->trimmed().isEmpty())
            continue;
        words.append({qRound64(*start * 1000), qRound64(*end * 1000), text->trimmed(), {}});
    }
    return words;
}

QCoro::Task<EngineResult> GroqEngine::transcribe(EngineRequest request) {
    const Cancellation cancel = request.cancel;
    if (cancel->isCancelled())
        co_return std::unexpected(failure(TranscriptionServiceError::Kind::cancelled));
    const std::optional<QString> key = storedKey();
    if (!key)
        co_return std::unexpected(TranscriptionServiceError::engine(Sentences::noKey));

    QFile file(request.part.path);
    if (!file.open(QIODevice::ReadOnly))
        co_return std::unexpected(failure(TranscriptionServiceError::Kind::unsupportedRecording));
    const QString extension = QFileInfo(request.part.path).suffix();
    const QByteArray boundary = "quendra-" + QUuid::createUuid().toString(QUuid::Id128).toLatin1();
    QByteArray form;
    const auto addField = [&form, &boundary](const char* name, const QString& value) {
        form += "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + name +
                "\"\r\n\r\n" + value.toUtf8() + "\r\n";
    };
    addField("model", speechModel(model));
    // Notes need each word's time; Groq gives them only in its verbose form.
    addField("response_format", request.wordTimes ? u"verbose_json"_s : u"json"_s);
    if (request.wordTimes)
        addField("timestamp_granularities[]", u"word"_s);
    // Whisper guesses the language itself when none is named.
    if (request.context.language != DictationLanguage::automatic)
        addField("language", rawValue(request.context.language).toString());
    addField("temperature", u"0"_s);
    form += "--" + boundary +
            "\r\nContent-Disposition: form-data; name=\"file\"; filename=\"dictation." +
            extension.toUtf8() +
            "\"\r\nContent-Type: " + HostedEngine::mediaType(request.part.path).toLatin1() +
            "\r\n\r\n" + file.readAll() + "\r\n--" + boundary + "--\r\n";
    file.close();

    const QString transcriptions = transcriptionPath;
    const QByteArray formType = "multipart/form-data; boundary=" + boundary;
    const QString usedKey = *key;
    auto reply = co_await post(transcriptions, formType, std::move(form), usedKey, 120, cancel);
    if (!reply)
        co_return std::unexpected(reply.error());
    const auto parsed = parseJson(reply->body);
    const auto text = parsed ? field<QString>(*parsed, "text") : std::nullopt;
    if (!text)
        co_return std::unexpected(failure(TranscriptionServiceError::Kind::invalidResponse));

    EngineTranscript raw;
    raw.rawTranscript = text->trimmed();
    raw.transcript = raw.rawTranscript;
    if (request.wordTimes)
        raw.segments = timedWords(*parsed);
    // Literal text and silence need no formatting.
    if (request.context.style == DictationStyle::exact || raw.rawTranscript.isEmpty())
        co_return raw;
    const FinishingContext context = request.context;
    co_return co_await format(std::move(raw), context, usedKey, cancel);
}

QCoro::Task<std::expected<QString, TranscriptionServiceError>>
GroqEngine::chat(Json messages, int maxTokens, int timeoutSec, QString key, Cancellation cancel,
                 bool jsonObject) {
    Json body{{"model", chatModel},
              {"messages", std::move(messages)},
              {"reasoning_effort", "low"},
              {"max_completion_tokens", maxTokens}};
    if (jsonObject)
        body["response_format"] = {{"type", "json_object"}};
    const QString path = chatPath;
    const QByteArray jsonType = "application/json";
    QByteArray payload = jsonBytes(body);
    auto reply = co_await post(path, jsonType, std::move(payload), key, timeoutSec, cancel);
    if (!reply)
        co_return std::unexpected(reply.error());
    if (const auto parsed = parseJson(reply->body);
        parsed && parsed->is_object() && parsed->contains("choices") &&
        (*parsed)["choices"].is_array() && !(*parsed)["choices"].empty()) {
        const Json& message = (*parsed)["choices"][0].value("message", Json::object());
        if (auto content = field<QString>(message, "content"))
            co_return *content;
    }
    co_return std::unexpected(failure(TranscriptionServiceError::Kind::invalidResponse));
}

std::optional<QString> GroqEngine::storedKey() const {
    const std::optional<QString> key = options.key ? options.key() : std::nullopt;
    if (!key || key->isEmpty())
        return std::nullopt;
    return key;
}

QCoro::Task<EngineResult> GroqEngine::format(EngineTranscript raw, FinishingContext context,
                                             QString key, Cancellation cancel) {
    auto messages = intelligence->buildCleanupMessages(raw.rawTranscript, context);
    if (!messages)
        co_return std::unexpected(messages.error());
    auto reply = co_await chat(*messages, maxCompletionTokens, 60, key, cancel);
    if (!reply && reply.error().kind == TranscriptionServiceError::Kind::cancelled)
        co_return std::unexpected(reply.error());
    // The words are already in hand: a formatting that fails for any reason
    // leaves the raw text to the local finishing.
    const std::optional<QString> candidate = reply ? std::optional<QString>(*reply) : std::nullopt;
    if (candidate && !candidate->trimmed().isEmpty()) {
        const QString trimmed = candidate->trimmed();
        auto safe = intelligence->cleanupIsSafeForMode(raw.rawTranscript, trimmed, context.style);
        if (!safe)
            co_return std::unexpected(safe.error());
        if (*safe) {
            auto merged =
                intelligence->mergeCleanCandidate(raw.rawTranscript, trimmed, context.style);
            if (!merged)
                co_return std::unexpected(merged.error());
            raw.transcript = *merged;
            raw.modelFormatted = true;
            co_return raw;
        }
    }
    raw.formattingFallback = true;
    co_return raw;
}

} // namespace quendra
