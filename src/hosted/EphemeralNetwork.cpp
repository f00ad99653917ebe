#include "EphemeralNetwork.h"

#include <QNetworkCookie>
#include <QNetworkCookieJar>

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

} // namespace quendra
