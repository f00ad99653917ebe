#pragma once

#include "DictationIntelligence.h"
#include "TranscriptionEngine.h"

#include <QSslConfiguration>
#include <QUrl>

#include <functional>
#include <memory>

class QNetworkAccessManager;

namespace quendra {

struct GroqEngineOptions {
    QUrl baseURL = QUrl(QStringLiteral("https://api.groq.com"));
    // The personal connection's key, or nothing when none is stored.
    std::function<std::optional<QString>()> key;
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    // Multiplies the time-outs; tests shorten them.
    double timeoutScale = 1.0;
};

// Whisper on Groq with the user's own key: the part is uploaded as a form,
// then a chat model formats the text when the style asks for it. A
// formatting that drops or invents words is refused and the raw text kept.
// Main thread; the engine must outlive its calls.
class GroqEngine : public TranscriptionEngine {
public:
    static inline const QString connectionName = QStringLiteral("groq");
    static inline const QString transcriptionPath =
        QStringLiteral("/openai/v1/audio/transcriptions");
    static inline const QString chatPath = QStringLiteral("/openai/v1/chat/completions");
    static inline const QString chatModel = QStringLiteral("openai/gpt-oss-20b");

    GroqEngine(DictationModel model, GroqEngineOptions options,
               std::shared_ptr<DictationIntelligence> intelligence);
    ~GroqEngine() override;

    QCoro::Task<EngineResult> transcribe(EngineRequest request) override;
    // Without the user's key nothing can be sent.
    std::optional<TranscriptionServiceError> unavailable(DictationLanguage language) const override;

    // One chat completion with `key`: the reply's text, or why there is
    // none. `jsonObject` asks for a JSON object as the reply.
    QCoro::Task<std::expected<QString, TranscriptionServiceError>>
    chat(Json messages, int maxTokens, int timeoutSec, QString key, Cancellation cancel,
         bool jsonObject = false);
    // The user's key, or none when no account is connected.
    std::optional<QString> storedKey() const;

    // The words of a verbose reply with their times, in milliseconds.
    static QList<TranscriptionSegment> timedWords(const Json& reply);

    // "whisper-large-v3" or "whisper-large-v3-turbo".
    static QString speechModel(DictationModel model);

    struct Sentences {
        static inline const QString noKey =
            QStringLiteral("Connect your Groq account in Settings, then retry.");
        static inline const QString rejected =
            QStringLiteral("Groq rejected the key. Reconnect your account in Settings.");
        static inline const QString limit =
            QStringLiteral("Your Groq limit was reached. Wait and retry, or switch to Qwen.");
        static inline const QString unreachable =
            QStringLiteral("Groq could not be reached. Check your connection and retry.");
    };

private:
    struct Reply {
        int status = 0;
        QByteArray body;
    };
    QCoro::Task<std::expected<Reply, TranscriptionServiceError>>
    post(QString path, QByteArray contentType, QByteArray body, QString key, int timeoutSec,
         Cancellation cancel);
    QCoro::Task<EngineResult> format(EngineTranscript raw, FinishingContext context, QString key,
                                     Cancellation cancel);

    DictationModel model;
    GroqEngineOptions options;
    std::shared_ptr<DictationIntelligence> intelligence;
    std::unique_ptr<QNetworkAccessManager> manager;
};

} // namespace quendra
