#include "ServiceBaseURL.h"

#include "HostedLog.h"
#include "HostedReply.h"
#include "model/UserDefaults.h"

#include <QSslCertificate>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QUrl productionBaseURL() {
    return QUrl(QStringLiteral(QUENDRA_SERVICE_BASE_URL));
}

QUrl serviceBaseURL(const UserDefaults& defaults) {
    const auto configured = defaults.string(u"serviceBaseURL"_s);
    if (!configured)
        return productionBaseURL();
    if (auto url = secureURL(*configured))
        return *url;
    qCWarning(hostedLog) << "serviceBaseURL is not an https URL with a host; using"
                         << productionBaseURL().toString();
    return productionBaseURL();
}

QSslConfiguration serviceTlsConfiguration() {
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    const QString bundle = qEnvironmentVariable("SSL_CERT_FILE");
    if (bundle.isEmpty())
        return tls;
    const QList<QSslCertificate> authorities = QSslCertificate::fromPath(bundle);
    if (authorities.isEmpty())
        qCWarning(hostedLog) << "SSL_CERT_FILE holds no certificates:" << bundle;
    tls.setCaCertificates(authorities);
    return tls;
}

} // namespace quendra
