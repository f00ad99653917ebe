#pragma once

#include <QString>

#include <expected>

namespace quendra {

// Why a stored list, setting or note could not be read or saved, with the
// sentence the user reads. Every store hands these up instead of a bool, so a
// command that could not save says so and exits with a failure.
struct StoreError {
    enum class Kind {
        notSaved,   // the bytes did not reach the disk
        unreadable, // the file exists but could not be read
        damaged,    // the file was read but does not decode
        busy,       // another process held the lock too long
        refused,    // not a regular file, a link out of its folder, or too large
        invalid,    // the value given is not one the store keeps
        missing,    // nothing is stored under this name
    };
    Kind kind = Kind::notSaved;
    QString message;
};

template <typename T = void>
using StoreResult = std::expected<T, StoreError>;

} // namespace quendra
