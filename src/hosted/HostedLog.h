#pragma once

#include <QLoggingCategory>

namespace quendra {

// Paths, statuses and error kinds only: never a body, a header or a token.
Q_DECLARE_LOGGING_CATEGORY(hostedLog)

} // namespace quendra
