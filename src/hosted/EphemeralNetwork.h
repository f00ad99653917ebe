#pragma once

// The network access both the hosted client and the outside speech service
// use: nothing kept between calls and no redirect followed, so a bearer or key
// never reaches another host.

#include "CancellationFlag.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslConfiguration>

#include <qcoro/qcorotask.h>

#include <functional>
#include <memory>

namespace quendra {

struct ReplyDeleter {
    void operator()(QNetworkReply* reply) const { reply->deleteLater(); }
};
using OwnedReply = std::unique_ptr<QNetworkReply, ReplyDeleter>;

// No cookie jar that keeps or offers cookies, no cache, manual redirects.
std::unique_ptr<QNetworkAccessManager> makeEphemeralNetwork();

// A request to `url` that follows no redirect, neither reads nor fills a
// cache, neither sends nor keeps cookies, uses `tls`, and gives up after
// `timeoutSec` seconds without progress, times `timeoutScale`.
QNetworkRequest ephemeralRequest(const QUrl& url, const QSslConfiguration& tls, int timeoutSec,
                                 double timeoutScale = 1.0);

struct FinishedReply {
    OwnedReply reply;
    bool cancelledByCaller = false;
};

// Posts `body` and waits until the reply has finished. A cancel aborts the
// reply and still waits for it, so no reply outlives its call. `started`, if
// given, sees the reply before the wait (to watch its signals). `cancel` may
// be empty.
QCoro::Task<FinishedReply> postAndWait(QNetworkAccessManager& manager, QNetworkRequest request,
                                       QByteArray body, Cancellation cancel,
                                       std::function<void(QNetworkReply&)> started = {});

} // namespace quendra
