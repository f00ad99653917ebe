#pragma once

#include <QUrl>

#include <memory>

namespace quendra {

// Shows a web page in the user's browser. Main thread.
class UrlOpener {
public:
    virtual ~UrlOpener() = default;
    // False when no browser could be started.
    virtual bool open(const QUrl& url) = 0;

    // The desktop's own opener.
    static std::unique_ptr<UrlOpener> create();
};

} // namespace quendra
