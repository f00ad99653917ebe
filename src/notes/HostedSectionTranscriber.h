#pragma once

#include "notes/SectionTranscriber.h"

#include <functional>

namespace quendra {

class HostedClient;

// A note's sections through the hosted service's note transcription, which
// answers with each word's time.
class HostedSectionTranscriber : public SectionTranscriber {
public:
    // `signedIn` says whether a sign-in is kept; without one nothing is sent.
    HostedSectionTranscriber(HostedClient& client, std::function<bool()> signedIn);

    QCoro::Task<SectionTranscriptResult> transcribe(QString wavPath, qint64 durationMs,
                                                    QString language, Cancellation cancel) override;
    std::optional<QString> unavailable(const QString& language) const override;
    // A few uploads at once, as for a long dictation.
    int concurrency() const override { return 3; }
    QString name() const override { return QStringLiteral("Parlevo"); }

private:
    HostedClient& client;
    std::function<bool()> signedIn;
};

} // namespace quendra
