#include "audio/AudioRecorderError.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QString AudioRecorderError::message() const {
    switch (kind) {
    case Case::permissionDenied:
        return u"Microphone access is required to dictate."_s;
    case Case::unavailable:
        return u"The microphone could not start. Try again."_s;
    case Case::fileSystem:
        return detail;
    }
    return {};
}

} // namespace quendra
