#pragma once

#include "notes/SectionTranscriber.h"

#include <memory>

namespace quendra {

class TranscriptionEngine;

// A note's sections through one of the dictation engines (the offline
// engine, Qwen, Groq), asked for word times and for the text as spoken: a
// note is read back, not typed into a field.
class EngineSectionTranscriber : public SectionTranscriber {
public:
    EngineSectionTranscriber(std::shared_ptr<TranscriptionEngine> engine, QString name);

    QCoro::Task<SectionTranscriptResult> transcribe(QString wavPath, qint64 durationMs,
                                                    QString language, Cancellation cancel) override;
    std::optional<QString> unavailable(const QString& language) const override;
    QString name() const override { return engineName; }

private:
    std::shared_ptr<TranscriptionEngine> engine;
    QString engineName;
};

} // namespace quendra
