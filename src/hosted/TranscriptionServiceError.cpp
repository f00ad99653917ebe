#include "TranscriptionServiceError.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QString TranscriptionServiceError::message() const {
    switch (kind) {
    case Kind::bridgeUnavailable:
    case Kind::engine:
        return detail;
    case Kind::invalidResponse:
        return u"The model returned an unreadable response. Retry."_s;
    case Kind::recordingTooLarge:
        return u"That recording is too long. Try a shorter dictation."_s;
    case Kind::unsupportedRecording:
        return u"That recording could not be read. Record it again."_s;
    case Kind::cancelled:
        return u"Cancelled."_s;
    }
    return detail;
}

} // namespace quendra
