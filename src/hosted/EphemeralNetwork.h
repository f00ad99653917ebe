#pragma once

// The network access both the hosted client and the outside speech service
// use: nothing kept between calls and no redirect followed, so a bearer or key
// never reaches another host.

#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <memory>

namespace quendra {

struct ReplyDeleter {
    void operator()(QNetworkReply* reply) const { reply->deleteLater(); }
};
using OwnedReply = std::unique_ptr<QNetworkReply, ReplyDeleter>;

// No cookie jar that keeps or offers cookies, no cache, manual redirects.
std::unique_ptr<QNetworkAccessManager> makeEphemeralNetwork();

} // namespace quendra
