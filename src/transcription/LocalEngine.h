#pragma once

#include "LocalWorker.h"
#include "TranscriptionEngine.h"

#include <functional>

namespace quendra {

// The words a local engine's failures are told in.
struct LocalEngineSentences {
    QString couldNotFinish;
    QString stopped;
};

// A transcription engine backed by a local worker; its text is raw and is
// finished by the scripts afterwards.
class LocalEngine : public TranscriptionEngine {
public:
    using Availability =
        std::function<std::optional<TranscriptionServiceError>(DictationLanguage language)>;

    LocalEngine(LocalWorker& worker, LocalEngineSentences sentences, Availability availability);

    QCoro::Task<EngineResult> transcribe(EngineRequest request) override;
    std::optional<TranscriptionServiceError> unavailable(DictationLanguage language) const override;

    TranscriptionServiceError error(WorkerFailure failure) const;

private:
    LocalWorker& worker;
    LocalEngineSentences sentences;
    Availability availability;
};

} // namespace quendra
