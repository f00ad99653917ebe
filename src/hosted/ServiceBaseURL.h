#pragma once

#include <QUrl>

namespace quendra {

class UserDefaults;

// The hosted service's base URL built into this copy (an https URL whose path
// ends in "/api/").
QUrl productionBaseURL();

// The defaults key "serviceBaseURL" when it holds an https URL with a host;
// otherwise the built-in one (with a warning when the key held something else).
QUrl serviceBaseURL(const UserDefaults& defaults);

} // namespace quendra
