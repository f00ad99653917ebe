#pragma once

#include "DictationModel.h"
#include "Json.h"

#include <QList>
#include <QString>

#include <optional>

namespace quendra {

struct TranscriptionSegment {
    qint64 startMs = 0;
    qint64 endMs = 0;
    QString text;
    std::optional<QString> speaker;

    friend bool operator==(const TranscriptionSegment&, const TranscriptionSegment&) = default;
};

// What the transcription service hands back for one recording.
struct TranscriptionResult {
    QString rawTranscript;
    QString transcript;
    // The form in which spoken commands and snippet triggers are looked for.
    QString triggerTranscript;
    QList<TranscriptionSegment> segments;
    DictationModel model = DictationModel::hosted;
    bool fallbackUsed = false;
    bool formattingFallback = false;

    friend bool operator==(const TranscriptionResult&, const TranscriptionResult&) = default;
};

// One word with its time, used when sections of audio are joined.
struct TimedWord {
    QString text;
    qint64 startMs = 0;
    qint64 endMs = 0;
    int section = 0;

    friend bool operator==(const TimedWord&, const TimedWord&) = default;
};

void to_json(Json& j, const TranscriptionSegment& s);
void from_json(const Json& j, TranscriptionSegment& s);
void to_json(Json& j, const TranscriptionResult& r);
void from_json(const Json& j, TranscriptionResult& r);
void to_json(Json& j, const TimedWord& w);
void from_json(const Json& j, TimedWord& w);

} // namespace quendra
