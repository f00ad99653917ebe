#pragma once

#include <QString>

namespace quendra {

// A finished recording: its file, its length and whether speech was heard.
struct RecordingCapture {
    QString path;
    double duration = 0;
    bool hasSpeech = false;
};

} // namespace quendra
