#include "ServiceBaseURL.h"

#include "HostedLog.h"
#include "HostedReply.h"
#include "model/UserDefaults.h"

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

} // namespace quendra
