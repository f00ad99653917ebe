#pragma once

#include "platform/UrlOpener.h"

#include <QList>

namespace quendra {

// Notes every page it is asked to open; `works` false plays a desktop
// without a browser.
class RecordingUrlOpener final : public UrlOpener {
public:
    bool open(const QUrl& url) override;

    QList<QUrl> opened;
    bool works = true;
};

} // namespace quendra
