#pragma once

#include "hosted/HostedDictation.h"
#include "TranscriptionEngine.h"

namespace quendra {

// The Parlevo dictation endpoint: one call per part, which transcribes and
// formats at once; only the service's final pass runs on its text.
class HostedEngine : public TranscriptionEngine {
public:
    static constexpr qint64 largestUploadBytes = 3'000'000;

    // `hosted` must outlive the engine; `context` words its failures.
    explicit HostedEngine(HostedDictation& hosted,
                          HostedMessageContext context = HostedMessageContext::dictation)
        : hosted(hosted)
        , context(context) {}

    QCoro::Task<EngineResult> transcribe(EngineRequest request) override;

    // "clean" goes as "light"; the others by their own name.
    static QString cleanupMode(DictationStyle style);
    // The compressed parts are MPEG-4 audio whatever their extension.
    static QString mediaType(const QString& path);
    static HostedDictationRequest makeRequest(QByteArray audio, const QString& path,
                                              const FinishingContext& context);
    static TranscriptionServiceError error(const HostedError& error, HostedMessageContext context);

private:
    HostedDictation& hosted;
    HostedMessageContext context;
};

} // namespace quendra
