#pragma once

#include "CancellationFlag.h"
#include "HostedError.h"
#include "HostedRecords.h"

#include <qcoro/qcorotask.h>

#include <expected>

namespace quendra {

template <typename T>
using HostedResult = std::expected<T, HostedError>;

// What the transcription service needs of the hosted client: one dictation,
// transcribed and formatted in one call. Tests put a scripted one in its place.
class HostedDictation {
public:
    virtual ~HostedDictation() = default;
    virtual QCoro::Task<HostedResult<HostedDictationResult>> dictate(HostedDictationRequest request,
                                                                     Cancellation cancel = {}) = 0;
};

} // namespace quendra
