#pragma once

#include <QString>

namespace quendra {

// Why a dictation could not start. `fileSystem` carries the system's own
// description of why the file could not be made.
struct AudioRecorderError {
    enum class Case { permissionDenied, unavailable, fileSystem };

    Case kind = Case::unavailable;
    QString detail{};

    QString message() const;
    friend bool operator==(const AudioRecorderError&, const AudioRecorderError&) = default;
};

} // namespace quendra
