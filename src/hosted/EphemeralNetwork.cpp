#include "EphemeralNetwork.h"

#include <QNetworkCookie>
#include <QNetworkCookieJar>

#include <qcoro/qcoronetworkreply.h>

#include <cmath>

namespace quendra {

namespace {

// Neither keeps nor offers cookies: every call stands on its credentials alone.
class NoCookies final : public QNetworkCookieJar {
public:
    using QNetworkCookieJar::QNetworkCookieJar;
    QList<QNetworkCookie> cookiesForUrl(const QUrl&) const override { return {}; }
    bool setCookiesFromUrl(const QList<QNetworkCookie>&, const QUrl&) override { return false; }
};

} // namespace

std::unique_ptr<QNetworkAccessManager> makeEphemeralNetwork() {
    auto manager = std::make_unique<QNetworkAccessManager>();
    manager->setCookieJar(new NoCookies(manager.get()));
    manager->setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
    manager->setAutoDeleteReplies(false);
    return manager;
}

QNetworkRequest ephemeralRequest(const QUrl& url, const QSslConfiguration& tls, int timeoutSec,
                                 double timeoutScale) {
    QNetworkRequest request(url);
    // The credentials must never follow a redirect to another host.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setTransferTimeout(std::max(1, int(std::lround(timeoutSec * 1000.0 * timeoutScale))));
    request.setSslConfiguration(tls);
    return request;
}

QCoro::Task<FinishedReply> postAndWait(QNetworkAccessManager& manager, QNetworkRequest request,
                                       QByteArray body, Cancellation cancel,
                                       std::function<void(QNetworkReply&)> started) {
    FinishedReply finished{OwnedReply(manager.post(request, body)), false};
    QNetworkReply* raw = finished.reply.get();
    if (started)
        started(*raw);
    int hook = 0;
    bool* cancelled = &finished.cancelledByCaller;
    if (cancel)
        hook = cancel->onCancel([raw, cancelled] {
            *cancelled = true;
            raw->abort();
        });
    if (!raw->isFinished())
        co_await qCoro(raw).waitForFinished();
    if (cancel)
        cancel->forget(hook);
    co_return std::move(finished);
}

} // namespace quendra
