#pragma once

#include <QSslConfiguration>
#include <QUrl>

namespace quendra {

class UserDefaults;

// The hosted service's base URL built into this copy (an https URL whose path
// ends in "/api/").
QUrl productionBaseURL();

// The defaults key "serviceBaseURL" when it holds an https URL with a host;
// otherwise the built-in one (with a warning when the key held something else).
QUrl serviceBaseURL(const UserDefaults& defaults);

// The system's trusted authorities, or only those of the bundle named by
// SSL_CERT_FILE when it is set, as OpenSSL programs do (Qt alone ignores it).
QSslConfiguration serviceTlsConfiguration();

} // namespace quendra
