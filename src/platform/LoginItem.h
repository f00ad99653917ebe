#pragma once

#include <QString>

#include <expected>
#include <memory>

namespace quendra {

// Whether the desktop starts Parlevo when the user logs in. Main thread.
class LoginItem {
public:
    virtual ~LoginItem() = default;
    virtual bool enabled() const = 0;
    // The sentence says what could not be written or removed.
    virtual std::expected<void, QString> setEnabled(bool on) = 0;

    // The desktop's own: an XDG autostart entry that runs `executable`.
    static std::unique_ptr<LoginItem> create(const QString& executable);
};

} // namespace quendra
