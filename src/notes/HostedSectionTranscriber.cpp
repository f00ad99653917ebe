#include "notes/HostedSectionTranscriber.h"

#include "hosted/HostedClient.h"
#include "hosted/HostedError.h"
#include "notes/NoteProcessingError.h"

#include <QFile>

namespace quendra {

HostedSectionTranscriber::HostedSectionTranscriber(HostedClient& client,
                                                   std::function<bool()> signedIn)
    : client(client)
    , signedIn(std::move(signedIn)) {}

QCoro::Task<SectionTranscriptResult> HostedSectionTranscriber::transcribe(QString wavPath,
                                                                          qint64 durationMs,
                                                                          QString language,
                                                                          Cancellation cancel) {
    (void)durationMs;
    QFile file(wavPath);
    if (!file.open(QIODevice::ReadOnly))
        co_return std::unexpected(SectionTranscriptionError{NoteSentences::audioUnreadable, false});
    QByteArray wav = file.readAll();
    file.close();
    auto reply = co_await client.transcribeNote(std::move(wav), language, cancel);
    if ((cancel && cancel->isCancelled()) ||
        (!reply && reply.error().kind == HostedError::Kind::cancelled))
        co_return std::unexpected(SectionTranscriptionError{{}, true});
    if (!reply)
        co_return std::unexpected(
            SectionTranscriptionError{reply.error().message(HostedMessageContext::note), false});
    SectionTranscript out;
    out.text = reply->transcript.trimmed();
    for (const HostedNoteWord& word : reply->words)
        if (!word.text.trimmed().isEmpty() && word.startMs >= 0 && word.endMs >= word.startMs)
            out.words.append({word.text.trimmed(), word.startMs, word.endMs, 0});
    // A reply with text but no word times still keeps its words in order.
    if (out.words.isEmpty())
        out.words = wordsFromSegments({}, out.text, durationMs);
    co_return out;
}

std::optional<QString> HostedSectionTranscriber::unavailable(const QString&) const {
    if (signedIn && !signedIn())
        return HostedError::of(HostedError::Kind::signInRequired)
            .message(HostedMessageContext::note);
    return std::nullopt;
}

} // namespace quendra
