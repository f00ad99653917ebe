#include "RecordingDuration.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

int limitSeconds(RecordingDuration duration) {
    switch (duration) {
    case RecordingDuration::five:
        return 300;
    case RecordingDuration::ten:
        return 600;
    case RecordingDuration::twenty:
        return 1200;
    case RecordingDuration::thirty:
        return 1800;
    case RecordingDuration::sixty:
        return 3600;
    }
    return 300;
}

QString title(RecordingDuration duration) {
    if (duration == RecordingDuration::sixty)
        return u"1 hour"_s;
    return u"%1 minutes"_s.arg(rawValue(duration));
}

} // namespace quendra
