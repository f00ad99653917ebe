#include "RecordingUrlOpener.h"

namespace quendra {

bool RecordingUrlOpener::open(const QUrl& url) {
    if (!works)
        return false;
    opened.append(url);
    return true;
}

} // namespace quendra
