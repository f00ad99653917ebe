#include "TranscriptionServiceError.h"

#include "DictationIntelligence.h"

#include <QDir>
#include <QLocale>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

TranscriptionServiceError TranscriptionServiceError::temporaryFilesUnwritable() {
    return {Kind::temporaryFilesUnwritable, QDir::tempPath()};
}

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
    case Kind::temporaryFilesUnwritable:
        return u"Parlevo could not write its temporary files in %1. Free some space there, then "
               "retry."_s.arg(QDir::toNativeSeparators(detail));
    case Kind::textTooLong:
        return u"That text is too long to finish; Parlevo finishes up to %1 characters at a time."_s
            .arg(QLocale(QLocale::English).toString(DictationIntelligence::longestText));
    }
    return detail;
}

} // namespace quendra
