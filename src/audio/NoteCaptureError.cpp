#include "audio/NoteCaptureError.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QString message(NoteCaptureError error) {
    switch (error) {
    case NoteCaptureError::microphoneUnavailable:
        return u"The microphone could not start. Check the input in the desktop’s sound settings, then try again."_s;
    case NoteCaptureError::systemAudioUnavailable:
        return u"This computer’s audio could not be captured."_s;
    case NoteCaptureError::diskFull:
        return u"There is less than 1 GB free on this computer. Free up some space, then record."_s;
    }
    return {};
}

std::expected<void, NoteCaptureError> checkFreeSpace(qint64 freeBytes) {
    constexpr qint64 minimumFreeBytes = 1'000'000'000;
    if (freeBytes < minimumFreeBytes)
        return std::unexpected(NoteCaptureError::diskFull);
    return {};
}

} // namespace quendra
